// The two environment checks against a real server in each naming layout: what a DBA reads first.
#include <gtest/gtest.h>

#include "checks/environment_checks.h"
#include "db/odbc_connection.h"
#include "framework/main_state.h"
#include "support/layouts.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::Layout;
using testsupport::PgCluster;
using testsupport::RecordingInteraction;

constexpr const char* kHealthyText =
    "Tessel Version: 9.0.0, Release: 90000, Description: Tessel for Oracle 9.0.0 Build 1 Fri Mar 14 2008";

class EnvironmentChecksTest : public ::testing::TestWithParam<Layout> {
  protected:
    EnvironmentChecksTest() : state(ui) { state.g_QDON = std::make_unique<clsQualDbObjName>(ui); }

    // A database of this test's own, in the parameter's layout, holding `situation`.
    void Connect(const std::string& suffix, const std::vector<std::string>& situation) {
        const std::string database = std::string("env_") + testsupport::LayoutName(GetParam()) + "_" + suffix;
        PgCluster::Shared().CreateDatabase(database, testsupport::LayoutFixtures(GetParam(), situation));
        ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString(database)));
        testsupport::SetUpNamer(*state.g_QDON, GetParam(), database);
    }

    RecordingInteraction ui;
    MainState state;
    OdbcConnection conn;
};

TEST_P(EnvironmentChecksTest, HealthyInstallationPasses) {
    Connect("ok", {"healthy_version.sql"});
    clsTst_IsDbmsRunning version(state);
    clsTst_LyrTblExists layers(state);
    version.Run(&conn);
    layers.Run(&conn);
    EXPECT_TRUE(version.Pass());
    EXPECT_TRUE(version.WasRun());
    EXPECT_EQ(version.ResultDetails(), kHealthyText);
    EXPECT_TRUE(layers.Pass());
    EXPECT_EQ(layers.ResultDetails(), "LAYERS table exists");
    EXPECT_TRUE(ui.shown.empty());
}

TEST_P(EnvironmentChecksTest, MissingTablesCarryTheDriverMessage) {
    Connect("missing", {"healthy_version.sql"});
    const std::string prefix = GetParam() == Layout::SqlServer ? "tsl_" : "";
    PgCluster::Shared().Execute(std::string("env_") + testsupport::LayoutName(GetParam()) + "_missing",
                                "DROP TABLE tsl." + prefix + "version; DROP TABLE tsl." + prefix + "layers;");
    clsTst_IsDbmsRunning version(state);
    clsTst_LyrTblExists layers(state);
    version.Run(&conn);
    layers.Run(&conn);
    EXPECT_FALSE(version.Pass());
    EXPECT_FALSE(layers.Pass());
    // Only the VERSION check puts "Errors: " before the list.
    const std::string versionExpected = "Errors: \r\n>>>> Err#1: ERROR: relation \"tsl." + prefix +
                                        "version\" does not exist;\nError while executing the query";
    EXPECT_EQ(version.ResultDetails().substr(0, versionExpected.size()), versionExpected)
        << version.ResultDetails();
    const std::string layersExpected =
        "\r\n>>>> Err#1: ERROR: relation \"tsl." + prefix + "layers\" does not exist;";
    EXPECT_EQ(layers.ResultDetails().substr(0, layersExpected.size()), layersExpected)
        << layers.ResultDetails();
}

TEST_P(EnvironmentChecksTest, EmptyVersionPassesWithRunningAndOnlyTheFirstRowCounts) {
    Connect("empty", {});
    clsTst_IsDbmsRunning version(state);
    version.Run(&conn);
    EXPECT_TRUE(version.Pass());
    EXPECT_EQ(version.ResultDetails(), "Running");
}

TEST_P(EnvironmentChecksTest, NullValuesContributeNothing) {
    Connect("nulls", {});
    const std::string table = GetParam() == Layout::SqlServer ? "tsl.tsl_version" : "tsl.version";
    PgCluster::Shared().Execute(std::string("env_") + testsupport::LayoutName(GetParam()) + "_nulls",
                                "INSERT INTO " + table + " VALUES (9, 1, NULL, 91000, NULL); INSERT INTO " +
                                    table + " VALUES (8, 0, 0, 1, 'second row is ignored');");
    clsTst_IsDbmsRunning version(state);
    version.Run(&conn);
    EXPECT_TRUE(version.Pass());
    EXPECT_EQ(version.ResultDetails(), "Tessel Version: 9.1., Release: 91000, Description: ");
}

INSTANTIATE_TEST_SUITE_P(Layouts, EnvironmentChecksTest,
                         ::testing::Values(Layout::Oracle, Layout::Db2, Layout::SqlServer),
                         [](const auto& info) { return std::string(testsupport::LayoutName(info.param)); });

TEST(EnvironmentChecksWithoutSetupTest, NoConnectionAndNoNamerNeverReachTheDatabase) {
    RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    clsTst_IsDbmsRunning version(state);
    clsTst_LyrTblExists layers(state);
    for (IAdoTest* test : std::initializer_list<IAdoTest*>{&version, &layers}) {
        test->Run(nullptr);
        EXPECT_TRUE(test->WasRun());
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), "No ADO connection passed to test");
    }
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString("postgres")));
    for (IAdoTest* test : std::initializer_list<IAdoTest*>{&version, &layers}) {
        test->Run(&conn);
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), "Cannot translate system table name");
    }
    EXPECT_EQ(ui.Lines(),
              (std::vector<std::string>{"Call Out Of Sequence: Must call clsQualDbObjName.Setup first",
                                        "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"}));
}

}  // namespace
}  // namespace tabvet
