// The main window against a real server, played from the case files tests/fixtures/window/*.txt: each case
// acts on the window and ends with a step that shows every named control whose text, state or tooltip changed
// since the step before (all of them at the first), then the editors started and boxes shown; the window
// when things go wrong (server stopped mid-run, an escaped conversion error, a pasted version that does not
// fit) too. Stops the shared server: runs alone.

#include <QtTest>
#include <QtWidgets>
#include <map>
#include <sstream>

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

// One window with its model and scripted dialogs; every connection it makes can break on cue.
struct Fixture {
    Fixture() : state(ui, NewOdbcConnection) {
        WindowServices services;
        services.fileDialog = &files;
        services.editor = &editor;
        services.logonDialog = &logon;
        services.endProgram = [this] { ended = true; };
        window = std::make_unique<frmNav>(state, std::move(services));
        QVERIFY(window->Load());
        state.now = [] { return std::string("<now>"); };
        state.newConnection = [this] {
            auto made = std::make_unique<FaultInjectingConnection>();
            conn = made.get();
            return made;
        };
        window->show();
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
    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    ScriptedLogon logon;
    TempFolder folder;
    bool ended = false;
    FaultInjectingConnection* conn = nullptr;
    std::unique_ptr<frmNav> window;
};

// Plays tests/fixtures/window/<name>.txt on one window: the words below, one action a line.
std::string Play(const std::string& name) {
    Fixture f;
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
    player.On("header", [&](const std::string&, std::ostream& out) {
        out << "title: " << f.window->windowTitle().toStdString() << "\n";
        for (const QAction* menu : f.window->menuBar()->actions()) {
            out << "menu: " << menu->text().toStdString() << "\n";
        }
        for (int i = 0; i < f.Find<QTabWidget>("SSTab1")->count(); ++i) {
            out << "tab: " << f.Find<QTabWidget>("SSTab1")->tabText(i).toStdString() << "\n";
        }
    });
    player.On("step", [&](const std::string&, std::ostream& out) { f.Step(out); });
    on("click", [&](const std::string& a) { f.Click(a.c_str()); });
    on("radio",
       [&](const std::string& a) { QTest::mouseClick(f.Find<QRadioButton>(a.c_str()), Qt::LeftButton); });
    on("keys", [&](const std::string& a) {
        QTest::keyClicks(f.Find<QLineEdit>(split(a).first.c_str()), QString::fromStdString(split(a).second));
    });
    on("backspace",
       [&](const std::string& a) { QTest::keyClick(f.Find<QLineEdit>(a.c_str()), Qt::Key_Backspace); });
    on("paste", [&](const std::string& a) {
        f.Find<QLineEdit>(split(a).first.c_str())->selectAll();
        QApplication::clipboard()->setText(QString::fromStdString(split(a).second));
        f.Find<QLineEdit>(split(a).first.c_str())->paste();
    });
    // connect DATABASE: its string typed into the box, then Connect
    on("connect", [&](const std::string& a) {
        f.Find<QLineEdit>("txtConnString")->clear();
        QTest::keyClicks(f.Find<QLineEdit>("txtConnString"),
                         QString::fromStdString(PgCluster::Shared().ConnectionString(a)));
        f.Click("cmdConnect");
    });
    on("logon-cancel", [&](const std::string&) { f.logon.cancel = true; });
    // answers WORD...: the answers to the next message boxes
    on("answers", [&](const std::string& a) {
        std::istringstream words(a);
        const std::map<std::string, MsgAnswer> answers{{"Yes", MsgAnswer::Yes},
                                                       {"No", MsgAnswer::No},
                                                       {"Ok", MsgAnswer::Ok},
                                                       {"Cancel", MsgAnswer::Cancel}};
        f.ui.answers.clear();
        for (std::string word; words >> word;) {
            f.ui.answers.push_back(answers.at(word));
        }
    });
    on("file",
       [&](const std::string& a) { f.files.Answer(f.folder.File(a)); });  // the file dialog's next answer
    // show FILE: the verdict and summary lines of a report the window wrote
    player.On("show", [&](const std::string& a, std::ostream& out) {
        std::istringstream report(ReadBytes(f.folder.File(a)));
        for (std::string line; std::getline(report, line);) {
            const bool shown = line.starts_with("Test Passed: ") || line.starts_with("TEST FAILED >>>> ") ||
                               line.starts_with("-- Total") || line.starts_with("      ");
            out << (shown ? "report: " + Readable(line) + "\n" : "");
        }
    });
    // close accepted|refused and expect ...: a line only when it did not come true
    player.On("close", [&](const std::string& a, std::ostream& out) {
        out << (f.window->close() == (a == "accepted") ? "" : "(the close was not " + a + ")\n");
    });
    on("exit", [&](const std::string&) { f.window->findChild<QAction*>("mnuFileExit")->trigger(); });
    // expect kept (the results and the run), reset (neither) or ended (the program)
    player.On("expect", [&](const std::string& a, std::ostream& out) {
        const bool run = f.state.g_pTestCollection != nullptr && f.state.g_pTestCollection->Item(1)->WasRun();
        const bool holds = a == "kept"    ? run && f.state.g_bTestsWereRun && !f.ended
                           : a == "reset" ? !run && !f.state.g_bTestsWereRun
                                          : f.ended && f.state.g_pTestCollection == nullptr;
        out << (holds ? "" : "(not " + a + ")\n");
    });
    // stop-before-layers-probe N: the server stops before the Nth probe of the orphaned LAYERS entries
    on("stop-before-layers-probe", [&](const std::string& a) {
        f.conn->InjectBefore(
            [&f, n = std::stoi(a), probes = 0](const std::string& sql, std::size_t) mutable {
                return f.state.stsRunFeedback.ends_with("LAYERS entries exist as tables or views") &&
                       sql.find("WHERE 1 = 2") != std::string::npos && ++probes == n;
            },
            [] { PgCluster::Shared().StopServer(); });
    });
    on("start-server", [&](const std::string&) { PgCluster::Shared().StartServer(); });
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
    }
    void everyStepFromStartUpToFileExit() { QCOMPARE(Play("window"), std::string()); }
    void serverStoppedAnEscapedErrorAndAPastedVersionThatDoesNotFit() {
        QCOMPARE(Play("window_faults"), std::string());
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
