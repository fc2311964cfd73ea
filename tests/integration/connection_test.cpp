// The connect button against the real driver: connect and disconnect, the error box of a failed open, and
// what a disconnect after a test run asks and discards.
#include <gtest/gtest.h>

#include <string>

#include "db/connection_handling.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "startup.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

const PgCluster& Cluster() {
    static const bool built = [] {
        PgCluster::Shared().CreateDatabase("conn6", {"tessel_schema.sql", "healthy_version.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

class ConnectButton : public ::testing::Test {
  protected:
    ConnectButton() : state(ui) {
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, Cluster().ConnectionString("conn6"));
        SetSystemTableDatabase(state, "gis");
    }

    // Caption and enabling of both steps, as one text to compare.
    std::string Controls() const {
        return state.cmdConnectCaption + (state.txtConnStringEnabled ? " string" : "") +
               (state.cmdBuildStringEnabled ? " build" : "") + (state.cmdCannedEnabled ? " canned" : "") +
               (state.cmdQueryTypeEnabled ? " query" : "") + (state.cmdRunEnabled ? " run" : "");
    }

    void ConnectAndRun() {
        ConnectButtonClick(state);
        ASSERT_EQ(Controls(), "Disconnect query run");
        OptionClick(state, DbmsOption::Oracle);
        state.txtMajorVersion = "9";
        state.txtMinorVersion = state.txtBugfix = "0";
        ProcessRunTests(state);
        ASSERT_TRUE(state.g_pTestCollection->Item(1)->WasRun());
    }

    testsupport::RecordingInteraction ui;
    MainState state;
};

TEST_F(ConnectButton, ClickingTwiceConnectsThenDisconnectsWithoutAsking) {
    ConnectButtonClick(state);
    EXPECT_EQ(Controls(), "Disconnect query run");
    EXPECT_EQ(state.g_pAdoConn->State(), Connection::kStateOpen);
    ConnectButtonClick(state);
    EXPECT_EQ(Controls(), "Connect string build canned");
    EXPECT_EQ(state.g_pAdoConn, nullptr);
    EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
    EXPECT_TRUE(DisconnectFromDbms(state));  // nothing left to close
}

TEST_F(ConnectButton, AFailedOpenShowsTheDriversMessagesAndTheNextClickTriesAgain) {
    const std::pair<std::string, std::string> cases[] = {
        {"Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=conn6;UID=tabvet;PWD=;",
         ">>>> Err#101: connection to server at \"127.0.0.1\", port 1 failed: Connection refused\n"
         "\tIs the server running on that host and accepting TCP/IP connections?\n"},
        {kCannedConnectionString,
         ">>>> Err#0: [unixODBC][Driver Manager]Can't open lib 'Oracle in OraHome90' : file not found"},
    };
    for (const auto& [connectionString, errors] : cases) {
        ConnectionStringChanged(state, connectionString);
        for (int click = 1; click <= 2; ++click) {
            ui.shown.clear();
            ConnectButtonClick(state);
            ASSERT_EQ(ui.shown.size(), 1u);
            EXPECT_EQ(ui.shown[0].title, "Error connecting to DBMS");
            EXPECT_EQ(ui.shown[0].icon, MsgIcon::Exclamation);
            EXPECT_EQ(ui.shown[0].text, "Errors:\r\n\r\n" + errors);
            EXPECT_EQ(Controls(), "Connect string build canned");
            EXPECT_EQ(state.g_pAdoConn, nullptr);
        }
    }
}

TEST_F(ConnectButton, AfterARunDisconnectAsksCancelKeepsEverythingOkDiscards) {
    ConnectAndRun();
    const std::string log = state.rtbStatus;
    ui.answers = {MsgAnswer::Cancel};
    EXPECT_FALSE(DisconnectFromDbms(state));
    ASSERT_EQ(ui.shown.size(), 1u);
    EXPECT_EQ(ui.shown[0].title, "Disconnecting...");
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(
        ui.shown[0].text,
        "Tests have been run.  Disconnecting will discard results held in memory.\r\n"
        "If you have not written your results to a text file, you should do so before disconnecting.\r\n"
        "\r\n"
        "Disconnect? ");
    EXPECT_EQ(Controls(), "Disconnect query run");
    EXPECT_TRUE(state.g_bTestsWereRun);
    EXPECT_EQ(state.rtbStatus, log);
    EXPECT_EQ(state.selectedDbms, DbmsOption::Oracle);

    ui.answers = {MsgAnswer::Ok};
    ConnectButtonClick(state);
    EXPECT_EQ(ui.shown.size(), 2u);
    EXPECT_EQ(Controls(), "Connect string build canned");
    EXPECT_FALSE(state.g_bTestsWereRun);
    for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
        EXPECT_FALSE(state.g_pTestCollection->Item(i)->WasRun()) << i;
    }
    EXPECT_EQ(state.rtbStatus, "");
    EXPECT_EQ(state.selectedDbms, DbmsOption::None);
    EXPECT_EQ(state.txtMajorVersion + state.txtMinorVersion + state.txtBugfix, "");
    // The first step keeps what the user typed and chose.
    EXPECT_EQ(state.txtConnString, Cluster().ConnectionString("conn6"));
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "GIS");
}

}  // namespace
}  // namespace tabvet
