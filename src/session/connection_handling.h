// The "Connect to Server" step: one connection per process, opened from the connection-string box and
// closed again, with the results of a run discarded on disconnect.
#pragma once

#include "main_state.h"
#include "odbc_logon.h"

namespace tabvet {

/// The connect button: connects when there is no connection, otherwise disconnects.
void ConnectButtonClick(MainState& state);
/// Opens a new connection from the connection-string box; a failure shows the error list.
void ConnectToDbms(MainState& state);
/// Closes the connection, asking first when a run's results would be lost. True when no connection
/// remains afterwards; false when the user declined.
bool DisconnectFromDbms(MainState& state);
/// Forgets which tests ran and empties the status log; verdicts and texts stay in the test objects.
void ResetTestResults(MainState& state);
/// Every edit of the connection-string box: Connect is enabled exactly when the text is not empty.
void ConnectionStringChanged(MainState& state, const std::string& text);
/// "Use Canned String": puts the fixed example string for an Oracle client into the box.
void CannedStringClick(MainState& state);
/// "Build ODBC Connection String...": shows the logon dialog through `presenter`. A string it returns goes
/// into the box, and the dialog's database, upper-cased, becomes the system-table database; after Cancel
/// nothing changes.
void BuildStringClick(MainState& state, LogonDialogPresenter& presenter);
/// Takes a database text as the system-table database, upper-cased as the logon dialog's is.
void SetSystemTableDatabase(MainState& state, const std::string& databaseText);

/// The fixed example string of "Use Canned String". It ends without a semicolon.
inline constexpr const char* kCannedConnectionString =
    "Provider=MSDASQL;"
    "Driver=Oracle in OraHome90;"
    "Server=TSLGIS;"
    "User Id=tsl;"
    "Password=kqv";

}  // namespace tabvet
