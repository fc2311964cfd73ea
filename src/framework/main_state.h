// The main window's process-wide objects and the state of its controls, without any display. The window
// mirrors this model; the headless mode drives it directly.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "ado_test_collection.h"
#include "db/conn_error_string.h"
#include "db/connection.h"
#include "db/odbc_logon.h"
#include "db/qual_db_obj_name.h"
#include "db/user_interaction.h"
#include "main_view.h"
#include "test_environment.h"

namespace tabvet {

/// The four DBMS option buttons; at most one is selected.
enum class DbmsOption { None, Oracle, Informix, DB2, SqlServer };

/// The namer's type code for an option (1 for none).
std::int32_t DbmsTypeCodeOf(DbmsOption option);

/// Everything the main window owns, one instance per process.
class MainState final : public TestEnvironment {
  public:
    explicit MainState(IUserInteraction& ui);
    ~MainState() override;

    const clsQualDbObjName& Namer() const override { return *g_QDON; }
    IUserInteraction& Ui() const override { return ui_; }

    MainView& View() const { return *view_; }
    /// Attaches the view that mirrors this model; the model never owns it.
    void AttachView(MainView& view) { view_ = &view; }
    /// Stops notifying `view` (if it is the attached one); the model then shows nothing.
    void DetachView(const MainView& view);

    /// The current local date and time as text ("short date, then long time"); replaceable for tests.
    std::function<std::string()> now;
    /// Makes the connection object for each connect attempt: ODBC unless a test scripts one.
    std::function<std::unique_ptr<Connection>()> newConnection;

    // Process-wide objects.
    std::unique_ptr<clsAdoTestCollection> g_pTestCollection;
    std::unique_ptr<clsQualDbObjName> g_QDON;
    std::unique_ptr<clsConnErrorString> g_cConnErrStr;
    std::unique_ptr<Connection> g_pAdoConn;
    std::string g_sConnectionString;  // declared with the window's state; the text box is the only holder
    bool g_bTestsWereRun = false;
    std::string g_sTslSystemTableDatabase;

    // "Connect to Server"
    std::string txtConnString;
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

    // "Create Report"
    bool chkOnlyReportFailures = false;
    std::string reportFileName;  // the file dialog's file name, kept between uses

  private:
    IUserInteraction& ui_;
    MainView* view_;
};

/// The local date and time in the locale's general form: short date, a blank, long time.
std::string GeneralDateTimeText();

}  // namespace tabvet
