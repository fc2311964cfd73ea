// The headless report and JSON results of real runs against PostgreSQL through the ODBC driver: the
// designed report byte for byte (the date aside), a complete JSON document, and unchanged exit codes.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "app/headless_run.h"
#include "checks/environment_checks.h"
#include "db/runtime_error.h"
#include "framework/main_state.h"
#include "support/fake_test.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Json;
using testsupport::JsonParser;
using testsupport::PgCluster;
using testsupport::ReadBytes;

constexpr const char* kHealthy = "hrep_healthy";
constexpr const char* kNoLayers = "hrep_nolayers";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kHealthy, {"tessel_schema.sql", "healthy_version.sql"});
        pg.CreateDatabase(kNoLayers, {"tessel_schema.sql", "healthy_version.sql"});
        pg.Execute(kNoLayers, "DROP TABLE tsl.layers");
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome RunTabvet(const std::vector<std::string>& args,
                  const std::function<void(MainState&)>& prepare = nullptr) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(args, out, err, prepare);
    return {status, out.str(), err.str()};
}

std::vector<std::string> Args(const std::string& database, const std::string& version,
                              std::vector<std::string> extra) {
    std::vector<std::string> args = {
        "--connect", Cluster().ConnectionString(database), "--dbms", "oracle", "--tessel-version", version};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

// The report with its date replaced by "DATE", after checking that there was one.
std::string WithoutDate(const std::string& report) {
    const std::string marker = "\r\nGenerated: ";
    const std::size_t start = report.find(marker);
    if (start == std::string::npos) {
        return report;
    }
    const std::size_t from = start + marker.size();
    const std::size_t end = report.find("\r\n", from);
    EXPECT_GT(end, from) << "the report has no date";
    return report.substr(0, from) + "DATE" + report.substr(end);
}

std::string Expected(const std::string& fixture) {
    return ReadBytes(testsupport::FixturePath("reports/" + fixture));
}

void ExpectTimes(const Json& doc) {
    const std::regex iso(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d)");
    EXPECT_TRUE(std::regex_match(doc["started"].String(), iso)) << doc["started"].String();
    EXPECT_TRUE(std::regex_match(doc["finished"].String(), iso)) << doc["finished"].String();
    EXPECT_LE(doc["started"].String(), doc["finished"].String());
}

struct Entry {
    const char* name;
    bool ran;
    const char* verdict;  // or the reason when it did not run
};

void ExpectEntries(const Json& doc, const std::vector<Entry>& expected) {
    const testsupport::JsonArray& tests = doc["tests"].Array();
    ASSERT_EQ(tests.size(), expected.size());
    for (std::size_t i = 0; i < tests.size(); ++i) {
        SCOPED_TRACE(expected[i].name);
        const Json& t = tests[i];
        EXPECT_EQ(t["position"].Number(), static_cast<double>(i + 1));
        EXPECT_EQ(t["name"].String(), expected[i].name);
        EXPECT_FALSE(t["category"].String().empty());
        EXPECT_EQ(t["ran"].Bool(), expected[i].ran);
        if (expected[i].ran) {
            EXPECT_TRUE(t["notRunReason"].IsNull());
            EXPECT_EQ(t["verdict"].String(), expected[i].verdict);
            EXPECT_GE(t["durationMs"].Number(), 0.0);
            EXPECT_LT(t["durationMs"].Number(), 60000.0);
        } else {
            EXPECT_EQ(t["notRunReason"].String(), expected[i].verdict);
            EXPECT_TRUE(t["verdict"].IsNull());
            EXPECT_TRUE(t["durationMs"].IsNull());
        }
    }
}

class HeadlessReportTest : public ::testing::Test {
  protected:
    testsupport::TempFolder folder;
    const std::string report = folder.File("Tessel Diag.txt");
    const std::string json = folder.File("results.json");
};

TEST_F(HeadlessReportTest, AHealthyRunReplacesTheOldReportAndPasses) {
    testsupport::WriteBytes(report, std::string(50000, '#'));  // longer than the new report
    const Outcome run = RunTabvet(Args(kHealthy, "9.0.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kAllPassed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_healthy.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "passed");
    EXPECT_TRUE(doc["error"].IsNull());
    EXPECT_EQ(doc["target"]["dbms"].String(), "oracle");
    EXPECT_EQ(doc["target"]["tesselVersion"].String(), "9.0.0");
    EXPECT_TRUE(doc["target"]["database"].IsNull());
    ExpectTimes(doc);
    ExpectEntries(doc, {{"Is database running", true, "passed"}, {"LAYERS table existence", true, "passed"}});
    EXPECT_EQ(doc["tests"].Array()[1]["resultDetails"].String(), "LAYERS table exists");
}

TEST_F(HeadlessReportTest, AFailedTestIsReportedWithTheDriversTextAndExitsOne) {
    const Outcome run =
        RunTabvet(Args(kNoLayers, "9.0.0", {"--report", report, "--only-failures", "--json", json}));
    EXPECT_EQ(run.status, exit_code::kTestFailed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_layers_missing_only_failures.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "failed");
    ExpectEntries(doc, {{"Is database running", true, "passed"}, {"LAYERS table existence", true, "failed"}});
    EXPECT_EQ(
        doc["tests"].Array()[1]["resultDetails"].String(),
        "\r\n>>>> Err#1: ERROR: relation \"tsl.layers\" does not exist;\nError while executing the query");
}

TEST_F(HeadlessReportTest, ARunWhereNoTestAppliesStillLeavesBothFiles) {
    const Outcome run = RunTabvet(Args(kHealthy, "7.0.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kAllPassed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_nothing_applies.txt"));
    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "passed");
    ExpectEntries(doc,
                  {{"Is database running", false, "version"}, {"LAYERS table existence", false, "version"}});
    EXPECT_EQ(doc["tests"].Array()[0]["resultDetails"].String(), "Not Run");
}

TEST_F(HeadlessReportTest, NoFilesWhenTheRunCannotStart) {
    const Outcome run =
        RunTabvet(Args("hrep_no_such_database", "9.0.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kCannotStart);
    EXPECT_FALSE(std::filesystem::exists(report));
    EXPECT_FALSE(std::filesystem::exists(json));
}

// A file that takes the data but cannot keep it (a full disk) is only found out while writing: the run has
// happened, so its status stands, and the loss is said on standard error. The other file is still written.
TEST_F(HeadlessReportTest, AReportLostWhileWritingIsSaidAndTheRunKeepsItsStatus) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full on this system";
    }
    const Outcome run = RunTabvet(Args(kNoLayers, "9.0.0", {"--report", "/dev/full", "--json", json}));
    EXPECT_EQ(run.status, exit_code::kTestFailed);
    EXPECT_NE(
        run.err.find("tabvet: the report was not written: cannot write to '/dev/full': No space left on "
                     "device\n"),
        std::string::npos)
        << run.err;
    EXPECT_EQ(JsonParser::Parse(ReadBytes(json))["outcome"].String(), "failed");
}

// None of the checks in the catalogue today lets an error escape against a real driver (the environment
// checks trap everything after their open), so a stand-in takes position 2 between the two real checks.
// The connection and the first check are real.
TEST_F(HeadlessReportTest, AfterAnEscapedErrorTheReportHoldsWhatRanAndTheExitIsThree) {
    const auto escapingCatalogue = [](MainState& state) {
        std::vector<std::unique_ptr<IAdoTest>> tests;
        tests.push_back(std::make_unique<clsTst_IsDbmsRunning>(state));
        tests.push_back(std::make_unique<testsupport::FakeTest>(testsupport::FakeTest::State{
            .name = "Reads a NULL it cannot convert",
            .description = "Stands for a check whose error escapes its trapped region",
            .onRun =
                [](testsupport::FakeTest::State& s) {
                    s.resultDetails = "";
                    throw RuntimeError(errnum::kInvalidUseOfNull, "Invalid use of Null");
                },
        }));
        tests.push_back(std::make_unique<clsTst_LyrTblExists>(state));
        state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(std::move(tests));
    };
    const Outcome run =
        RunTabvet(Args(kHealthy, "9.0.0", {"--report", report, "--json", json}), escapingCatalogue);
    EXPECT_EQ(run.status, exit_code::kEscapedError);
    EXPECT_NE(run.err.find("tabvet: a test ended the run with an unexpected error: Run-time error '94': "
                           "Invalid use of Null\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.out.find("Test run finished at"), std::string::npos);  // the run really ended early
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_escaped.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "error");
    EXPECT_EQ(doc["error"].String(), "Run-time error '94': Invalid use of Null");
    ExpectEntries(doc, {{"Is database running", true, "passed"},
                        {"Reads a NULL it cannot convert", true, "error"},
                        {"LAYERS table existence", false, "aborted"}});
}

}  // namespace
}  // namespace tabvet
