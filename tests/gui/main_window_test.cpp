// The main window against a real server: what a person sees and can do in each of the four steps.
#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QtTest>

#include "db/odbc_logon.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"
#include "window/frm_nav.h"

using namespace tabvet;
using namespace tabvet::testsupport;

namespace {

constexpr const char* kDatabase = "gui_window";

// Fills the logon dialog as a user would and presses OK.
class ScriptedLogon final : public LogonDialogPresenter {
  public:
    void ShowModal(frmODBCLogon& dialog) override {
        if (cancel) {
            dialog.CancelClick();
            return;
        }
        dialog.DsnChoice(0);
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "127.0.0.1";
        dialog.txtUID = "tabvet";
        dialog.txtDatabase = "tsl";
        dialog.OkClick();
    }
    bool cancel = false;
};

// One window with its model and scripted dialogs.
struct Fixture {
    Fixture() : state(ui) {
        WindowServices services;
        services.fileDialog = &files;
        services.editor = &editor;
        services.logonDialog = &logon;
        services.endProgram = [this] { ended = true; };
        window = std::make_unique<frmNav>(state, std::move(services));
        QVERIFY(window->Load());
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
    QPushButton* Button(const char* name) { return Find<QPushButton>(name); }
    void Click(const char* name) { QTest::mouseClick(Button(name), Qt::LeftButton); }
    QString Log() { return Find<QPlainTextEdit>("rtbStatus")->toPlainText(); }
    void ConnectToDemo() {
        auto* box = Find<QLineEdit>("txtConnString");
        box->clear();
        QTest::keyClicks(box, QString::fromStdString(PgCluster::Shared().ConnectionString(kDatabase)));
        Click("cmdConnect");
    }

    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    ScriptedLogon logon;
    bool ended = false;
    std::unique_ptr<frmNav> window;
};

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        PgCluster::Shared().CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql"});
    }

