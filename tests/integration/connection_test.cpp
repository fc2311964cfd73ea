// The connect button against the real driver: connecting and disconnecting, the error box of a failed
// open, and what a disconnect after a test run asks and discards.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/connection_handling.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "startup.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::RecordingInteraction;

constexpr const char* kDatabase = "conn6";

const PgCluster& Cluster() {
    static const bool built = [] {
        PgCluster::Shared().CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

class ConnectButton : public ::testing::Test {
  protected:
    ConnectButton() : state(ui) {
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, Cluster().ConnectionString(kDatabase));
        SetSystemTableDatabase(state, "gis");
    }

    void ExpectDisconnectedControls() const {
        EXPECT_EQ(state.g_pAdoConn, nullptr);
        EXPECT_EQ(state.cmdConnectCaption, "Connect");
        EXPECT_TRUE(state.txtConnStringEnabled);
        EXPECT_TRUE(state.cmdBuildStringEnabled);
        EXPECT_TRUE(state.cmdCannedEnabled);
        EXPECT_FALSE(state.cmdQueryTypeEnabled);
        EXPECT_FALSE(state.cmdRunEnabled);
    }

    void ExpectConnectedControls() const {
        ASSERT_NE(state.g_pAdoConn, nullptr);
        EXPECT_EQ(state.g_pAdoConn->State(), Connection::kStateOpen);
        EXPECT_EQ(state.cmdConnectCaption, "Disconnect");
        EXPECT_FALSE(state.txtConnStringEnabled);
        EXPECT_FALSE(state.cmdBuildStringEnabled);
        EXPECT_FALSE(state.cmdCannedEnabled);
        EXPECT_TRUE(state.cmdQueryTypeEnabled);
        EXPECT_TRUE(state.cmdRunEnabled);
    }

    // A run of the real catalogue on the Oracle layout, as the window does it.
    void RunTests() {
        OptionClick(state, DbmsOption::Oracle);
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "0";
        state.txtBugfix = "0";
        ProcessRunTests(state);
        ASSERT_TRUE(state.g_bTestsWereRun);
        ASSERT_TRUE(state.g_pTestCollection->Item(1)->WasRun());
        ASSERT_FALSE(state.rtbStatus.empty());
    }

    RecordingInteraction ui;
    MainState state;
};

TEST_F(ConnectButton, ClickingTwiceConnectsThenDisconnectsWithoutAsking) {
    EXPECT_TRUE(DisconnectFromDbms(state));  // nothing to close yet
    ConnectButtonClick(state);
    ExpectConnectedControls();
    ConnectButtonClick(state);
    ExpectDisconnectedControls();
    EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
}

struct FailedOpenCase {
    const char* label;
    std::string connectionString;
    const char* errors;  // the box text after "Errors:" and the blank line
};

TEST_F(ConnectButton, AFailedOpenShowsTheDriversMessagesAndStaysDisconnected) {
    const FailedOpenCase cases[] = {
        {"nothing listens on the port",
         "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=conn6;UID=tabvet;PWD=;",
         ">>>> Err#101: connection to server at \"127.0.0.1\", port 1 failed: Connection refused\n"
         "\tIs the server running on that host and accepting TCP/IP connections?\n"},
        {"the canned string names a driver that is not installed", kCannedConnectionString,
         ">>>> Err#0: [unixODBC][Driver Manager]Can't open lib 'Oracle in OraHome90' : file not found"},
        {"a database that does not exist",
         "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(Cluster().Port()) +
             ";Database=conn6_missing;UID=tabvet;PWD=;",
         nullptr},
    };
    for (const FailedOpenCase& c : cases) {
        SCOPED_TRACE(c.label);
        ConnectionStringChanged(state, c.connectionString);
        // The second click tries to connect again: a failed open leaves no connection behind.
        for (int click = 1; click <= 2; ++click) {
            ui.shown.clear();
            ConnectButtonClick(state);
            ASSERT_EQ(ui.shown.size(), 1u);
            const testsupport::ShownMessage& box = ui.shown[0];
            EXPECT_EQ(box.title, "Error connecting to DBMS");
            EXPECT_EQ(box.buttons, MsgButtons::Ok);
            EXPECT_EQ(box.icon, MsgIcon::Exclamation);
            if (c.errors != nullptr) {
                EXPECT_EQ(box.text, std::string("Errors:\r\n\r\n") + c.errors);
            } else {
                EXPECT_EQ(box.text.rfind("Errors:\r\n\r\n>>>> Err#101: ", 0), 0u) << box.text;
                EXPECT_NE(box.text.find("database \"conn6_missing\" does not exist"), std::string::npos)
                    << box.text;
            }
            ExpectDisconnectedControls();
            EXPECT_EQ(state.txtConnString, c.connectionString);
        }
    }
}

TEST_F(ConnectButton, CancelAfterARunKeepsConnectionAndResults) {
    ConnectButtonClick(state);
    RunTests();
    const std::string log = state.rtbStatus;
    ui.answers = {MsgAnswer::Cancel};

    ConnectButtonClick(state);

    ASSERT_EQ(ui.shown.size(), 1u);
    EXPECT_EQ(ui.shown[0].title, "Disconnecting...");
    EXPECT_EQ(
        ui.shown[0].text,
        "Tests have been run.  Disconnecting will discard results held in memory.\r\n"
        "If you have not written your results to a text file, you should do so before disconnecting.\r\n"
        "\r\n"
        "Disconnect? ");
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::OkCancel);
    ExpectConnectedControls();
    EXPECT_TRUE(state.g_bTestsWereRun);
    EXPECT_TRUE(state.g_pTestCollection->Item(1)->WasRun());
    EXPECT_EQ(state.rtbStatus, log);
    EXPECT_EQ(state.selectedDbms, DbmsOption::Oracle);
    EXPECT_EQ(state.txtMajorVersion, "9");

    // The shutdown path sees the refusal.
    ui.answers = {MsgAnswer::Cancel};
    EXPECT_FALSE(DisconnectFromDbms(state));
    ExpectConnectedControls();
}

TEST_F(ConnectButton, OkAfterARunDiscardsResultsAndClearsLaterSteps) {
    const std::string typed = state.txtConnString;
    ConnectButtonClick(state);
    RunTests();
    ui.answers = {MsgAnswer::Ok};

    EXPECT_TRUE(DisconnectFromDbms(state));

    ASSERT_EQ(ui.shown.size(), 1u);
    EXPECT_EQ(ui.shown[0].title, "Disconnecting...");
    ExpectDisconnectedControls();
    EXPECT_FALSE(state.g_bTestsWereRun);
    for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
        EXPECT_FALSE(state.g_pTestCollection->Item(i)->WasRun()) << i;
    }
    EXPECT_EQ(state.rtbStatus, "");
    EXPECT_EQ(state.selectedDbms, DbmsOption::None);
    EXPECT_EQ(state.txtMajorVersion, "");
    EXPECT_EQ(state.txtMinorVersion, "");
    EXPECT_EQ(state.txtBugfix, "");
    // What the user typed and chose in the first step stays.
    EXPECT_EQ(state.txtConnString, typed);
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "GIS");
}

}  // namespace
}  // namespace tabvet
