// The one connection lives in the model; a failed open never leaves a half-open object behind.
#include "connection_handling.h"

#include "db/conn_error_string.h"
#include "db/value.h"
#include "run_step.h"
#include "server_type_selection.h"

namespace tabvet {
namespace {

constexpr const char* kDisconnectQuestion =
    "Tests have been run.  Disconnecting will discard results held in memory.\r\n"
    "If you have not written your results to a text file, you should do so before disconnecting.\r\n"
    "\r\n"
    "Disconnect? ";  // the trailing blank belongs to the question

}  // namespace

void ConnectButtonClick(MainState& state) {
    if (state.g_pAdoConn == nullptr) {
        ConnectToDbms(state);
    } else {
        (void)DisconnectFromDbms(state);
    }
}

void ConnectToDbms(MainState& state) {
    state.runStop.Watch(nullptr);  // before the connection it may watch goes
    state.g_pAdoConn = state.newConnection();
    bool opened = false;
    if (state.g_pAdoConn != nullptr) {
        const BusyPointer busy(state.View());
        state.g_pAdoConn->SetTimeouts(state.timeouts);
        opened = state.g_pAdoConn->Open(state.txtConnString);
    }
    if (!opened) {
        // A connection that could not even be made is reported too: the formatter names the null object.
        DisplayAdoErrors(state.g_pAdoConn.get(), "Error connecting to DBMS", state.Ui());
        if (state.g_pAdoConn != nullptr && state.g_pAdoConn->State() != Connection::kStateClosed) {
            state.g_pAdoConn->Close();
        }
        state.g_pAdoConn.reset();
        return;
    }
    state.runStop.Watch(state.g_pAdoConn.get());
    state.cmdConnectCaption = "Disconnect";
    state.cmdBuildStringEnabled = false;
    state.cmdCannedEnabled = false;
    state.txtConnStringEnabled = false;
    state.cmdQueryTypeEnabled = true;
    state.cmdRunEnabled = true;
    state.View().ControlsChanged();
}

bool DisconnectFromDbms(MainState& state) {
    if (state.g_pAdoConn == nullptr) {
        return true;
    }
    if (state.g_bTestsWereRun) {
        const MsgAnswer answer = state.Ui().ShowMessage(kDisconnectQuestion, "Disconnecting...",
                                                        MsgButtons::OkCancel, MsgIcon::None);
        if (answer != MsgAnswer::Ok) {
            return false;
        }
    }
    state.runStop.Watch(nullptr);
    try {
        state.g_pAdoConn->Close();
    } catch (...) {
        // A failing close still ends the connection.
    }
    state.g_pAdoConn.reset();
    state.cmdConnectCaption = "Connect";
    state.cmdBuildStringEnabled = true;
    state.cmdCannedEnabled = true;
    state.txtConnStringEnabled = true;
    ResetTestResults(state);
    state.cmdQueryTypeEnabled = false;
    state.cmdRunEnabled = false;
    UnselectDbmsOptions(state);
    state.txtMajorVersion.clear();
    state.txtMinorVersion.clear();
    state.txtBugfix.clear();
    state.View().ControlsChanged();
    return true;
}

void ResetTestResults(MainState& state) {
    state.g_bTestsWereRun = false;
    if (state.g_pTestCollection != nullptr) {
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            state.g_pTestCollection->Item(i)->WasRun(false);
        }
    }
    state.lastRun = RunRecord{};
    SetStatusWindow(state, "");
}

void ConnectionStringChanged(MainState& state, const std::string& text) {
    state.txtConnString = text;
    state.cmdConnectEnabled = !text.empty();
    state.View().ControlsChanged();
}

void CannedStringClick(MainState& state) {
    ConnectionStringChanged(state, kCannedConnectionString);
}

void BuildStringClick(MainState& state, LogonDialogPresenter& presenter) {
    frmODBCLogon& dialog = state.odbcLogon;
    dialog.Show(state.g_sTslSystemTableDatabase);
    presenter.ShowModal(dialog);
    if (dialog.ConnectionString().empty()) {
        return;
    }
    ConnectionStringChanged(state, dialog.ConnectionString());
    SetSystemTableDatabase(state, dialog.txtDatabase);
}

void SetSystemTableDatabase(MainState& state, const std::string& databaseText) {
    state.g_sTslSystemTableDatabase = UpperCaseAscii(databaseText);
}

}  // namespace tabvet
