// The first step and detection without a database: the string the logon dialog's OK assembles, what Cancel
// and reopening keep, its hand-over to the window, the canned string, the version boxes' key filter and
// number conversion, and the probing order down to the last naming style.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "db/connection_handling.h"
#include "db/connection_string.h"
#include "db/odbc_logon.h"
#include "db/runtime_error.h"
#include "db/server_type_detection.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

DriverManagerLists OneDsn() {
    return {.environmentAllocated = true, .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}}};
}

TEST(OdbcLogon, OkAssemblesTheStringAndCancelAfterOkEmptiesItWhileListsAndFieldsStay) {
    const struct {
        int dsnIndex;  // 0 is "(None)"
        const char *uid, *pwd, *database, *expected;
    } cases[] = {
        {0, "tsl", "kqv", "", "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;"},
        {0, "tsl", "kqv", "Parcels",
         "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=Parcels;"},
        {1, "", "", "roads", "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=roads;"},
    };
    for (const auto& c : cases) {
        frmODBCLogon dialog(OneDsn);
        dialog.Show("");
        dialog.DsnChoice(c.dsnIndex);
        EXPECT_EQ(dialog.txtServerEnabled && dialog.cboDriversEnabled, c.dsnIndex == 0);
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtUID = c.uid;
        dialog.txtPWD = c.pwd;
        dialog.txtDatabase = c.database;
        dialog.OkClick();
        EXPECT_EQ(dialog.ConnectionString(), c.expected);
        EXPECT_FALSE(dialog.Visible());
    }
    int reads = 0;
    frmODBCLogon dialog([&] { return ++reads, OneDsn(); });
    dialog.Show("PARCELS");
    dialog.DsnChoice(1);
    dialog.OkClick();
    dialog.Show("OTHER");  // the database is taken from the main window at the first showing only
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

TEST(ConnectionSteps, TheStringBoxTheCannedStringAndTheLogonDialogFillTheFirstStep) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    for (const auto& [text, enabled] : {std::pair{"DSN=x", true}, {"", false}, {" ", true}}) {
        ConnectionStringChanged(state, text);
        EXPECT_EQ(state.cmdConnectEnabled, enabled) << "'" << text << "'";
    }
    CannedStringClick(state);
    EXPECT_EQ(TranslateConnectionString(state.txtConnString),
              "Driver=Oracle in OraHome90;Server=TSLGIS;UID=tsl;PWD=kqv");
    state.odbcLogon = frmODBCLogon([] { return DriverManagerLists{}; });
    ScriptedPresenter presenter;
    const std::string built = "PROVIDER=MSDASQL;Driver=D;Server=s;UID=;PWD=;Database=Parcels_2;";
    for (const bool ok : {true, false}) {
        presenter.user = [ok](frmODBCLogon& dialog) {
            dialog.cboDriversText = "D";
            dialog.txtServer = "s";
            dialog.txtDatabase = ok ? "Parcels_2" : "other";
            ok ? dialog.OkClick() : dialog.CancelClick();
        };
        BuildStringClick(state, presenter);
        EXPECT_EQ(state.txtConnString, built);
        EXPECT_EQ(state.g_sTslSystemTableDatabase, "PARCELS_2");
    }
}

TEST(VersionBoxes, KeyFilterAndConversion) {
    constexpr int kBackspace = 8;
    const struct {
        const char* startText;  // e.g. filled by detection from a field
        std::vector<int> keys;  // typed at the end of the box
        const char* boxText;
        std::optional<int> number;  // empty: the conversion overflows
    } cases[] = {
        {"", {'1', 'a', '-', '.', '2'}, "12", 12},
        {"", {'/', ':', ' ', '\t', 127, 0x0660, 0xFF10}, "", 0},  // neighbours of the digits, other scripts
        {"9", {'0', kBackspace}, "9", 9},
        {"", {'3', '2', '7', '6', '7'}, "32767", 32767},
        {"", {'3', '2', '7', '6', '8'}, "32768", std::nullopt},
        {"-1", {}, "-1", -1},
        {"7.5", {}, "7.5", 8},
        {" 012 ", {}, " 012 ", 12},
    };
    for (const auto& c : cases) {
        std::string box = c.startText;
        for (const int key : c.keys) {
            if (VersionKeyPasses(key)) {
                key == kBackspace ? box.pop_back() : box.push_back(static_cast<char>(key));
            }
        }
        EXPECT_EQ(box, c.boxText);
        if (c.number) {
            EXPECT_EQ(VersionBoxNumber(box), *c.number) << box;
        } else {
            EXPECT_THROW(VersionBoxNumber(box), RuntimeError) << box;
        }
    }
}

TEST(ScriptedDetection, NeedsAConnectionAndProbesEveryStyleInOrder) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    state.selectedDbms = DbmsOption::DB2;
    QueryDbmsType(state);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Query DBMS: Please connect to DBMS first."});
    EXPECT_EQ(state.selectedDbms, DbmsOption::DB2);

    // Informix names have no stand-in database; only the SQL Server style answers here.
    auto conn = std::make_unique<testsupport::ScriptedConnection>();
    const auto& sent = conn->Sent();
    conn->Open("");
    const std::string select = "SELECT major, minor, bugfix, release, description FROM ";
    conn->Answer(select + "GIS.TSL.tsl_VERSION",
                 testsupport::Rows(5, {{"9", "1", "3", "0", "Tessel for Informix"}}));
    state.g_pAdoConn = std::move(conn);
    state.g_sTslSystemTableDatabase = "GIS";
    ui.shown.clear();
    QueryDbmsType(state);
    EXPECT_EQ(sent, (std::vector<std::string>{select + "GIS.TSL.VERSION", select + "GIS:TSL.VERSION",
                                              select + "TSL.VERSION", select + "GIS.TSL.tsl_VERSION"}));
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.selectedDbms, DbmsOption::Informix);
    EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), "GIS:TSL.LAYERS");
    EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, "9.1.3");
}

}  // namespace
}  // namespace tabvet
