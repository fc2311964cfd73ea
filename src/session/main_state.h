// The main window's process-wide objects and the state of its controls, without any display. The window
// mirrors this model; the headless mode drives it directly.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "db/conn_error_string.h"
#include "db/connection.h"
#include "db/probe_pool.h"
#include "db/qual_db_obj_name.h"
#include "db/user_interaction.h"
#include "framework/ado_test_collection.h"
#include "framework/check_selection.h"
#include "framework/dbms_options.h"
#include "framework/run_record.h"
#include "framework/run_stop.h"
#include "framework/run_target.h"
#include "framework/test_environment.h"
#include "main_view.h"
#include "odbc_logon.h"

namespace tabvet {

/// Makes the connection object for a connect attempt.
using ConnectionFactory = std::function<std::unique_ptr<Connection>()>;

/// The connections a run uses unless told otherwise: the open one and seven more for probes (measured in
/// docs/performance.md). 1 is the single connection the checks were written for.
inline constexpr unsigned kDefaultJobs = 8;
/// The most a run may be given: each is a session on the server.
inline constexpr unsigned kMaxJobs = 64;

/// Everything the main window owns, one instance per process.
class MainState final : public TestEnvironment {
  public:
    /// `newConnection` makes the connection of each connect attempt; the program passes the ODBC one.
    MainState(IUserInteraction& ui, ConnectionFactory newConnection);
    ~MainState() override;

    const clsQualDbObjName& Namer() const override { return *g_QDON; }
    IUserInteraction& Ui() const override { return ui_; }
    ProbePool* Probes() const override { return runProbes; }
    WalkListener* Walks() const override { return runWalks; }

    MainView& View() const { return *view_; }
    /// Attaches the view that mirrors this model; the model never owns it.
    void AttachView(MainView& view) { view_ = &view; }
    /// Stops notifying `view` (if it is the attached one); the model then shows nothing.
    void DetachView(const MainView& view);

    /// The current local date and time as text ("short date, then long time"); replaceable for tests.
    std::function<std::string()> now;
    /// Makes the connection object for each connect attempt; tests may script one.
    ConnectionFactory newConnection;

    // Process-wide objects.
    std::unique_ptr<clsAdoTestCollection> g_pTestCollection;
    std::unique_ptr<clsQualDbObjName> g_QDON;
    std::unique_ptr<clsConnErrorString> g_cConnErrStr;
    std::unique_ptr<Connection> g_pAdoConn;
    bool g_bTestsWereRun = false;
    std::string g_sTslSystemTableDatabase;

    // "Connect to Server"
    std::string txtConnString;
    ConnectionTimeouts timeouts;  // given to each connection before it opens: the classic defaults
    bool txtConnStringEnabled = true;
    std::string cmdConnectCaption = "Connect";
    bool cmdConnectEnabled = false;
    bool cmdBuildStringEnabled = true;
    bool cmdCannedEnabled = true;
    frmODBCLogon odbcLogon;  // loaded at its first showing, then kept with its lists and fields

    // "Select Server Type"
    DbmsOption selectedDbms = DbmsOption::None;
    std::string txtMajorVersion;
    std::string txtMinorVersion;
    std::string txtBugfix;
    bool cmdQueryTypeEnabled = false;

    // "Run Tests"
    bool cmdRunEnabled = false;
    std::string rtbStatus;
    std::string stsRunFeedback;
    RunRecord lastRun;                 // what the last run did with each test, for the results file
    CheckSelection checkSelection;     // the tests a run leaves out although they apply: none in the window
    RunStop runStop;                   // a stop another thread may ask for; it watches the open connection
    unsigned jobs = kDefaultJobs;      // connections a run may use: the open one and jobs - 1 for probes
    std::string stsRunRows;            // how far the running check has walked, shown after the progress text
    ProbePool* runProbes = nullptr;    // the extra connections of the run going on, if any
    WalkListener* runWalks = nullptr;  // told how far a check of the run going on has walked

    // "Create Report"
    bool chkOnlyReportFailures = false;
    std::string reportFileName;  // the file dialog's file name, kept between uses

  private:
    IUserInteraction& ui_;
    MainView* view_;
};

/// The target the window's boxes and options describe now.
RunTarget TargetOf(const MainState& state);

}  // namespace tabvet
