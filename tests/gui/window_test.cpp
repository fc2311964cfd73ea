// The main window against a real server, played from tests/fixtures/window/*.txt: every control's state at
// each step compared with tests/fixtures/unit/<script>.txt, the window when things go wrong (server stopped
// mid-run, an escaped conversion error, a pasted version that does not fit) too. Stops the shared server:
// runs alone.

#include <QtTest>
#include <QtWidgets>
#include <map>
#include <sstream>

#include "app/window/frm_nav.h"
#include "db/odbc_connection.h"
#include "session/odbc_logon.h"
#include "support/fault_injecting_connection.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/transcript.h"

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
    // Every named control as a person sees it, then the editors started and boxes shown since the last step.
    void Step(Transcript& t, const std::string& label) {
        t.Case(label);
        QList<QWidget*> widgets = window->findChildren<QWidget*>();
        std::sort(widgets.begin(), widgets.end(),
                  [](auto* a, auto* b) { return a->objectName() < b->objectName(); });
        for (const QWidget* w : widgets) {
            const QString name = w->objectName();
            const QVariant text = w->property("text"), plain = w->property("plainText");
            if ((text.isValid() || plain.isValid()) && !name.isEmpty() && !name.startsWith("qt_") &&
                !name.startsWith("Scroll")) {  // not Qt's own parts
                t.Line(name.toStdString() + (w->isEnabled() ? "" : " (disabled)"),
                       Masked(text.toString() + plain.toString() +
                              (w->property("checked").toBool() ? " [x]" : "") +
                              (w->toolTip().isEmpty() ? "" : " (" + w->toolTip() + ")")));
            }
        }
        t.Line("hourglass", std::to_string(QApplication::overrideCursor() != nullptr));
        for (const auto& launched : editor.launched) {
            t.Line("editor", Masked(QString::fromStdString(launched)));
        }
        for (const std::string& box : ui.Lines()) {
            t.Line("box", Masked(QString::fromStdString(box)));
        }
        ui.shown.clear();
        editor.launched.clear();
    }
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

// Plays tests/fixtures/window/<name>.txt, one action a line, and compares the transcript of its steps with
// tests/fixtures/unit/<name>.txt.
void Play(const std::string& name) {
    Fixture f;
    Transcript t(name);
    std::istringstream script(ReadBytes(FixturePath("window/" + name + ".txt")));
    for (std::string line; std::getline(script, line);) {
        const std::string verb = line.substr(0, line.find(' '));
        const std::string rest = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
        const std::string widget = rest.substr(0, rest.find(' '));
        std::string text = rest.size() > widget.size() ? rest.substr(widget.size() + 1) : "";
        text = text.starts_with('"') ? text.substr(1, text.size() - 2) : text;
        if (verb == "header") {
            t.Line("title", f.window->windowTitle().toStdString());
            for (const QAction* menu : f.window->menuBar()->actions()) {
                t.Line("menu", menu->text().toStdString());
            }
            for (int i = 0; i < f.Find<QTabWidget>("SSTab1")->count(); ++i) {
                t.Line("tab", f.Find<QTabWidget>("SSTab1")->tabText(i).toStdString());
            }
        } else if (verb == "step") {
            f.Step(t, rest);
        } else if (verb == "click") {
            f.Click(rest.c_str());
        } else if (verb == "radio") {
            QTest::mouseClick(f.Find<QRadioButton>(rest.c_str()), Qt::LeftButton);
        } else if (verb == "keys") {
            QTest::keyClicks(f.Find<QLineEdit>(widget.c_str()), QString::fromStdString(text));
        } else if (verb == "backspace") {
            QTest::keyClick(f.Find<QLineEdit>(rest.c_str()), Qt::Key_Backspace);
        } else if (verb == "paste") {
            f.Find<QLineEdit>(widget.c_str())->selectAll();
            QApplication::clipboard()->setText(QString::fromStdString(text));
            f.Find<QLineEdit>(widget.c_str())->paste();
        } else if (verb == "connect") {  // the database's string typed into the box, then Connect
            f.Find<QLineEdit>("txtConnString")->clear();
            QTest::keyClicks(f.Find<QLineEdit>("txtConnString"),
                             QString::fromStdString(PgCluster::Shared().ConnectionString(rest)));
            f.Click("cmdConnect");
        } else if (verb == "logon-cancel") {
            f.logon.cancel = true;
        } else if (verb == "answers") {  // the answers to the next message boxes
            std::istringstream words(rest);
            const std::map<std::string, MsgAnswer> answers{{"Yes", MsgAnswer::Yes},
                                                           {"No", MsgAnswer::No},
                                                           {"Ok", MsgAnswer::Ok},
                                                           {"Cancel", MsgAnswer::Cancel}};
            f.ui.answers.clear();
            for (std::string word; words >> word;) {
                f.ui.answers.push_back(answers.at(word));
            }
        } else if (verb == "file") {  // the file dialog's next answer
            f.files.Answer(f.folder.File(rest));
        } else if (verb == "show") {
            t.Line("report", ReadBytes(f.folder.File(rest)));
        } else if (verb == "close") {
            QCOMPARE(f.window->close(), rest == "accepted");
        } else if (verb == "exit") {
            f.window->findChild<QAction*>("mnuFileExit")->trigger();
        } else if (verb == "expect") {  // kept: the results and the run; reset: neither; ended: the program
            const bool run =
                f.state.g_pTestCollection != nullptr && f.state.g_pTestCollection->Item(1)->WasRun();
            QVERIFY2(rest == "kept"    ? run && f.state.g_bTestsWereRun && !f.ended
                     : rest == "reset" ? !run && !f.state.g_bTestsWereRun
                                       : f.ended && f.state.g_pTestCollection == nullptr,
                     line.c_str());
        } else if (verb == "stop-before-layers-probe") {
            f.conn->InjectBefore(
                [&f, n = std::stoi(rest), probes = 0](const std::string& sql, std::size_t) mutable {
                    return f.state.stsRunFeedback.ends_with("LAYERS entries exist as tables or views") &&
                           sql.find("WHERE 1 = 2") != std::string::npos && ++probes == n;
                },
                [] { PgCluster::Shared().StopServer(); });
        } else if (verb == "start-server") {
            PgCluster::Shared().StartServer();
        } else {
            QVERIFY2(line.empty() || line[0] == '#', ("unknown window script line: " + line).c_str());
        }
    }
    const std::string mismatch = t.Mismatch();
    QVERIFY2(mismatch.empty(), mismatch.c_str());
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
    void everyStepFromStartUpToFileExit() { Play("window"); }
    void serverStoppedAnEscapedErrorAndAPastedVersionThatDoesNotFit() { Play("window_faults"); }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
