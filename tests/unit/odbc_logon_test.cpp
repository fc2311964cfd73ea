// The first step without a database: the logon dialog's model (the string OK assembles from the fields, what
// Cancel and reopening keep), its hand-over to the window, the string box and the canned string.
#include <gtest/gtest.h>

#include <functional>

#include "db/connection_handling.h"
#include "db/connection_string.h"
#include "db/odbc_logon.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

DriverManagerLists OneDsn() {
    return {.environmentAllocated = true,
            .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}},
            .drivers = {}};
}

struct AssemblyCase {
    const char* label;
    int dsnIndex;  // 0 is "(None)"
    const char* uid;
    const char* pwd;
    const char* database;
    const char* expected;
};

const AssemblyCase kAssemblyCases[] = {
    {"driver form", 0, "tsl", "kqv", "",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;"},
    {"driver form with database", 0, "tsl", "kqv", "Parcels",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=Parcels;"},
    {"a data source leaves driver and server out", 1, "tsl", "kqv", "",
     "PROVIDER=MSDASQL;DSN=Sales;UID=tsl;PWD=kqv;"},
    {"empty user and password stay in", 1, "", "", "roads",
     "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=roads;"},
};

TEST(OdbcLogon, OkAssemblesTheStringFromTheFields) {
    for (const AssemblyCase& c : kAssemblyCases) {
        SCOPED_TRACE(c.label);
        frmODBCLogon dialog(OneDsn);
        dialog.Show("");
        dialog.DsnChoice(c.dsnIndex);
        EXPECT_EQ(dialog.txtServerEnabled, c.dsnIndex == 0);
        EXPECT_EQ(dialog.cboDriversEnabled, c.dsnIndex == 0);
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtUID = c.uid;
        dialog.txtPWD = c.pwd;
        dialog.txtDatabase = c.database;
        dialog.OkClick();
        EXPECT_EQ(dialog.ConnectionString(), c.expected);
        EXPECT_FALSE(dialog.Visible());
    }
}

TEST(OdbcLogon, CancelAfterOkEmptiesTheStringWhileListsAndFieldsStay) {
    int reads = 0;
    frmODBCLogon dialog([&] {
        ++reads;
        return OneDsn();
    });
    dialog.Show("PARCELS");
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");  // taken from the main window at the first showing only
    dialog.DsnChoice(1);
    dialog.OkClick();
    ASSERT_EQ(dialog.ConnectionString(), "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=PARCELS;");

    dialog.Show("OTHER");
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    dialog.CancelClick();
    EXPECT_EQ(dialog.ConnectionString(), "");
    EXPECT_EQ(reads, 1);
}

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
