// The first step without a database: the string box, the canned string and the logon dialog's hand-over.
#include <gtest/gtest.h>

#include <functional>

#include "db/connection_handling.h"
#include "db/connection_string.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

// Stands in for the window: while the dialog is shown, the test acts as the user.
struct ScriptedPresenter final : LogonDialogPresenter {
    std::function<void(frmODBCLogon&)> user;
    void ShowModal(frmODBCLogon& dialog) override { user(dialog); }
};

TEST(ConnectionSteps, ConnectFollowsTheStringAndTheCannedStringReachesTheDriverTranslated) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    for (const auto& [text, enabled] : {std::pair{"DSN=x", true}, {"", false}, {" ", true}}) {
        ConnectionStringChanged(state, text);
        EXPECT_EQ(state.cmdConnectEnabled, enabled) << "'" << text << "'";
    }
    CannedStringClick(state);
    EXPECT_TRUE(state.cmdConnectEnabled);
    EXPECT_EQ(state.txtConnString,
              "Provider=MSDASQL;Driver=Oracle in OraHome90;Server=TSLGIS;User Id=tsl;Password=kqv");
    EXPECT_EQ(TranslateConnectionString(state.txtConnString),
              "Driver=Oracle in OraHome90;Server=TSLGIS;UID=tsl;PWD=kqv");
}

TEST(ConnectionSteps, OkHandsStringAndUpperCasedDatabaseOverAndCancelChangesNothing) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.odbcLogon = frmODBCLogon([] { return DriverManagerLists{}; });
    ScriptedPresenter presenter;
    presenter.user = [](frmODBCLogon& dialog) {
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtDatabase = "Parcels_2";
        dialog.OkClick();
    };
    BuildStringClick(state, presenter);
    EXPECT_EQ(state.txtConnString,
              "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=;PWD=;Database=Parcels_2;");
    EXPECT_TRUE(state.cmdConnectEnabled);
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "PARCELS_2");

    presenter.user = [](frmODBCLogon& dialog) {
        dialog.txtDatabase = "other";
        dialog.CancelClick();
    };
    BuildStringClick(state, presenter);
    EXPECT_EQ(state.txtConnString,
              "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=;PWD=;Database=Parcels_2;");
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "PARCELS_2");
}

}  // namespace
}  // namespace tabvet
