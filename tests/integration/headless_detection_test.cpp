// The headless mode reads what --dbms and --tessel-version leave out from the database, as "Query DBMS"
// does, lets the options given take precedence, and refuses to run when nothing can be read.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "headless_options.h"
#include "headless_run.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kHealthyDatabase = "headless6";
constexpr const char* kBareDatabase = "headless6_bare";
constexpr const char* kUnnamedDatabase = "headless6_unnamed";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kHealthyDatabase, {"tessel_schema.sql", "healthy_version.sql"});
        pg.CreateDatabase(kBareDatabase, {});
        pg.CreateDatabase(kUnnamedDatabase, {"tessel_schema.sql"});
        pg.Execute(kUnnamedDatabase, "INSERT INTO tsl.version VALUES (9, 0, 0, 0, 'Tessel 9.0.0 Build 1')");
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

Outcome RunTabvet(const std::string& database, std::vector<std::string> options) {
    options.insert(options.begin(), {"--connect", Cluster().ConnectionString(database)});
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunHeadless(options, out, err);
    return {exitCode, out.str(), err.str()};
}

// The status log without the lines that carry the time of the run.
std::string WithoutTimes(const std::string& log) {
    std::istringstream in(log);
    std::string kept;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("New Test Run started at ", 0) != 0 && line.rfind("Test run finished at ", 0) != 0) {
            kept += line + "\n";
        }
    }
    return kept;
}

struct PrecedenceCase {
    const char* label;
    std::vector<std::string> partial;   // what is missing is read from the database
    std::vector<std::string> complete;  // the same run with everything given
};

const PrecedenceCase kPrecedenceCases[] = {
    {"nothing given: Oracle 9.0.0 is read", {}, {"--dbms", "oracle", "--tessel-version", "9.0.0"}},
    {"version given, DBMS read",
     {"--tessel-version", "8.3.1"},
     {"--dbms", "oracle", "--tessel-version", "8.3.1"}},
    {"DBMS given, version read",
     {"--dbms", "sqlserver", "--database", kHealthyDatabase},
     {"--dbms", "sqlserver", "--tessel-version", "9.0.0", "--database", kHealthyDatabase}},
};

TEST(HeadlessDetection, WhatIsGivenTakesPrecedenceOverWhatIsRead) {
    for (const PrecedenceCase& c : kPrecedenceCases) {
        SCOPED_TRACE(c.label);
        const Outcome partial = RunTabvet(kHealthyDatabase, c.partial);
        const Outcome complete = RunTabvet(kHealthyDatabase, c.complete);
        EXPECT_NE(partial.exitCode, exit_code::kCannotStart) << partial.err;
        EXPECT_EQ(partial.exitCode, complete.exitCode);
        EXPECT_EQ(partial.err, complete.err);
        EXPECT_EQ(WithoutTimes(partial.out), WithoutTimes(complete.out));
        EXPECT_NE(partial.err.find("Running test 1 of "), std::string::npos) << partial.err;
    }
}

TEST(HeadlessDetection, AGivenDbmsIsUsedEvenWhenTheDatabaseNamesAnother) {
    // The SQL Server names do not exist in this Oracle layout, so the first check shows which names were
    // used.
    const Outcome outcome =
        RunTabvet(kHealthyDatabase, {"--dbms", "sqlserver", "--database", kHealthyDatabase});
    EXPECT_EQ(outcome.exitCode, exit_code::kTestFailed);
    EXPECT_NE(outcome.out.find("TEST FAILED: Is database running"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("relation \"tsl.tsl_version\" does not exist"), std::string::npos)
        << outcome.out;
}

struct RefusalCase {
    const char* label;
    const char* database;
    std::vector<std::string> options;
    const char* err;
};

const RefusalCase kRefusalCases[] = {
    {"no VERSION, nothing given",
     kBareDatabase,
     {},
     "Unexpected Condition: Unable to determine type of database. Sorry.\n"},
    {"no VERSION, only the DBMS given",
     kBareDatabase,
     {"--dbms", "oracle"},
     "Unexpected Condition: Unable to determine type of database. Sorry.\n"},
    {"no VERSION, only the version given",
     kBareDatabase,
     {"--tessel-version", "9.0.0"},
     "Unexpected Condition: Unable to determine type of database. Sorry.\n"},
    {"description names no DBMS",
     kUnnamedDatabase,
     {},
     "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.\n"},
};

TEST(HeadlessDetection, ARunThatCannotLearnTheServerTypeDoesNotStart) {
    for (const RefusalCase& c : kRefusalCases) {
        SCOPED_TRACE(c.label);
        const Outcome outcome = RunTabvet(c.database, c.options);
        EXPECT_EQ(outcome.exitCode, exit_code::kCannotStart);
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(HeadlessDetection, AnUnnamedDbmsCanBeGivenByHand) {
    const Outcome outcome = RunTabvet(kUnnamedDatabase, {"--dbms", "oracle"});
    EXPECT_TRUE(outcome.exitCode == exit_code::kAllPassed || outcome.exitCode == exit_code::kTestFailed)
        << outcome.exitCode << "\n"
        << outcome.err;
    EXPECT_EQ(
        outcome.err.rfind("Cannot parse DBMS description: Cannot determine DBMS type.  Please select it "
                          "manually.\nRunning test 1 of ",
                          0),
        0u)
        << outcome.err;
}

TEST(HeadlessOptionsParsing, DbmsAndVersionAreOptional) {
    const ParsedArguments parsed = ParseHeadlessArguments({"--connect", "DSN=x"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_FALSE(parsed.options->dbms);
    EXPECT_FALSE(parsed.options->tesselVersion);
    EXPECT_NE(HeadlessUsage().find("[--dbms oracle|sqlserver|db2|informix]"), std::string::npos);
}

}  // namespace
}  // namespace tabvet
