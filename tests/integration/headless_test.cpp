// Whole headless runs against a real server: the exact log on standard output, the report and JSON files, the
// detection of what --dbms and --tessel-version leave out, and the exit status scheduled jobs act on.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

#include "app/headless_run.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Json;
using testsupport::JsonParser;
using testsupport::PgCluster;
using testsupport::ReadBytes;

// The Oracle-layout databases of these runs, built once. "hrep_*" hold registered user tables, healthy, with
// orphaned entries, and with a NULL LAYERS owner; their VERSION description names no DBMS.
std::string Connect(const std::string& database) {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        const std::vector<std::string> healthy = {"tessel_schema.sql", "referential/user_tables.sql",
                                                  "referential/healthy.sql"};
        pg.CreateDatabase("hrep_healthy", healthy);
        std::vector<std::string> orphans = healthy;
        orphans.push_back("referential/orphans.sql");
        pg.CreateDatabase("hrep_orphans", orphans);
        pg.CreateDatabase("hrep_nullowner", healthy);
        pg.Execute("hrep_nullowner", "UPDATE tsl.layers SET owner = NULL WHERE layer_id = 2");
        pg.CreateDatabase("headless_oracle", {"tessel_schema.sql", "healthy_version.sql"});
        pg.CreateDatabase("headless_bare", {});
        pg.CreateDatabase("headless_cbidx",
                          {"tessel_schema.sql", "oracle_dictionary.sql", "healthy_version.sql",
                           "compressed_binary/layer_builder.sql", "compressed_binary/broken_layers.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared().ConnectionString(database);
}

struct Outcome {
    int status;
    std::string out;  // the times of the run masked
    std::string err;
};

Outcome RunTabvet(const std::vector<std::string>& args) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(args, out, err);
    static const std::regex stamp("(started at|finished at) [^\n]*");
    return {status, std::regex_replace(out.str(), stamp, "$1 <time>"), err.str()};
}

std::vector<std::string> Args(const std::string& database, const std::string& version,
                              std::vector<std::string> extra = {}) {
    std::vector<std::string> args = {"--connect", Connect(database),  "--dbms",
                                     "oracle",    "--tessel-version", version};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

constexpr const char* kRule = "\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\n";

// Usage mistakes, an unreachable server, an unusable type, and no type to be read: a message ending in a line
// break is compared whole.
TEST(Headless, RunsThatCannotStartExitTwoWithAClearMessage) {
    const std::string wrongPort =
        "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=x;UID=tabvet;";
    const std::string unable = "Unexpected Condition: Unable to determine type of database. Sorry.\n";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "--connect is required"},
        {{"--connect", "x", "--dbms", "postgres", "--tessel-version", "9.0.0"}, "--dbms must be one of"},
        {{"--connect", wrongPort, "--dbms", "oracle", "--tessel-version", "9.0.0"},
         "Error connecting to DBMS: Errors:\n\n>>>> Err#101: "},
        {{"--connect", "Driver=NoSuchDriver;", "--dbms", "oracle", "--tessel-version", "9.0.0"},
         "Can't open lib"},
        {Args("headless_oracle", "0.1.0"),
         "Need Server Type: Please Select Server Type (DBMS type and Tessel version)"},
        {{"--connect", Connect("headless_bare")}, unable},
        {{"--connect", Connect("headless_bare"), "--dbms", "oracle"}, unable},
        {{"--connect", Connect("headless_bare"), "--tessel-version", "9.0.0"}, unable},
        {{"--connect", Connect("hrep_healthy")},
         "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.\n"},
    };
    for (const auto& [args, message] : cases) {
        const Outcome o = RunTabvet(args);
        EXPECT_EQ(o.status, exit_code::kCannotStart) << message;
        EXPECT_TRUE(message.back() == '\n' ? o.err == message : o.err.find(message) != std::string::npos)
            << o.err;
        EXPECT_EQ(o.out, "");
    }
}

