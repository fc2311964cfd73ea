// Headless runs read what --dbms and --tessel-version leave out from the database, as "Query DBMS" does,
// let the options given take precedence, and do not start when the server type cannot be read.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "headless_run.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

struct Outcome {
    int exitCode;
    std::string out;  // without the lines that carry the time of the run
    std::string err;
};

Outcome RunTabvet(const std::string& database, std::vector<std::string> options) {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase("headless6", {"tessel_schema.sql", "healthy_version.sql"});
        pg.CreateDatabase("headless6_bare", {});
        pg.CreateDatabase("headless6_unnamed", {"tessel_schema.sql"});
        pg.Execute("headless6_unnamed",
                   "INSERT INTO tsl.version VALUES (9, 0, 0, 0, 'Tessel 9.0.0 Build 1')");
        return true;
    }();
    static_cast<void>(built);
    options.insert(options.begin(), {"--connect", PgCluster::Shared().ConnectionString(database)});
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = RunHeadless(options, out, err);
    std::istringstream log(out.str());
    std::string kept;
    for (std::string line; std::getline(log, line);) {
        if (line.rfind("New Test Run started at ", 0) != 0 && line.rfind("Test run finished at ", 0) != 0) {
            kept += line + "\n";
        }
    }
    return {exitCode, kept, err.str()};
}

TEST(HeadlessDetection, WhatIsGivenTakesPrecedenceOverWhatIsRead) {
    const std::vector<std::string> partial[] = {{}, {"--tessel-version", "8.3.1"}, {"--dbms", "sqlserver"}};
    const std::vector<std::string> complete[] = {{"--dbms", "oracle", "--tessel-version", "9.0.0"},
                                                 {"--dbms", "oracle", "--tessel-version", "8.3.1"},
                                                 {"--dbms", "sqlserver", "--tessel-version", "9.0.0"}};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(complete[i][1] + " " + complete[i][3]);
        const Outcome detected = RunTabvet("headless6", partial[i]);
        const Outcome given = RunTabvet("headless6", complete[i]);
        EXPECT_NE(detected.exitCode, exit_code::kCannotStart) << detected.err;
        EXPECT_EQ(detected.exitCode, given.exitCode);
        EXPECT_EQ(detected.err, given.err);
        EXPECT_EQ(detected.out, given.out);
    }
    // SQL Server names do not exist in this Oracle layout, so the given type visibly won.
    EXPECT_NE(RunTabvet("headless6", partial[2]).out.find("TEST FAILED: Is database running"),
              std::string::npos);
}

TEST(HeadlessDetection, ARunThatCannotLearnTheServerTypeDoesNotStart) {
    const std::string unable = "Unexpected Condition: Unable to determine type of database. Sorry.\n";
    const std::string cannotParse =
        "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.\n";
    const struct {
        const char* database;
        std::vector<std::string> options;
        std::string err;
    } cases[] = {
        {"headless6_bare", {}, unable},
        {"headless6_bare", {"--dbms", "oracle"}, unable},
        {"headless6_bare", {"--tessel-version", "9.0.0"}, unable},
        {"headless6_unnamed", {}, cannotParse},
    };
    for (const auto& c : cases) {
        const Outcome outcome = RunTabvet(c.database, c.options);
        EXPECT_EQ(outcome.exitCode, exit_code::kCannotStart);
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_EQ(outcome.out, "");
    }
    // Naming the DBMS by hand completes what the description could not tell.
    const Outcome byHand = RunTabvet("headless6_unnamed", {"--dbms", "oracle"});
    EXPECT_LE(byHand.exitCode, exit_code::kTestFailed);
    EXPECT_EQ(byHand.err.rfind(cannotParse + "Running test 1 of ", 0), 0u) << byHand.err;
}

}  // namespace
}  // namespace tabvet
