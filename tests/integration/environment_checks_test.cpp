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

class EnvironmentChecksTest : public ::testing::TestWithParam<Layout> {};

// One database per layout, changed step by step: healthy, then an empty VERSION, then NULLs, then no tables.
TEST_P(EnvironmentChecksTest, VersionAndLayersChecksTellWhatTheyFound) {
    const PgCluster& pg = PgCluster::Shared();
    const std::string database = std::string("env_") + testsupport::LayoutName(GetParam());
    pg.CreateDatabase(database, testsupport::LayoutFixtures(GetParam(), {"healthy_version.sql"}));
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    testsupport::SetUpNamer(*state.g_QDON, GetParam(), database);
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(pg.ConnectionString(database)));
    clsTst_IsDbmsRunning version(state);
    clsTst_LyrTblExists layers(state);
    // The driver's message goes on after what is compared of a failure.
    const auto expect = [&](IAdoTest& test, bool pass, const std::string& details) {
        test.Run(&conn);
        EXPECT_TRUE(test.WasRun());
        EXPECT_EQ(test.Pass(), pass);
        EXPECT_EQ(pass ? test.ResultDetails() : test.ResultDetails().substr(0, details.size()), details);
    };
    expect(version, true,
           "Tessel Version: 9.0.0, Release: 90000, Description: Tessel for Oracle 9.0.0 Build 1 Fri Mar 14 "
           "2008");
    expect(layers, true, "LAYERS table exists");

    const std::string table = std::string("tsl.") + (GetParam() == Layout::SqlServer ? "tsl_" : "");
    pg.Execute(database, "DELETE FROM " + table + "version");
    expect(version, true, "Running");
    // Only the first row counts; NULLs contribute nothing.
    pg.Execute(database, "INSERT INTO " + table + "version VALUES (9, 1, NULL, 91000, NULL); INSERT INTO " +
                             table + "version VALUES (8, 0, 0, 1, 'second row is ignored');");
    expect(version, true, "Tessel Version: 9.1., Release: 91000, Description: ");

    // Only the VERSION check puts "Errors: " before the list.
    pg.Execute(database, "DROP TABLE " + table + "version; DROP TABLE " + table + "layers;");
    expect(version, false,
           "Errors: \r\n>>>> Err#1: ERROR: relation \"" + table +
               "version\" does not exist;\nError while executing the query");
    expect(layers, false, "\r\n>>>> Err#1: ERROR: relation \"" + table + "layers\" does not exist;");
    EXPECT_TRUE(ui.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(Layouts, EnvironmentChecksTest,
                         ::testing::Values(Layout::Oracle, Layout::Db2, Layout::SqlServer),
                         [](const auto& info) { return std::string(testsupport::LayoutName(info.param)); });

TEST(EnvironmentChecksWithoutSetupTest, NoConnectionAndNoNamerNeverReachTheDatabase) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    clsTst_IsDbmsRunning version(state);
    clsTst_LyrTblExists layers(state);
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString("postgres")));
    for (IAdoTest* test : std::initializer_list<IAdoTest*>{&version, &layers}) {
        test->Run(nullptr);
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), "No ADO connection passed to test");
        test->Run(&conn);
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), "Cannot translate system table name");
    }
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>(2, "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"));
}

}  // namespace
}  // namespace tabvet
