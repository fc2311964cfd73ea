// The headless report and JSON results of real runs against PostgreSQL through the ODBC driver: the
// designed report byte for byte (the date aside), a complete JSON document, and unchanged exit codes.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "app/headless_run.h"
#include "checks/catalogue.h"
#include "framework/main_state.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Json;
using testsupport::JsonParser;
using testsupport::PgCluster;
using testsupport::ReadBytes;

// Oracle layout; every registered object exists, then the same with orphaned entries, then with a LAYERS
// owner that is NULL.
constexpr const char* kHealthy = "hrep_healthy";
constexpr const char* kOrphans = "hrep_orphans";
constexpr const char* kNullOwner = "hrep_nullowner";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        const std::vector<std::string> healthy = {"tessel_schema.sql", "referential/user_tables.sql",
                                                  "referential/healthy.sql"};
        pg.CreateDatabase(kHealthy, healthy);
        std::vector<std::string> orphans = healthy;
        orphans.push_back("referential/orphans.sql");
        pg.CreateDatabase(kOrphans, orphans);
        pg.CreateDatabase(kNullOwner, healthy);
        pg.Execute(kNullOwner, "UPDATE tsl.layers SET owner = NULL WHERE layer_id = 2");
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

Outcome RunTabvet(const std::vector<std::string>& args) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(args, out, err);
    return {status, out.str(), err.str()};
}

// Oracle with 9.1.0 runs positions 1 to 15; the Oracle 9.0-only index analysis stays out.
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

std::size_t CatalogueSize() {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    return CreateCatalogueTests(state).size();
}

void ExpectTimes(const Json& doc) {
    const std::regex iso(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d)");
    EXPECT_TRUE(std::regex_match(doc["started"].String(), iso)) << doc["started"].String();
    EXPECT_TRUE(std::regex_match(doc["finished"].String(), iso)) << doc["finished"].String();
    EXPECT_LE(doc["started"].String(), doc["finished"].String());
}

// What each of the positions 1..15 must say: a verdict when it ran, else the reason. Positions past 15
// exist only for Oracle 9.0 and must say "version".
void ExpectEntries(const Json& doc, const std::vector<std::string>& verdicts, bool ran,
                   const std::vector<std::string>& reasons = {}) {
    const testsupport::JsonArray& tests = doc["tests"].Array();
    ASSERT_EQ(tests.size(), CatalogueSize());
    for (std::size_t i = 0; i < tests.size(); ++i) {
        SCOPED_TRACE("position " + std::to_string(i + 1));
        const Json& t = tests[i];
        EXPECT_EQ(t.Keys(), (std::vector<std::string>{"position", "name", "category", "ran", "notRunReason",
                                                      "verdict", "resultDetails", "durationMs"}));
        EXPECT_EQ(t["position"].Number(), static_cast<double>(i + 1));
        EXPECT_FALSE(t["name"].String().empty());
        EXPECT_FALSE(t["category"].String().empty());
        const bool shouldHaveRun = i < verdicts.size() && !verdicts[i].empty() && ran;
        EXPECT_EQ(t["ran"].Bool(), shouldHaveRun);
        if (shouldHaveRun) {
            EXPECT_TRUE(t["notRunReason"].IsNull());
            EXPECT_EQ(t["verdict"].String(), verdicts[i]);
            EXPECT_GE(t["durationMs"].Number(), 0.0);
            EXPECT_LT(t["durationMs"].Number(), 60000.0);
        } else {
            EXPECT_EQ(t["notRunReason"].String(), i < reasons.size() ? reasons[i] : "version");
            EXPECT_TRUE(t["verdict"].IsNull());
            EXPECT_TRUE(t["durationMs"].IsNull());
        }
    }
}

std::vector<std::string> Repeat(const std::string& text, std::size_t count) {
    return std::vector<std::string>(count, text);
}

class HeadlessReportTest : public ::testing::Test {
  protected:
    testsupport::TempFolder folder;
    const std::string report = folder.File("Tessel Diag.txt");
    const std::string json = folder.File("results.json");
};

