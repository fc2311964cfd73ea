// The headless mode against a real server: the exact log on standard output and the exit status that
// scheduled jobs act on.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "headless_run.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

Outcome RunTabvet(const std::vector<std::string>& args) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = RunHeadless(args, out, err);
    return {code, out.str(), err.str()};
}

// Dates and times depend on the clock and the locale; everything else is compared exactly.
std::string MaskTimes(const std::string& log) {
    static const std::regex stamp("(started at|finished at) [^\n]*");
    return std::regex_replace(log, stamp, "$1 <time>");
}

class HeadlessTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // Runs are Oracle-layout runs, so the databases carry the dictionary the index analysis reads.
        PgCluster::Shared().CreateDatabase(
            "headless_ok", {"tessel_schema.sql", "oracle_dictionary.sql", "healthy_version.sql"});
        PgCluster::Shared().CreateDatabase("headless_noversion",
                                           {"tessel_schema.sql", "oracle_dictionary.sql"});
        PgCluster::Shared().Execute("headless_noversion", "DROP TABLE tsl.version;");
        // A layer without an owner: reading it is an error the orphaned-entry check does not trap.
        PgCluster::Shared().CreateDatabase("headless_escape", {"tessel_schema.sql", "healthy_version.sql"});
        PgCluster::Shared().Execute("headless_escape",
                                    "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column) "
                                    "VALUES (1, NULL, 'roads', 'shape');");
    }
    static std::string Connect(const std::string& database) {
        return "Provider=MSDASQL;" + PgCluster::Shared().ConnectionString(database);
    }
};

TEST_F(HeadlessTest, HealthyDatabasePassesWithStartAndFinishLinesOnly) {
    const Outcome o =
        RunTabvet({"--connect", Connect("headless_ok"), "--dbms", "oracle", "--tessel-version", "9.0.0"});
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(MaskTimes(o.out), "\nNew Test Run started at <time>\n\nTest run finished at <time>\n");
    EXPECT_NE(o.err.find("Running test 1 of "), std::string::npos);
    EXPECT_NE(o.err.find("Testing complete."), std::string::npos);
}

TEST_F(HeadlessTest, MissingVersionTablePrintsTheFailureBlockAndExitsOne) {
    const Outcome o =
        RunTabvet({"--connect=" + Connect("headless_noversion"), "--dbms=oracle", "--tessel-version=9.0.0"});
    EXPECT_EQ(o.exitCode, 1);
    EXPECT_EQ(MaskTimes(o.out),
              "\nNew Test Run started at <time>\n"
              "\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\n"
              "TEST FAILED: Is database running\n"
              "Details: Errors: \n"
              ">>>> Err#1: ERROR: relation \"tsl.version\" does not exist;\n"
              "Error while executing the query\n"
              "\nTest run finished at <time>\n");
}

TEST_F(HeadlessTest, RunsThatCannotStartExitTwoWithAClearMessage) {
    struct Case {
        std::vector<std::string> args;
        const char* errContains;
    };
    const std::string wrongPort =
        "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=x;UID=tabvet;";
    const Case cases[] = {
        {{}, "--connect is required"},
        {{"--dbms", "oracle"}, "--connect is required"},
        {{"--connect", "x", "--connect", "y"}, "given more than once"},
        {{"--connect"}, "needs a value"},
        {{"--frobnicate"}, "unknown argument '--frobnicate'"},
        {{"--connect", "x", "--dbms", "postgres", "--tessel-version", "9.0.0"}, "--dbms must be one of"},
        {{"--connect", "x", "--dbms", "oracle", "--tessel-version", "9.x.0"}, "--tessel-version must be"},
        {{"--connect", "x", "--dbms", "oracle", "--tessel-version", "99999.0.0"}, "--tessel-version must be"},
        {{"--connect", wrongPort, "--dbms", "oracle", "--tessel-version", "9.0.0"},
         "Error connecting to DBMS: Errors:\n\n>>>> Err#101: "},
        {{"--connect", "Driver=NoSuchDriver;", "--dbms", "oracle", "--tessel-version", "9.0.0"},
         "Can't open lib"},
        {{"--connect", Connect("headless_ok"), "--dbms", "oracle", "--tessel-version", "0.1.0"},
         "Need Server Type: Please Select Server Type (DBMS type and Tessel version)"},
    };
    for (const Case& c : cases) {
        const Outcome o = RunTabvet(c.args);
        EXPECT_EQ(o.exitCode, 2) << c.errContains;
        EXPECT_NE(o.err.find(c.errContains), std::string::npos) << o.err;
        EXPECT_EQ(o.out.find("New Test Run"), std::string::npos);
    }
}

TEST_F(HeadlessTest, AnEscapedErrorEndsTheRunWithExitThree) {
    const Outcome o =
        RunTabvet({"--connect", Connect("headless_escape"), "--dbms", "oracle", "--tessel-version", "9.0.0"});
    EXPECT_EQ(o.exitCode, 3);
    EXPECT_NE(o.err.find("Run-time error '94': Invalid use of Null"), std::string::npos) << o.err;
    EXPECT_NE(o.out.find("New Test Run started at "), std::string::npos);
    EXPECT_EQ(o.out.find("Test run finished"), std::string::npos);  // the run ended without its closing lines
}

TEST_F(HeadlessTest, HelpAndVersionExitZero) {
    const Outcome help = RunTabvet({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("usage: tabvet --connect STRING"), std::string::npos);
    const Outcome version = RunTabvet({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("tabvet ", 0), 0u);
}

}  // namespace
}  // namespace tabvet
