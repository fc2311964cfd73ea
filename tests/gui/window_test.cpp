// The main window against a real server, played from the case files tests/fixtures/window/*.txt; then the
// layout at the minimum size. Stops the shared server: runs alone.

#include <QtTest>
#include <QtWidgets>
#include <map>
#include <sstream>

#include "app/tabvet_version.h"
#include "app/window/frm_about.h"
#include "app/window/frm_nav.h"
#include "db/odbc_connection.h"
#include "session/odbc_logon.h"
#include "support/case_file.h"
#include "support/fault_injecting_connection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"

using namespace tabvet;
using namespace tabvet::testsupport;

namespace {

constexpr const char* kHealthy = "gui_window";
constexpr const char* kNullOwner = "gui_window_null_owner";

// Fills the logon dialog as a user would and presses OK, or Cancel.
struct ScriptedLogon final : LogonDialogPresenter {
    void ShowModal(frmODBCLogon& dialog) override {
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "127.0.0.1";
        dialog.txtUID = "tabvet";
        dialog.txtDatabase = "tsl";
        cancel ? dialog.CancelClick() : dialog.OkClick();
    }
    bool cancel = false;
};

// Every text a label is painted with, in order, without repeats: what the status bar showed during a run.
struct PaintedTexts final : QObject {
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* label = qobject_cast<QLabel*>(watched);  // not while the label is being destroyed
        if (label != nullptr && event->type() == QEvent::Paint &&
            (texts.isEmpty() || texts.back() != label->text())) {
            texts.push_back(label->text());
        }
        return false;
    }
    QStringList texts;
};

// One window with its model and scripted dialogs, remembering its settings in `folder` (a second Fixture on
// the same folder is the next start); every connection it makes can break on cue.
struct Fixture {
    explicit Fixture(const TempFolder& folder)
        : folder(folder),
          settings(QString::fromStdString(folder.File("tabvet.ini")), QSettings::IniFormat),
          state(ui, NewOdbcConnection) {
        window = std::make_unique<frmNav>(state, WindowServices{.fileDialog = &files,
                                                                .editor = &editor,
                                                                .logonDialog = &logon,
                                                                .settings = &settings,
                                                                .endProgram = [this] { ended = true; }});
        QVERIFY(window->Load());
        state.now = [] { return std::string("<now>"); };
        state.newConnection = [this] {
            auto made = std::make_unique<FaultInjectingConnection>();
            conn = made.get();
            return made;
        };
        Find<QLabel>("stsRunFeedback")->installEventFilter(&painted);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }
    template <typename T>
    T* Find(const char* name) {
        T* widget = window->findChild<T*>(name);
        return widget != nullptr ? widget : (qFatal("no widget %s", name), nullptr);
    }
    void Click(const char* name) { QTest::mouseClick(Find<QPushButton>(name), Qt::LeftButton); }
    std::string Masked(QString text) {
        text.replace(QRegularExpression("Port=[0-9]+"), "Port=<port>");
        return text.replace(QString::fromStdString(folder.Path().string()), "<folder>").toStdString();
    }
    // Every named control as a person sees it that changed since the last step, then the editors started and
    // boxes shown since then.
    void Step(std::ostream& out) {
        QList<QWidget*> widgets = window->findChildren<QWidget*>();
        std::sort(widgets.begin(), widgets.end(),
                  [](auto* a, auto* b) { return a->objectName() < b->objectName(); });
        std::map<std::string, std::string> now;
        for (const QWidget* w : widgets) {
            const QString name = w->objectName();
            const QVariant text = w->property("text"), plain = w->property("plainText");
            if ((text.isValid() || plain.isValid()) && !name.isEmpty() && !name.startsWith("qt_") &&
                !name.startsWith("Scroll")) {  // not Qt's own parts
                now[name.toStdString()] =
                    (w->isEnabled() ? ": " : " (disabled): ") +
                    Readable(Masked(text.toString() + plain.toString() +
                                    (w->property("checked").toBool() ? " [x]" : "") +
                                    (w->toolTip().isEmpty() ? "" : " (" + w->toolTip() + ")")));
            }
        }
        now["hourglass"] = ": " + std::to_string(QApplication::overrideCursor() != nullptr);
        for (const auto& [name, shown] : now) {
            out << (shown != seen[name] ? name + shown + "\n" : "");
        }
        seen = now;
        for (const auto& launched : editor.launched) {
            out << "editor: " << Masked(QString::fromStdString(launched)) << "\n";
        }
        for (const std::string& box : ui.Lines()) {
            out << "box: " << Readable(Masked(QString::fromStdString(box))) << "\n";
        }
        ui.shown.clear();
        editor.launched.clear();
    }
    std::map<std::string, std::string> seen;
    const TempFolder& folder;
    QSettings settings;
    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    ScriptedLogon logon;
    bool ended = false;
    FaultInjectingConnection* conn = nullptr;
    PaintedTexts painted;
    std::unique_ptr<frmNav> window;
};