    void startsOnTheFirstStepWithEveryTextInPlace() {
        Fixture f;
        QCOMPARE(f.window->windowTitle(), QString("Tessel System Table Diagnostics"));
        auto* tabs = f.Find<QTabWidget>("SSTab1");
        QCOMPARE(tabs->count(), 4);
        const QStringList captions{"Connect to Server", "Select Server Type", "Run Tests", "Create Report"};
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(tabs->tabText(i), captions[i]);
        }
        QCOMPARE(
            f.Find<QLabel>("lblConnectInstructions")->text(),
            QString(
                "Before running any tests, please connect to the Tessel DBMS server.  Tessel does not need "
                "to be running, but the DBMS does.  You can type in an ODBC connection string, or you can "
                "select \"Build ODBC Connection String\" and enter the connection details."));
        QCOMPARE(f.Find<QLabel>("lblVersion")->text(), QString("Major  . Minor . Bugfix"));
        QCOMPARE(f.Find<QRadioButton>("optOracle")->text(), QString("Oracle 8i / 9i"));
        QCOMPARE(f.Button("cmdClearRunStatus")->toolTip(), QString("Does not delete test results"));
        QCOMPARE(f.Find<QCheckBox>("chkOnlyReportFailures")->text(),
                 QString("Only Report Details About Failed tests"));
        QCOMPARE(f.Button("cmdConnect")->text(), QString("Connect"));
        QVERIFY(!f.Button("cmdConnect")->isEnabled());
        QVERIFY(f.Button("cmdBuildString")->isEnabled());
        QVERIFY(f.Button("cmdCanned")->isEnabled());
        QVERIFY(!f.Button("cmdQueryType")->isEnabled());
        QVERIFY(!f.Button("cmdRun")->isEnabled());
        QVERIFY(f.Button("cmdCreateReport")->isEnabled());
        QVERIFY(f.Button("cmdViewReport")->isEnabled());
        QCOMPARE(f.Log(), QString());
        QStringList menus;
        for (const QAction* action : f.window->menuBar()->actions()) {
            menus << action->text();
        }
        QCOMPARE(menus, QStringList({"&File", "&Help"}));
        QVERIFY(f.ui.shown.empty());
    }

    void connectsAndDisconnectsWithTheEnablingRules() {
        Fixture f;
        auto* box = f.Find<QLineEdit>("txtConnString");
        QTest::keyClicks(box, " ");
        QVERIFY(f.Button("cmdConnect")->isEnabled());  // a blank is a string
        QTest::keyClick(box, Qt::Key_Backspace);
        QVERIFY(!f.Button("cmdConnect")->isEnabled());
        f.ConnectToDemo();
        QCOMPARE(f.Button("cmdConnect")->text(), QString("Disconnect"));
        QVERIFY(!box->isEnabled());
        QVERIFY(!f.Button("cmdBuildString")->isEnabled());
        QVERIFY(f.Button("cmdQueryType")->isEnabled());
        QVERIFY(f.Button("cmdRun")->isEnabled());
        f.Click("cmdConnect");  // no run yet: no question
        QCOMPARE(f.Button("cmdConnect")->text(), QString("Connect"));
        QVERIFY(box->isEnabled());
        QVERIFY(!f.Button("cmdRun")->isEnabled());
        QVERIFY(f.ui.shown.empty());
    }

    void buildAndCannedStringsFillTheBox() {
        Fixture f;
        f.Click("cmdCanned");
        QVERIFY(f.Find<QLineEdit>("txtConnString")
                    ->text()
                    .startsWith("Provider=MSDASQL;Driver=Oracle in OraHome90;"));
        QVERIFY(f.Button("cmdConnect")->isEnabled());
        f.Click("cmdBuildString");
        QCOMPARE(
            f.Find<QLineEdit>("txtConnString")->text(),
            QString(
                "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=127.0.0.1;UID=tabvet;PWD=;Database=tsl;"));
        QCOMPARE(QString::fromStdString(f.state.g_sTslSystemTableDatabase), QString("TSL"));
        f.logon.cancel = true;
        f.Click("cmdBuildString");  // Cancel keeps the previous string
        QVERIFY(f.Find<QLineEdit>("txtConnString")
                    ->text()
                    .startsWith("PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;"));
    }

    void queryDbmsFillsOptionAndVersionAndTheBoxesTakeDigitsOnly() {
        Fixture f;
        f.ConnectToDemo();
        f.Click("cmdQueryType");
        QVERIFY(f.Find<QRadioButton>("optOracle")->isChecked());
        QCOMPARE(f.Find<QLineEdit>("txtMajorVersion")->text(), QString("9"));
        QCOMPARE(f.Find<QLineEdit>("txtMinorVersion")->text(), QString("0"));
        QCOMPARE(f.Find<QLineEdit>("txtBugfix")->text(), QString("0"));
        auto* minor = f.Find<QLineEdit>("txtMinorVersion");
        QTest::keyClicks(minor, "a-.1");
        QCOMPARE(minor->text(), QString("01"));
        QTest::keyClick(minor, Qt::Key_Backspace);
        QCOMPARE(minor->text(), QString("0"));
        QCOMPARE(QString::fromStdString(f.state.txtMinorVersion), QString("0"));
        QTest::mouseClick(f.Find<QRadioButton>("optDB2"), Qt::LeftButton);
        QCOMPARE(f.state.selectedDbms, DbmsOption::DB2);
        QVERIFY(!f.Find<QRadioButton>("optOracle")->isChecked());
    }

    void runWithoutServerTypeShowsOnlyTheBox() {
        Fixture f;
        f.ConnectToDemo();
        f.Click("cmdRun");
        QCOMPARE(f.ui.Lines(),
                 std::vector<std::string>{
                     "Need Server Type: Please Select Server Type (DBMS type and Tessel version)"});
        QCOMPARE(f.Log(), QString());
    }

    // One session from the run to File, Exit: the log and the status bar, clearing that keeps results, the
    // report, the disconnect question (Cancel, then OK resets everything) and the close questions.
    void aRunThenItsReportThenDisconnectingAndClosing() {
        Fixture f;
        f.Click("cmdCreateReport");  // nothing ran yet
        QCOMPARE(f.ui.Lines(), std::vector<std::string>{"No results available: No test have been run."});
        f.ConnectToDemo();
        f.Click("cmdQueryType");
        f.Click("cmdRun");
        QVERIFY(f.Log().startsWith("\nNew Test Run started at "));
        QVERIFY(f.Log().contains("\nTest run finished at "));
        QCOMPARE(f.Find<QLabel>("stsRunFeedback")->text(), QString("Testing complete."));
        QVERIFY(QApplication::overrideCursor() == nullptr);
        f.Click("cmdClearRunStatus");
        QCOMPARE(f.Log(), QString());
        QVERIFY(f.state.g_pTestCollection->Item(1)->WasRun());

        TempFolder folder;
        const std::string path = folder.File("report.txt");
        f.ui.shown.clear();
        f.files.Answer(path);
        f.ui.answers.push_back(MsgAnswer::Yes);  // view it now
        f.Click("cmdCreateReport");
        QVERIFY(ReadBytes(path).starts_with("Tessel System Table Diagnostics:  Test Results Report\r\n"));
        QCOMPARE(QString::fromStdString(f.ui.shown.at(0).title), QString("Report Created"));
        QCOMPARE(f.editor.launched.size(), size_t{1});
        QCOMPARE(QString::fromStdString(f.editor.launched[0].path), QString::fromStdString(path));

        f.ui.shown.clear();
        f.ui.answers = {MsgAnswer::Cancel};
        QVERIFY(!f.window->close());
        QVERIFY(f.window->isVisible());
        f.ui.answers = {MsgAnswer::Ok, MsgAnswer::Cancel};  // exit yes, but keep the results
        QVERIFY(!f.window->close());
        f.ui.answers = {MsgAnswer::Cancel};
        f.Click("cmdConnect");
        const std::string question =
            "Disconnecting...: Tests have been run.  Disconnecting will discard results held in memory.\r\n"
            "If you have not written your results to a text file, you should do so before disconnecting.\r\n"
            "\r\nDisconnect? ";
        QCOMPARE(f.ui.Lines(), (std::vector<std::string>{"Exiting...: Really exit?",
                                                         "Exiting...: Really exit?", question, question}));
        QCOMPARE(f.Button("cmdConnect")->text(), QString("Disconnect"));
        QVERIFY(f.state.g_bTestsWereRun);
        QVERIFY(!f.ended);

        f.ui.answers = {MsgAnswer::Ok};
        f.Click("cmdConnect");
        QCOMPARE(f.Button("cmdConnect")->text(), QString("Connect"));
        QVERIFY(!f.state.g_bTestsWereRun);
        QVERIFY(!f.state.g_pTestCollection->Item(1)->WasRun());
        QVERIFY(!f.Find<QRadioButton>("optOracle")->isChecked());
        QCOMPARE(f.Find<QLineEdit>("txtMajorVersion")->text(), QString());
        QVERIFY(!f.Button("cmdQueryType")->isEnabled());
        QVERIFY(!f.Find<QLineEdit>("txtConnString")->text().isEmpty());  // the string stays

        f.ui.answers = {MsgAnswer::Ok};
        f.window->findChild<QAction*>("mnuFileExit")->trigger();  // File, Exit is the close box
        QVERIFY(f.ended);
        QVERIFY(f.state.g_pTestCollection == nullptr);
        QVERIFY(f.window->close());  // once confirmed, the window may close
    }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
