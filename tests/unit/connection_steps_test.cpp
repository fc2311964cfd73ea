// The first step and detection without a database: the string the logon dialog's OK assembles, what Cancel
// and reopening keep, its hand-over to the window, the canned string, the version boxes' key filter and
// number conversion, and the probing order down to the last naming style.
#include <gtest/gtest.h>

#include "db/connection_handling.h"
#include "db/connection_string.h"
#include "db/odbc_logon.h"
#include "db/runtime_error.h"
#include "db/server_type_detection.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;

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
    RecordingInteraction ui;
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
    Transcript t("version_boxes");
    t.Case("keys the boxes take, of every UTF-16 code unit");
    std::string passing;
    for (int key = 0; key <= 0xFFFF; ++key) {
        passing += VersionKeyPasses(key) ? " " + std::to_string(key) : "";
    }
    t.Line("keys", passing);
    t.Case("numbers of texts typed or filled in by detection");
    for (const char* box : {"", "12", "007", "32767", "32768", "-1", "7.5", "8.5", " 12 ", "1e3", "&H10"}) {
        t.Try(std::string("'") + box + "'", [&] { return std::to_string(VersionBoxNumber(box)); });
    }
}

TEST(ScriptedDetection, NeedsAConnectionAndProbesEveryStyleInOrder) {
    RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    state.selectedDbms = DbmsOption::DB2;
    QueryDbmsType(state);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Query DBMS: Please connect to DBMS first."});
    EXPECT_EQ(state.selectedDbms, DbmsOption::DB2);

    // Informix names have no stand-in database; only the SQL Server style answers here.
    auto conn = std::make_unique<ScriptedConnection>();
    const auto& sent = conn->Sent();
    conn->Open("");
    const std::string select = "SELECT major, minor, bugfix, release, description FROM ";
    conn->Answer(select + "GIS.TSL.tsl_VERSION", Rows(5, {{"9", "1", "3", "0", "Tessel for Informix"}}));
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