// Plays tests/fixtures/window/<name>.txt on one window: the words below, one action a line. The first step
// shows what changed since start-up.
std::string Play(const std::string& name) {
    const TempFolder folder;
    auto f = std::make_unique<Fixture>(folder);
    std::ostringstream startUp;
    f->Step(startUp);
    const std::map<std::string, std::string> startedUp = f->seen;
    CasePlayer player;
    const auto on = [&](const char* word, std::function<void(const std::string&)> act) {
        player.On(word, [act](const std::string& a, std::ostream&) { act(a); });
    };
    // word WIDGET TEXT: TEXT without its double quotes
    const auto split = [](const std::string& a) {
        const std::string widget = a.substr(0, a.find(' '));
        std::string text = a.size() > widget.size() ? a.substr(widget.size() + 1) : "";
        return std::pair{widget, text.starts_with('"') ? text.substr(1, text.size() - 2) : text};
    };
    // header: the title, menus, tabs and the about box's version; the next step shows every control
    player.On("header", [&](const std::string&, std::ostream& out) {
        f->seen.clear();
        out << "title: " << f->window->windowTitle().toStdString()
            << (f->window->windowIcon().isNull() ? " (no icon)" : "") << "\n";
        const frmAbout about(f->ui, SysInfoLocator{});
        out << "about: "
            << Replaced(about.findChild<QLabel*>("lblVersion")->text().toStdString(), kVersionText,
                        "<version>")
            << "\n";
        for (const QAction* menu : f->window->menuBar()->actions()) {
            out << "menu: " << menu->text().toStdString() << "\n";
        }
        for (int i = 0; i < f->Find<QTabWidget>("SSTab1")->count(); ++i) {
            out << "tab: " << f->Find<QTabWidget>("SSTab1")->tabText(i).toStdString() << "\n";
        }
    });
    player.On("step", [&](const std::string&, std::ostream& out) { f->Step(out); });
    on("click", [&](const std::string& a) { f->Click(a.c_str()); });
    on("radio",
       [&](const std::string& a) { QTest::mouseClick(f->Find<QRadioButton>(a.c_str()), Qt::LeftButton); });
    on("keys", [&](const std::string& a) {
        QTest::keyClicks(f->Find<QLineEdit>(split(a).first.c_str()), QString::fromStdString(split(a).second));
    });
    on("backspace",
       [&](const std::string& a) { QTest::keyClick(f->Find<QLineEdit>(a.c_str()), Qt::Key_Backspace); });
    on("paste", [&](const std::string& a) {
        f->Find<QLineEdit>(split(a).first.c_str())->selectAll();
        QApplication::clipboard()->setText(QString::fromStdString(split(a).second));
        f->Find<QLineEdit>(split(a).first.c_str())->paste();
    });
    // connect DATABASE [enter]: its string, with a password (the cluster trusts all), typed into the box,
    // then Connect (or Enter); a line only when the box does not show the string's beginning
    player.On("connect", [&](const std::string& a, std::ostream& out) {
        auto* box = f->Find<QLineEdit>("txtConnString");
        const std::string text = PgCluster::Shared().ConnectionString(FirstWord(a).first);
        box->clear();
        QTest::keyClicks(box, QString::fromStdString(Replaced(text, "PWD=;", "PWD=secret;")));
        FirstWord(a).second == "enter" ? QTest::keyClick(box, Qt::Key_Return) : f->Click("cmdConnect");
        out << (box->cursorPosition() == 0 ? "" : "(not at its beginning)\n");
    });
    // tab N, focus WIDGET, key SEQUENCE (as Qt writes one: Up, ctrl+V, 9) to the widget with the focus,
    // clipboard TEXT, menu-paste WIDGET (what the context menu's Paste calls)
    on("tab", [&](const std::string& a) { f->Find<QTabWidget>("SSTab1")->setCurrentIndex(std::stoi(a)); });
    on("focus", [&](const std::string& a) { f->Find<QWidget>(a.c_str())->setFocus(); });
    on("key", [&](const std::string& a) {
        QTest::keySequence(QApplication::focusWidget(), QKeySequence(QString::fromStdString(a)));
    });
    on("clipboard",
       [&](const std::string& a) { QApplication::clipboard()->setText(QString::fromStdString(a)); });
    on("menu-paste",
       [&](const std::string& a) { QMetaObject::invokeMethod(f->Find<QWidget>(a.c_str()), "paste"); });
    player.On("focused", [&](const std::string&, std::ostream& out) {
        out << "focus: " << QApplication::focusWidget()->objectName().toStdString() << "\n";
    });
    on("logon-cancel", [&](const std::string&) { f->logon.cancel = true; });
    // answers WORD...: the answers to the next message boxes
    on("answers", [&](const std::string& a) {
        std::istringstream words(a);
        const std::map<std::string, MsgAnswer> answers{{"Yes", MsgAnswer::Yes},
                                                       {"No", MsgAnswer::No},
                                                       {"Ok", MsgAnswer::Ok},
                                                       {"Cancel", MsgAnswer::Cancel}};
        f->ui.answers.clear();
        for (std::string word; words >> word;) {
            f->ui.answers.push_back(answers.at(word));
        }
    });
    on("file",
       [&](const std::string& a) { f->files.Answer(f->folder.File(a)); });  // the file dialog's next answer
    // show FILE: the verdict and summary lines of a report the window wrote
    player.On("show", [&](const std::string& a, std::ostream& out) {
        std::istringstream report(ReadBytes(f->folder.File(a)));
        for (std::string line; std::getline(report, line);) {
            const bool shown = line.starts_with("Test Passed: ") || line.starts_with("TEST FAILED >>>> ") ||
                               line.starts_with("-- Total") || line.starts_with("      ");
            out << (shown ? "report: " + Readable(line) + "\n" : "");
        }
    });
    // close accepted|refused and expect ...: a line only when it did not come true
    player.On("close", [&](const std::string& a, std::ostream& out) {
        out << (f->window->close() == (a == "accepted") ? "" : "(the close was not " + a + ")\n");
    });
    on("exit", [&](const std::string&) { f->window->findChild<QAction*>("mnuFileExit")->trigger(); });
    // expect kept (the results and the run), reset (neither) or ended (the program)
    player.On("expect", [&](const std::string& a, std::ostream& out) {
        const bool run =
            f->state.g_pTestCollection != nullptr && f->state.g_pTestCollection->Item(1)->WasRun();
        const bool holds = a == "kept"    ? run && f->state.g_bTestsWereRun && !f->ended
                           : a == "reset" ? !run && !f->state.g_bTestsWereRun
                                          : f->ended && f->state.g_pTestCollection == nullptr;
        out << (holds ? "" : "(not " + a + ")\n");
    });
    // stop-before-layers-probe N: the server stops before the Nth probe of the orphaned LAYERS entries
    on("stop-before-layers-probe", [&](const std::string& a) {
        f->conn->InjectBefore(
            [&f, n = std::stoi(a), probes = 0](const std::string& sql, std::size_t) mutable {
                return f->state.stsRunFeedback.ends_with("LAYERS entries exist as tables or views") &&
                       sql.find("WHERE 1 = 2") != std::string::npos && ++probes == n;
            },
            [] { PgCluster::Shared().StopServer(); });
    });
    on("start-server", [&](const std::string&) { PgCluster::Shared().StartServer(); });
    // resize WIDTHxHEIGHT; restart: the next start on the same settings, whose next step shows what differs
    // from a first start, after the window's size and the report file it proposes
    on("resize",
       [&](const std::string& a) { f->window->resize(std::stoi(a), std::stoi(a.substr(a.find('x') + 1))); });
    player.On("restart", [&](const std::string&, std::ostream& out) {
        f.reset();  // the program ended
        f = std::make_unique<Fixture>(folder);
        f->seen = startedUp;
        const bool leaked = ReadBytes(folder.File("tabvet.ini")).find("secret") != std::string::npos;
        out << "size: " << f->window->width() << "x" << f->window->height() << "\n"
            << "report file: " << f->Masked(QString::fromStdString(f->state.reportFileName)) << "\n"
            << (leaked ? "(a password in the settings file)\n" : "");
    });
    // run-clicking WIDGET: Run Tests, with a click on WIDGET that arrives while the run keeps the window busy
    on("run-clicking", [&](const std::string& a) {
        auto* target = f->Find<QPushButton>(a.c_str());
        f->state.now = [target, clocks = 0]() mutable {
            if (clocks++ == 0) {  // the run has started: the user clicks, and the click waits in the queue
                const QPointF at = target->rect().center();
                for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
                    QCoreApplication::postEvent(
                        target, new QMouseEvent(type, at, target->mapToGlobal(at), Qt::LeftButton,
                                                Qt::LeftButton, Qt::NoModifier));
                }
            }
            return std::string("<now>");
        };
        f->Click("cmdRun");
        QCoreApplication::processEvents();
        QTest::qWait(50);
    });
    // painted N: what the status bar showed of test N since the last time; of a walk's count only the first,
    // as how often it is redrawn depends on the machine's speed
    player.On("painted", [&](const std::string& a, std::ostream& out) {
        static const QRegularExpression redrawn(" \\([1-9][0-9]* of [0-9]+ rows, [0-9:]+\\)$");
        for (const QString& text : std::exchange(f->painted.texts, {})) {
            const bool shown = text.startsWith("Running test " + QString::fromStdString(a) + " of ");
            out << (shown && !redrawn.match(text).hasMatch() ? "painted: " + text.toStdString() + "\n" : "");
        }
    });
    return player.Play("window/" + name + ".txt");
}

}  // namespace

class WindowTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        const std::vector<std::string> fixtures{"tessel_schema.sql", "oracle_dictionary.sql",
                                                "demo/demo_schema.sql"};
        PgCluster::Shared().CreateDatabase(kHealthy, fixtures);
        PgCluster::Shared().CreateDatabase(kNullOwner, fixtures);
        PgCluster::Shared().Execute(kNullOwner, "UPDATE tsl.layers SET owner = NULL WHERE layer_id = 14;");
        QStandardPaths::setTestModeEnabled(true);  // nothing may reach the user's own settings
    }
    void everyStepFromStartUpToFileExit() { QCOMPARE(Play("window"), std::string()); }
    void versionBoxesAndArrowKeys() { QCOMPARE(Play("keyboard"), std::string()); }
    void serverStoppedAnEscapedErrorAndAPastedVersionThatDoesNotFit() {
        QCOMPARE(Play("window_faults"), std::string());
    }

    // At the minimum size every control of every tab lies inside its parent, overlaps none of its siblings
    // and has at least the room it asks for.
    void nothingOverlapsAtTheMinimumSize() {
        const TempFolder folder;
        Fixture f(folder);
        f.window->resize(f.window->minimumSize());
        auto* tabs = f.Find<QTabWidget>("SSTab1");
        for (int tab = 0; tab < tabs->count(); ++tab) {
            tabs->setCurrentIndex(tab);
            QApplication::processEvents();
            QList<QWidget*> widgets = tabs->widget(tab)->findChildren<QWidget*>();
            widgets.removeIf([](const QWidget* w) {
                return !w->isVisible() || w->parent()->inherits("QAbstractScrollArea");
            });
            for (const QWidget* w : widgets) {
                const QString where =
                    tabs->tabText(tab) + ": " + w->objectName() + " " + w->metaObject()->className();
                QVERIFY2(w->parentWidget()->rect().contains(w->geometry()), qPrintable(where));
                const int needed =
                    w->hasHeightForWidth() ? w->heightForWidth(w->width()) : w->minimumSizeHint().height();
                QVERIFY2(w->height() >= needed && w->width() >= w->minimumSizeHint().width(),
                         qPrintable(where));
                for (const QWidget* other : widgets) {
                    QVERIFY2(other == w || other->parent() != w->parent() ||
                                 !other->geometry().intersects(w->geometry()),
                             qPrintable(where + " overlaps " + other->objectName()));
                }
            }
        }
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
