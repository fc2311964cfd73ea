// Every caption, tool tip and instruction text of the main window, in one place to check them at a glance.
#pragma once

namespace tabvet::window_text {

inline constexpr const char* kTabConnect = "Connect to Server";
inline constexpr const char* kTabServerType = "Select Server Type";
inline constexpr const char* kTabRun = "Run Tests";
inline constexpr const char* kTabReport = "Create Report";

inline constexpr const char* kConnectInstructions =
    "Before running any tests, please connect to the Tessel DBMS server.  Tessel does not need to be "
    "running, "
    "but the DBMS does.  You can type in an ODBC connection string, or you can select \"Build ODBC "
    "Connection "
    "String\" and enter the connection details.";
inline constexpr const char* kConnStringFrame = "ODBC Connection String";
inline constexpr const char* kBuildString = "Build ODBC Connection String...";
inline constexpr const char* kCanned = "Use Canned String";

inline constexpr const char* kSettingsInstructions =
    "Before running any tests, you must specify the type of DBMS and the version of Tessel you are testing.  "
    "This information is needed because some tests only run on certain types of servers.  You may enter this "
    "information yourself, or you may query the DBMS for the information.";
inline constexpr const char* kDbmsFrame = "DBMS Type";  // its four buttons are captioned by the DBMS table
inline constexpr const char* kVersionFrame = "Tessel Version";
inline constexpr const char* kVersionLabel = "Major  . Minor . Bugfix";
inline constexpr const char* kQueryType = "Query DBMS";

inline constexpr const char* kRunInstructions =
    "All tests that apply to this DBMS and this version of Tessel will be run.";
inline constexpr const char* kRun = "Run Tests";
inline constexpr const char* kClearRunStatus = "Clear This Status Window";
inline constexpr const char* kClearRunStatusTip = "Does not delete test results";

inline constexpr const char* kReportNote =
    "After a test run is finished, you can write the results of the latest test run into a text file.  After "
    "you "
    "create this report, a text editor will be started to allow you to view the report.  Use the editor to "
    "print "
    "the report or save it under a different name.";
inline constexpr const char* kOnlyFailures = "Only Report Details About Failed tests";
inline constexpr const char* kCreateReport = "Write Test Results to Text File";
inline constexpr const char* kViewReport = "Open Existing Text File";

inline constexpr const char* kMenuFile = "&File";
inline constexpr const char* kMenuExit = "E&xit";
inline constexpr const char* kMenuHelp = "&Help";
inline constexpr const char* kMenuAbout = "&About";

// The logon dialog's own texts.
inline constexpr const char* kLogonCaption = "ODBC Logon";
inline constexpr const char* kLogonInfo = "Choose a data source name, or a driver and a server.";
inline constexpr const char* kLogonOr = "or";
inline constexpr const char* kLogonStep3 =
    "Enter your user name and password, and the database that holds the "
    "Tessel system tables if your DBMS needs one.";
inline constexpr const char* kLogonStep3Frame = "Logon";

}  // namespace tabvet::window_text