TEST(Headless, WhatIsGivenTakesPrecedenceOverWhatIsRead) {
    const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
        {{}, {"--dbms", "oracle", "--tessel-version", "9.0.0"}},
        {{"--tessel-version", "8.3.1"}, {"--dbms", "oracle", "--tessel-version", "8.3.1"}},
        {{"--dbms", "sqlserver"}, {"--dbms", "sqlserver", "--tessel-version", "9.0.0"}},
    };
    const auto run = [](std::vector<std::string> options) {
        options.insert(options.begin(), {"--connect", Connect("headless_oracle")});
        return RunTabvet(options);
    };
    for (const auto& [partial, complete] : cases) {
        SCOPED_TRACE(complete[1] + " " + complete[3]);
        const Outcome detected = run(partial);
        const Outcome given = run(complete);
        EXPECT_NE(detected.status, exit_code::kCannotStart) << detected.err;
        EXPECT_EQ(detected.status, given.status);
        EXPECT_EQ(detected.err, given.err);
        EXPECT_EQ(detected.out, given.out);
        // SQL Server names do not exist in this Oracle layout, so the given type visibly won.
        EXPECT_EQ(detected.out.find("TEST FAILED: Is database running") != std::string::npos,
                  complete[1] == "sqlserver");
    }
    // Naming the DBMS by hand completes what the description could not tell.
    const Outcome byHand = RunTabvet({"--connect", Connect("hrep_healthy"), "--dbms", "oracle"});
    EXPECT_LE(byHand.status, exit_code::kTestFailed);
    EXPECT_EQ(byHand.err.rfind("Cannot parse DBMS description", 0), 0u) << byHand.err;
}

// Layers come in the server's order; the fixture stores them so that every join order agrees.
TEST(Headless, OracleNineZeroRunPrintsTheIndexAnalysisBlock) {
    const Outcome o = RunTabvet(Args("headless_cbidx", "9.0.0"));
    EXPECT_EQ(o.status, exit_code::kTestFailed) << o.err;
    const std::string block = std::string(kRule) +
                              "TEST FAILED: Tessel for Oracle Compressed Binary format complete\n"
                              "Details: \n\n"
                              "Error looking for table GIS.A41: \n"
                              ">>>> Err#1: ERROR: relation \"gis.a41\" does not exist;\n"
                              "Error while executing the query\n\n"
                              "Error: Missing index D41_IDX2\n"
                              "(The previous errors were for layer GIS.PARCELS.SHAPE (#13))\n\n"
                              "Error looking for table GIS.F12: \n"
                              ">>>> Err#1: ERROR: relation \"gis.f12\" does not exist;\n"
                              "Error while executing the query\n"
                              "(The previous errors were for layer GIS.ROADS.SHAPE (#12))\n\n"
                              "Error: Incorrectly configured index S14_IX1\n"
                              "(The previous errors were for layer GIS.STREAMS.SHAPE (#14))\n";
    const auto at = o.out.find(block);
    ASSERT_NE(at, std::string::npos) << o.out;
    EXPECT_EQ(o.out.find(block, at + 1), std::string::npos);
}

// The report file with its date replaced by "DATE", after checking that there was one, and the expected file.
std::pair<std::string, std::string> ReportAndExpected(const std::string& path, const std::string& fixture) {
    const std::string report = ReadBytes(path);
    const std::size_t from = report.find("\r\nGenerated: ") + 13;
    const std::size_t end = report.find("\r\n", from);
    EXPECT_GT(end, from) << "the report has no date";
    return {report.substr(0, from) + "DATE" + report.substr(end),
            ReadBytes(testsupport::FixturePath("reports/" + fixture))};
}

// Each catalogue position as its verdict when it ran, else as "-" and the reason; every entry has all its
// fields, the ones that do not apply null.
std::vector<std::string> Entries(const Json& doc) {
    std::vector<std::string> entries;
    const testsupport::JsonArray& tests = doc["tests"].Array();
    for (std::size_t i = 0; i < tests.size(); ++i) {
        SCOPED_TRACE("position " + std::to_string(i + 1));
        const Json& t = tests[i];
        EXPECT_EQ(t.Keys(), (std::vector<std::string>{"position", "name", "category", "ran", "notRunReason",
                                                      "verdict", "resultDetails", "durationMs"}));
        EXPECT_EQ(t["position"].Number(), i + 1.0);
        EXPECT_FALSE(t["name"].String().empty() || t["category"].String().empty());
        const bool ran = t["ran"].Bool();
        EXPECT_EQ(t["notRunReason"].IsNull(), ran);
        EXPECT_EQ(t["verdict"].IsNull(), !ran);
        EXPECT_EQ(t["durationMs"].IsNull(), !ran);
        entries.push_back(ran ? t["verdict"].String() : "-" + t["notRunReason"].String());
    }
    return entries;
}