TEST_F(HeadlessReportTest, AHealthyRunReplacesTheOldReportAndPasses) {
    testsupport::WriteBytes(report, std::string(50000, '#'));  // longer than the new report
    const Outcome run = RunTabvet(Args(kHealthy, "9.1.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kAllPassed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_healthy.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc.Keys(),
              (std::vector<std::string>{"started", "finished", "outcome", "error", "target", "tests"}));
    EXPECT_EQ(doc["outcome"].String(), "passed");
    EXPECT_TRUE(doc["error"].IsNull());
    EXPECT_EQ(doc["target"]["dbms"].String(), "oracle");
    EXPECT_EQ(doc["target"]["tesselVersion"].String(), "9.1.0");
    EXPECT_TRUE(doc["target"]["database"].IsNull());
    ExpectTimes(doc);
    ExpectEntries(doc, Repeat("passed", 15), true);
    EXPECT_EQ(doc["tests"].Array()[1]["resultDetails"].String(), "LAYERS table exists");
}

TEST_F(HeadlessReportTest, FailuresAreReportedWithTheDriversTextsAndExitOne) {
    const Outcome run = RunTabvet(
        Args(kOrphans, "9.1.0", {"--report", report, "--only-failures", "--json", json, "--database=tsl"}));
    EXPECT_EQ(run.status, exit_code::kTestFailed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_orphans_only_failures.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "failed");
    EXPECT_EQ(doc["target"]["database"].String(), "TSL");
    std::vector<std::string> verdicts = Repeat("passed", 15);
    for (std::size_t failed : {4, 9, 14, 15}) {
        verdicts[failed - 1] = "failed";
    }
    ExpectEntries(doc, verdicts, true);
    EXPECT_EQ(
        doc["tests"].Array()[14]["resultDetails"].String(),
        "\r\n\r\nError looking for GIS.PIPES: \r\n>>>> Err#1: ERROR: relation \"gis.pipes\" does not exist;\n"
        "Error while executing the query");
}

TEST_F(HeadlessReportTest, ARunWhereNoTestAppliesStillLeavesBothFiles) {
    const Outcome run = RunTabvet(Args(kHealthy, "7.0.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kAllPassed) << run.err;
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_nothing_applies.txt"));
    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "passed");
    ExpectEntries(doc, {}, false);
    EXPECT_EQ(doc["tests"].Array()[0]["resultDetails"].String(), "Not Run");
}

TEST_F(HeadlessReportTest, NoFilesWhenTheRunCannotStart) {
    const Outcome run =
        RunTabvet(Args("hrep_no_such_database", "9.1.0", {"--report", report, "--json", json}));
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
    const Outcome run = RunTabvet(Args(kOrphans, "9.1.0", {"--report", "/dev/full", "--json", json}));
    EXPECT_EQ(run.status, exit_code::kTestFailed);
    EXPECT_NE(
        run.err.find("tabvet: the report was not written: cannot write to '/dev/full': No space left on "
                     "device\n"),
        std::string::npos)
        << run.err;
    EXPECT_EQ(JsonParser::Parse(ReadBytes(json))["outcome"].String(), "failed");
}

// A NULL owner in LAYERS passes the membership checks but ends the run in the orphaned-layer check
// (position 9), outside its trapped region. That test started from a passing verdict, so the report
// counts it as passed, as the window's would; the JSON marks it as the one that ended the run.
TEST_F(HeadlessReportTest, AfterAnEscapedErrorBothFilesHoldWhatRanAndTheExitIsThree) {
    const Outcome run =
        RunTabvet(Args(kNullOwner, "9.1.0", {"--report", report, "--only-failures", "--json", json}));
    EXPECT_EQ(run.status, exit_code::kEscapedError);
    EXPECT_NE(run.err.find("tabvet: a test ended the run with an unexpected error: Run-time error '94': "
                           "Invalid use of Null\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.out.find("Test run finished at"), std::string::npos);  // the run really ended early
    EXPECT_EQ(WithoutDate(ReadBytes(report)), Expected("headless_escaped_only_failures.txt"));

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "error");
    EXPECT_EQ(doc["error"].String(), "Run-time error '94': Invalid use of Null");
    std::vector<std::string> verdicts = Repeat("passed", 8);
    verdicts.push_back("error");
    std::vector<std::string> reasons = Repeat("", 9);
    for (int i = 10; i <= 15; ++i) {
        verdicts.push_back("");
        reasons.push_back("aborted");
    }
    ExpectEntries(doc, verdicts, true, reasons);
}

}  // namespace
}  // namespace tabvet
