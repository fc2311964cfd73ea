// The main window against a real server: every control's state at each step compared with
// tests/fixtures/unit/window.txt, and the window when things go wrong (server stopped mid-run, an escaped
// conversion error, a pasted version that does not fit). Stops the shared server, so it runs alone.

#include <QtTest>
#include <QtWidgets>

#include "db/odbc_logon.h"
#include "support/fault_injecting_connection.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "unit/transcript.h"
#include "window/frm_nav.h"

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
    Fixture() : state(ui) {
        WindowServices services{.fileDialog = &files, .editor = &editor, .logonDialog = &logon};
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
    void Connect(const char* database, bool query = true) {
        auto* box = Find<QLineEdit>("txtConnString");
        box->clear();
        QTest::keyClicks(box, QString::fromStdString(PgCluster::Shared().ConnectionString(database)));
        Click("cmdConnect");
        if (query) {
            Click("cmdQueryType");
        }
    }
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
    // "Write Test Results to Text File" into a fresh file, without opening the editor; its content.
    std::string Report() {
        const std::string path = folder.File("report" + std::to_string(++reports) + ".txt");
        files.Answer(path);
        ui.answers.push_back(MsgAnswer::No);
        Click("cmdCreateReport");
        return ReadBytes(path);
    }
    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    ScriptedLogon logon;
    TempFolder folder;
    int reports = 0;
    bool ended = false;
    FaultInjectingConnection* conn = nullptr;
    std::unique_ptr<frmNav> window;
};

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

    // One session from start-up to File, Exit, every control compared at each step.
    void everyStepFromStartUpToFileExit() {
        Fixture f;
        Transcript t("window");
        t.Line("title", f.window->windowTitle().toStdString());
        for (const QAction* menu : f.window->menuBar()->actions()) {
            t.Line("menu", menu->text().toStdString());
        }
        for (int i = 0; i < f.Find<QTabWidget>("SSTab1")->count(); ++i) {
            t.Line("tab", f.Find<QTabWidget>("SSTab1")->tabText(i).toStdString());
        }
        f.Step(t, "start-up");
        f.Click("cmdCreateReport");
        f.Step(t, "report before any run");
        QTest::keyClicks(f.Find<QLineEdit>("txtConnString"), " ");
        f.Step(t, "a blank is a string");
        QTest::keyClick(f.Find<QLineEdit>("txtConnString"), Qt::Key_Backspace);
        f.Click("cmdCanned");
        f.Step(t, "canned string");
        f.Click("cmdBuildString");
        f.logon.cancel = true;
        f.Click("cmdBuildString");
        f.Step(t, "built string, then Cancel keeps it");
        f.Connect(kHealthy, false);
        f.Click("cmdRun");
        f.Step(t, "connected; run without server type");
        f.Click("cmdConnect");
        f.Step(t, "disconnected without a run: no question");
        f.Connect(kHealthy);
        auto* minor = f.Find<QLineEdit>("txtMinorVersion");
        QTest::keyClicks(minor, "a-.1");
        QTest::keyClick(minor, Qt::Key_Backspace);
        QTest::keyClicks(f.Find<QLineEdit>("txtBugfix"), "a-.1");
        f.Step(t, "detected; the version boxes take digits only");
        QTest::keyClick(f.Find<QLineEdit>("txtBugfix"), Qt::Key_Backspace);
        QTest::mouseClick(f.Find<QRadioButton>("optDB2"), Qt::LeftButton);
        QTest::mouseClick(f.Find<QRadioButton>("optOracle"), Qt::LeftButton);
        f.Click("cmdRun");
        f.Step(t, "run finished");
        f.Click("cmdClearRunStatus");
        QVERIFY(f.state.g_pTestCollection->Item(1)->WasRun());
        f.files.Answer(f.folder.File("report.txt"));
        f.ui.answers = {MsgAnswer::Yes};  // view it now
        f.Click("cmdCreateReport");
        t.Line("report", ReadBytes(f.folder.File("report.txt")));
        f.Step(t, "cleared, results kept; report written and shown");
        f.ui.answers = {MsgAnswer::Cancel};
        QVERIFY(!f.window->close());
        f.ui.answers = {MsgAnswer::Ok, MsgAnswer::Cancel};  // exit yes, but keep the results
        QVERIFY(!f.window->close());
        f.ui.answers = {MsgAnswer::Cancel};
        f.Click("cmdConnect");
        QVERIFY(f.state.g_bTestsWereRun && !f.ended);
        f.Step(t, "closing cancelled twice, disconnecting cancelled");
        f.ui.answers = {MsgAnswer::Ok};
        f.Click("cmdConnect");
        QVERIFY(!f.state.g_bTestsWereRun && !f.state.g_pTestCollection->Item(1)->WasRun());
        f.Step(t, "disconnected after OK: everything reset but the string");
        f.ui.answers = {MsgAnswer::Ok};
        f.window->findChild<QAction*>("mnuFileExit")->trigger();  // File, Exit is the close box
        QVERIFY(f.ended && f.state.g_pTestCollection == nullptr);
        QVERIFY(f.window->close());  // once confirmed, the window may close
        const std::string mismatch = t.Mismatch();
        QVERIFY2(mismatch.empty(), mismatch.c_str());
    }

    // The window when things go wrong: each time it says what happened, drops the hourglass, keeps every
    // button working, and still writes the report.
    void serverStoppedAnEscapedErrorAndAPastedVersionThatDoesNotFit() {
        Fixture f;
        Transcript t("window_faults");
        f.Connect(kHealthy);
        int probes = 0;
        f.conn->InjectBefore(
            [&](const std::string& sql, std::size_t) {
                return f.state.stsRunFeedback.ends_with("LAYERS entries exist as tables or views") &&
                       sql.find("WHERE 1 = 2") != std::string::npos && ++probes == 2;
            },
            [] { PgCluster::Shared().StopServer(); });
        f.Click("cmdRun");
        f.Step(t, "server stopped before the second probe of the orphaned LAYERS entries");
        t.Line("report", f.Report());
        f.ui.answers = {MsgAnswer::Ok};
        f.Click("cmdConnect");  // disconnect, after the question about the results
        PgCluster::Shared().StartServer();
        f.Connect(kHealthy);
        f.Click("cmdRun");
        f.Step(t, "the server back: a run as before");
        f.Click("cmdConnect");
        f.Connect(kNullOwner);
        for (const char* attempt : {"a NULL owner ends the run", "and again"}) {
            f.Click("cmdRun");
            f.Step(t, attempt);
        }
        f.Click("cmdClearRunStatus");
        t.Line("report", f.Report());
        auto* major = f.Find<QLineEdit>("txtMajorVersion");
        // Typing takes digits only; pasting takes the text as it is.
        for (const char* pasted : {"99999", "9e9", "9 (nine)"}) {
            major->selectAll();
            QApplication::clipboard()->setText(pasted);
            major->paste();
            f.Click("cmdClearRunStatus");
            f.Click("cmdRun");
            f.Step(t, std::string("pasted ") + pasted);
        }
        const std::string mismatch = t.Mismatch();
        QVERIFY2(mismatch.empty(), mismatch.c_str());
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