// Oracle with 9.1.0 runs positions 1 to 15; the index analysis at 16 stays out.
std::vector<std::string> NineOne(std::vector<std::string> first) {
    first.resize(15, "passed");
    first.push_back("-version");
    return first;
}

class HeadlessReport : public ::testing::Test {
  protected:
    testsupport::TempFolder folder;
    const std::string report = folder.File("Tessel Diag.txt");
    const std::string json = folder.File("results.json");
};

TEST_F(HeadlessReport, AHealthyRunPrintsOnlyItsStartAndEndAndReplacesTheOldReport) {
    testsupport::WriteBytes(report, std::string(50000, '#'));  // longer than the new report
    const Outcome run = RunTabvet(Args("hrep_healthy", "9.1.0", {"--report", report, "--json", json}));
    EXPECT_EQ(run.status, exit_code::kAllPassed) << run.err;
    EXPECT_EQ(run.out, "\nNew Test Run started at <time>\n\nTest run finished at <time>\n");
    const auto [got, expected] = ReportAndExpected(report, "headless_healthy.txt");
    EXPECT_EQ(got, expected);

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc.Keys(),
              (std::vector<std::string>{"started", "finished", "outcome", "error", "target", "tests"}));
    EXPECT_EQ(doc["outcome"].String(), "passed");
    EXPECT_TRUE(doc["error"].IsNull());
    EXPECT_EQ(doc["target"]["dbms"].String(), "oracle");
    EXPECT_EQ(doc["target"]["tesselVersion"].String(), "9.1.0");
    EXPECT_TRUE(doc["target"]["database"].IsNull());
    EXPECT_LE(doc["started"].String(), doc["finished"].String());
    EXPECT_EQ(Entries(doc), NineOne({}));
}

TEST_F(HeadlessReport, FailuresAreReportedWithTheDriversTextsAndExitOne) {
    const Outcome run = RunTabvet(Args(
        "hrep_orphans", "9.1.0", {"--report", report, "--only-failures", "--json", json, "--database=tsl"}));
    EXPECT_EQ(run.status, exit_code::kTestFailed) << run.err;
    const auto [got, expected] = ReportAndExpected(report, "headless_orphans_only_failures.txt");
    EXPECT_EQ(got, expected);

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "failed");
    EXPECT_EQ(doc["target"]["database"].String(), "TSL");
    std::vector<std::string> verdicts = NineOne({});
    for (std::size_t failed : {4, 9, 14, 15}) {
        verdicts[failed - 1] = "failed";
    }
    EXPECT_EQ(Entries(doc), verdicts);
    EXPECT_EQ(doc["tests"].Array()[14]["resultDetails"].String(),
              "\r\n\r\nError looking for GIS.PIPES: \r\n>>>> Err#1: ERROR: "
              "relation \"gis.pipes\" does not exist;\n"
              "Error while executing the query");
}

// A NULL owner in LAYERS passes the membership checks but ends the run in the orphaned-layer check (position
// 9), outside its trapped region. That test started from a passing verdict, so the report counts it as
// passed, as the window's would; the JSON marks it as the one that ended the run.
TEST_F(HeadlessReport, AfterAnEscapedErrorBothFilesHoldWhatRanAndTheExitIsThree) {
    const Outcome run =
        RunTabvet(Args("hrep_nullowner", "9.1.0", {"--report", report, "--only-failures", "--json", json}));
    EXPECT_EQ(run.status, exit_code::kEscapedError);
    EXPECT_NE(run.err.find("tabvet: a test ended the run with an unexpected "
                           "error: Run-time error '94': "
                           "Invalid use of Null\n"),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.out.find("New Test Run started at "), std::string::npos);
    EXPECT_EQ(run.out.find("Test run finished at"),
              std::string::npos);  // the run really ended early
    const auto [got, expected] = ReportAndExpected(report, "headless_escaped_only_failures.txt");
    EXPECT_EQ(got, expected);

    const Json doc = JsonParser::Parse(ReadBytes(json));
    EXPECT_EQ(doc["outcome"].String(), "error");
    EXPECT_EQ(doc["error"].String(), "Run-time error '94': Invalid use of Null");
    std::vector<std::string> verdicts(8, "passed");
    verdicts.push_back("error");
    verdicts.resize(15, "-aborted");
    EXPECT_EQ(Entries(doc), NineOne(verdicts));
}

}  // namespace
}  // namespace tabvet
