// The main window when things go wrong: the server stops in the middle of a run, a damaged catalogue lets
// a conversion error escape, a pasted version does not fit. Each time the window says what happened, drops
// the hourglass, keeps every button working, and still writes the report. Stops the shared server, so it
// runs alone.
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/fault_injecting_connection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"
#include "window/frm_nav.h"

using tabvet::frmNav;
using tabvet::MainState;
using tabvet::MsgAnswer;
using tabvet::testsupport::FaultInjectingConnection;
using tabvet::testsupport::PgCluster;
using tabvet::testsupport::RecordingInteraction;
using tabvet::testsupport::ScriptedEditorLauncher;
using tabvet::testsupport::ScriptedFileDialog;

namespace {

constexpr const char* kHealthy = "gui_fault";
constexpr const char* kNullOwner = "gui_fault_null_owner";
constexpr const char* kOrphLyr = "LAYERS entries exist as tables or views";

// One window with its model; every connection it makes can break on cue.
struct Fixture {
    Fixture() : state(ui) {
        tabvet::WindowServices services;
        services.fileDialog = &files;
        services.editor = &editor;
        window = std::make_unique<frmNav>(state, std::move(services));
        QVERIFY(window->Load());
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
        if (widget == nullptr) {
            qFatal("no widget %s", name);
        }
        return widget;
    }
    void Click(const char* name) { QTest::mouseClick(Find<QPushButton>(name), Qt::LeftButton); }
    QString Log() { return Find<QPlainTextEdit>("rtbStatus")->toPlainText(); }
    QString Progress() { return Find<QLabel>("stsRunFeedback")->text(); }
    void ConnectAndQuery(const char* database) {
        auto* box = Find<QLineEdit>("txtConnString");
        box->clear();
        QTest::keyClicks(box, QString::fromStdString(PgCluster::Shared().ConnectionString(database)));
        Click("cmdConnect");
        QVERIFY(state.g_pAdoConn != nullptr);
        Click("cmdQueryType");
    }
    // "Write Test Results to Text File" into a fresh file; its content.
    std::string Report() {
        const std::string path = folder.File("report" + std::to_string(++reports) + ".txt");
        files.Answer(path);
        ui.answers.push_back(MsgAnswer::No);  // do not open the editor
        Click("cmdCreateReport");
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    // Every button of the four steps can still be pressed.
    bool ButtonsWork() {
        for (const char* name :
             {"cmdConnect", "cmdRun", "cmdClearRunStatus", "cmdCreateReport", "cmdViewReport"}) {
            if (!Find<QPushButton>(name)->isEnabled()) {
                return false;
            }
        }
        return QApplication::overrideCursor() == nullptr;
    }

    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    tabvet::testsupport::TempFolder folder;
    int reports = 0;
    FaultInjectingConnection* conn = nullptr;
    std::unique_ptr<frmNav> window;
};

}  // namespace

class WindowFaultTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        const std::vector<std::string> fixtures{"tessel_schema.sql", "oracle_dictionary.sql",
                                                "demo/demo_schema.sql"};
        PgCluster::Shared().CreateDatabase(kHealthy, fixtures);
        PgCluster::Shared().CreateDatabase(kNullOwner, fixtures);
        PgCluster::Shared().Execute(kNullOwner, "UPDATE tsl.layers SET owner = NULL WHERE layer_id = 14;");
    }

    void serverStoppedMidRunLeavesAUsableWindowAndACompleteReport() {
        Fixture f;
        f.ConnectAndQuery(kHealthy);
        int probes = 0;
        bool stopped = false;
        f.conn->InjectBefore(
            [&](const std::string& sql, std::size_t) {
                return f.state.stsRunFeedback.find(kOrphLyr) != std::string::npos &&
                       sql.find("WHERE 1 = 2") != std::string::npos && ++probes == 2;
            },
            [&] {
                PgCluster::Shared().StopServer();
                stopped = true;
            });
        f.Click("cmdRun");
        QVERIFY(stopped);
        QVERIFY(f.Log().contains("Err#35: FATAL: terminating connection due to administrator command"));
        QVERIFY(f.Log().contains("\nTest run finished at "));
        QCOMPARE(f.Progress(), QString("Testing complete."));
        QVERIFY(f.ui.shown.empty());
        QVERIFY(f.ButtonsWork());

        const std::string report = f.Report();
        QVERIFY(report.find("Test Passed: Is database running\r\n") != std::string::npos);
        QVERIFY(report.find("TEST FAILED >>>> " + std::string(kOrphLyr) + "\r\n") != std::string::npos);
        QVERIFY(report.find("-- Total tests run: 16\r\n") != std::string::npos);

        f.ui.shown.clear();
        f.ui.answers.push_back(MsgAnswer::Ok);
        f.Click("cmdConnect");  // disconnect, after the question about the results
        QCOMPARE(f.ui.shown.size(), size_t{1});
        QCOMPARE(f.Find<QPushButton>("cmdConnect")->text(), QString("Connect"));
        PgCluster::Shared().StartServer();

        f.ConnectAndQuery(kHealthy);
        f.Click("cmdRun");
        QVERIFY(!f.Log().contains("Err#35"));
        QCOMPARE(f.Progress(), QString("Testing complete."));
    }

    void anEscapedConversionErrorIsShownAndTheWindowCarriesOn() {
        Fixture f;
        f.ConnectAndQuery(kNullOwner);
        for (int attempt = 0; attempt < 2; ++attempt) {
            f.ui.shown.clear();
            f.Click("cmdRun");
            QCOMPARE(f.ui.Lines(),
                     std::vector<std::string>{
                         "Tessel System Table Diagnostics: Run-time error '94': Invalid use of Null"});
            QCOMPARE(f.Progress(), QString("Running test 9 of 16: ") + kOrphLyr);
            QVERIFY(!f.Log().contains("Test run finished"));
            QVERIFY(f.ButtonsWork());
        }
        f.Click("cmdClearRunStatus");
        QCOMPARE(f.Log(), QString());
        f.ui.shown.clear();
        const std::string report = f.Report();
        QVERIFY(report.find("Test Passed: Is database running\r\n") != std::string::npos);
        QVERIFY(report.find("Test Summary\r\n") != std::string::npos);
        f.ui.answers.push_back(MsgAnswer::Ok);
        f.Click("cmdConnect");
        QCOMPARE(f.Find<QPushButton>("cmdConnect")->text(), QString("Connect"));
    }

    void aPastedVersionThatDoesNotFitIsShownAndCanBeCorrected() {
        Fixture f;
        f.ConnectAndQuery(kHealthy);
        auto* major = f.Find<QLineEdit>("txtMajorVersion");
        // Typing takes digits only; pasting takes the text as it is.
        for (const char* pasted : {"99999", "9e9"}) {
            major->selectAll();
            QApplication::clipboard()->setText(pasted);
            major->paste();
            QCOMPARE(QString::fromStdString(f.state.txtMajorVersion), QString(pasted));
            f.ui.shown.clear();
            f.Click("cmdRun");
            QCOMPARE(f.ui.Lines(), std::vector<std::string>{
                                       "Tessel System Table Diagnostics: Run-time error '6': Overflow"});
            QCOMPARE(f.Log(), QString());
            QVERIFY(f.ButtonsWork());
        }
        major->selectAll();
        QApplication::clipboard()->setText("9 (nine)");
        major->paste();
        f.ui.shown.clear();
        f.Click("cmdRun");
        QVERIFY(f.ui.shown.empty());
        QCOMPARE(f.Progress(), QString("Testing complete."));
    }
};

QTEST_MAIN(WindowFaultTest)
#include "window_fault_test.moc"
