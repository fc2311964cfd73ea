// The report's bytes against expected files, and the writer's refusals and write failures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "report/report_writer.h"
#include "support/fake_test.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::FakeTest;
using testsupport::ReadBytes;

constexpr const char* kClock = "01/02/2025 13:04:05";

FakeTest::State IsDbmsRunning(bool wasRun) {
    return {
        .name = "Is database running",
        .category = "Environment",
        .description = "Check whether database is running by checking for the existence of the VERSION table",
        .resultDetails = "Tessel Version: 9.1.0, Release: 91000, Description: 9.1 release",
        .pass = true,
        .wasRun = wasRun};
}

FakeTest::State LayersTable(bool pass) {
    return {.name = "LAYERS table existence",
            .category = "Missing system tables",
            .description = "Check whether LAYERS table exists",
            // A driver message keeps its own bare line feed.
            .resultDetails = pass ? "LAYERS table exists"
                                  : "\r\n>>>> Err#1: ERROR: relation \"tsl.layers\" does not exist;\n"
                                    "Error while executing the query",
            .pass = pass,
            .wasRun = true};
}

FakeTest::State LayersInRegistry(bool pass) {
    return {.name = "LAYERS in TABLE_REGISTRY",
            .category = "Referential Integrity",
            .description = "Check whether entries in LAYERS exist in TABLE_REGISTRY",
            .resultDetails = pass ? ""
                                  : "Layers missing from TABLE_REGISTRY:\r\n>>>> STRA\xE1\xBA\x9E"
                                    "EN.GIS (layer 7)\r\n>>>> RIVERS.GIS (layer 9)",
            .pass = pass,
            .wasRun = true};
}

// Not run this time, but holding a verdict from an earlier run: the report must leave it out.
FakeTest::State StaleIndexAnalysis() {
    return {.name = "Tessel for Oracle Compressed Binary format complete",
            .category = "Index Analysis",
            .description =
                "Check whether indexes on Tessel for Oracle compressed binary layer have correct indexes.",
            .resultDetails = "stale result of an earlier run",
            .pass = true,
            .wasRun = false};
}

std::vector<FakeTest::State> NothingRun() {
    FakeTest::State layers = LayersTable(false);
    layers.wasRun = false;
    return {IsDbmsRunning(false), layers, StaleIndexAnalysis()};
}

struct ReportCase {
    const char* fixture;
    std::vector<FakeTest::State> tests;
    bool onlyFailures;
    std::vector<std::string> version;  // major, minor, bugfix as typed
    DbmsOption dbms;
};

std::vector<ReportCase> ReportCases() {
    const std::vector<std::string> v910 = {"9", "1", "0"};
    const std::vector<std::string> v810 = {"8", "1", "0"};
    const std::vector<FakeTest::State> allPassed = {IsDbmsRunning(true), LayersTable(true),
                                                    LayersInRegistry(true), StaleIndexAnalysis()};
    const std::vector<FakeTest::State> mixed = {IsDbmsRunning(true), LayersTable(false),
                                                LayersInRegistry(false), StaleIndexAnalysis()};
    return {
        {"no_test_run.txt", NothingRun(), false, v910, DbmsOption::Oracle},
        {"all_passed.txt", allPassed, false, v910, DbmsOption::Oracle},
        {"all_passed_only_failures.txt", allPassed, true, v910, DbmsOption::Oracle},
        {"mixed.txt", mixed, false, v910, DbmsOption::Oracle},
        {"mixed_only_failures.txt", mixed, true, v910, DbmsOption::Oracle},
        {"empty_version.txt", NothingRun(), false, {"", "", ""}, DbmsOption::None},
        {"dbms_db2.txt", NothingRun(), false, v810, DbmsOption::DB2},
        {"dbms_informix.txt", NothingRun(), false, v810, DbmsOption::Informix},
        {"dbms_oracle.txt", NothingRun(), false, v810, DbmsOption::Oracle},
        {"dbms_sqlserver.txt", NothingRun(), false, v810, DbmsOption::SqlServer},
        {"dbms_none.txt", NothingRun(), false, v810, DbmsOption::None},
    };
}

class ReportWriterTest : public ::testing::Test {
  protected:
    ReportWriterTest() {
        state.now = [] { return std::string(kClock); };
    }

    testsupport::RecordingInteraction ui;
    MainState state{ui};
    testsupport::TempFolder folder;
};

TEST_F(ReportWriterTest, WritesTheDesignedLayoutByteForByte) {
    for (const ReportCase& c : ReportCases()) {
        SCOPED_TRACE(c.fixture);
        state.g_pTestCollection = testsupport::FakeCatalogue(c.tests);
        state.chkOnlyReportFailures = c.onlyFailures;
        state.txtMajorVersion = c.version[0];
        state.txtMinorVersion = c.version[1];
        state.txtBugfix = c.version[2];
        state.selectedDbms = c.dbms;

        const std::string path = folder.File(c.fixture);
        ReportFile file = ReportFile::Open(path);
        EXPECT_TRUE(CreateReportInFile(state, file));
        file.Close();

        EXPECT_EQ(ReadBytes(path), ReadBytes(testsupport::FixturePath(std::string("reports/") + c.fixture)));
        EXPECT_TRUE(ui.shown.empty());
    }
}

TEST_F(ReportWriterTest, NoFileMeansACriticalBoxAndNothingWritten) {
    state.g_pTestCollection = testsupport::FakeCatalogue({IsDbmsRunning(true)});
    ReportFile none;
    EXPECT_FALSE(CreateReportInFile(state, none));
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>{"Unexpected error: No file number passed to CreateReportInFile"});
    EXPECT_EQ(ui.shown[0].icon, MsgIcon::Critical);
}

TEST_F(ReportWriterTest, ChecksBoxAndVersionAreReadWhenWritingNotBefore) {
    state.g_pTestCollection = testsupport::FakeCatalogue({IsDbmsRunning(true)});
    state.txtMajorVersion = "8";
    const std::string path = folder.File("late.txt");
    ReportFile file = ReportFile::Open(path);
    state.chkOnlyReportFailures = true;
    state.txtMajorVersion = "9x";  // copied as typed, not as a number
    ASSERT_TRUE(CreateReportInFile(state, file));
    file.Close();
    const std::string report = ReadBytes(path);
    EXPECT_EQ(report.find("Test Passed:"), std::string::npos);
    EXPECT_NE(report.find("\r\n      Tessel Version 9x..\r\n"), std::string::npos);
}

}  // namespace
}  // namespace tabvet
