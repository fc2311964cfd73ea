// The same situations on two real drivers, in the Oracle layout: PostgreSQL through psqlODBC and MariaDB
// through MariaDB Connector/ODBC. Each situation is built on PostgreSQL from the fixture files and copied to
// MariaDB (tests/fixtures/mariadb/copy_from_postgresql.sql), so it is the same by construction; each headless
// run then goes to both servers and must give the same exit status, output, report, JSON and statements once
// the drivers' own messages are masked. The script is tests/fixtures/mariadb/cross_driver.txt.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <regex>
#include <sstream>

#include "app/headless/headless_run.h"
#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "report/json_text.h"
#include "support/case_file.h"
#include "support/mariadb_server.h"
#include "support/pg_cluster.h"
#include "support/sent_statements.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

namespace fs = std::filesystem;
using testsupport::MariaDbServer;
using testsupport::PgCluster;
using testsupport::ReadBytes;

// The PostgreSQL database of every situation, and the MariaDB database tabvet connects to, which holds the
// dictionary stand-ins; the situation's schemas become databases of their own beside it.
constexpr const char* kPgDatabase = "cross_driver";
constexpr const char* kPgTemplate = "cross_driver_template";
constexpr const char* kMyDatabase = "dictionary";
constexpr const char* kDriverMessage = "<driver message>";

// Everything a run leaves that a user or a script reads.
struct RunOutput {
    int status = 0;
    std::string text;               // exit status, output, errors, report and JSON, in that order
    std::vector<std::string> sent;  // the statements that reached the driver
};

std::string FileText(const std::string& path) {
    return fs::exists(path) ? ReadBytes(path) : "(not written)\n";
}

// Every statement the run sent that fails gives its error-list entries; they are read again on a connection
// of their own, the same statement giving the same message, and every place they appear is masked.
std::string MaskDriverMessages(std::string text, const std::string& connect,
                               const std::vector<std::string>& sent) {
    OdbcConnection conn;
    if (!conn.Open(connect)) {
        ADD_FAILURE() << "cannot connect again to read the driver's messages";
        return text;
    }
    std::vector<std::string> messages;
    for (const std::string& sql : sent) {
        Recordset rs;
        if (!rs.OpenSuppressed(sql, conn)) {
            for (std::int32_t i = 0; i < conn.Errors().Count(); ++i) {
                const std::string& message = conn.Errors().Item(i).Description;
                const std::string json = JsonString(message);
                messages.push_back(message);
                messages.push_back(json.substr(1, json.size() - 2));
            }
        }
    }
    // The longest first, so that a message inside another one is not masked in pieces.
    std::sort(messages.begin(), messages.end(),
              [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
    for (const std::string& message : messages) {
        for (std::size_t at = text.find(message); !message.empty() && at != std::string::npos;
             at = text.find(message, at)) {
            text.replace(at, message.size(), kDriverMessage);
        }
    }
    // The native numbers that go with them.
    static const std::regex numbers(R"((Err#|Run-time error ')-?[0-9]+('?: <driver message>))");
    // The JSON's driver errors carry the driver's own number and SQLSTATE beside the message.
    static const std::regex driverErrors(
        R"(\{"number": -?[0-9]+, "sqlState": "[0-9A-Z]{5}", "text": "<driver message>"\})");
    return std::regex_replace(std::regex_replace(text, numbers, "$1<number>$2"), driverErrors,
                              R"({"number": <number>, "sqlState": <state>, "text": "<driver message>"})");
}

std::string MaskTimes(const std::string& text) {
    static const std::regex times(
        "(started at |finished at |stopped at |Generated: |\"started\": |\"finished\": )[^\r\n,]*|"
        "(\"durationMs\": )[0-9.]+");
    return std::regex_replace(text, times, "$1$2<time>");
}

// One headless run with `args` plus the connection, a report and a JSON file.
RunOutput Run(const std::string& connect, const std::vector<std::string>& args,
              testsupport::SentStatements& trace) {
    const testsupport::TempFolder folder;
    std::vector<std::string> full{
        "--connect", connect, "--report", folder.File("report.txt"), "--json", folder.File("results.json")};
    full.insert(full.end(), args.begin(), args.end());
    trace.SinceLastCall();
    std::ostringstream out;
    std::ostringstream err;
    RunOutput run;
    run.status = RunHeadless(full, out, err);
    run.sent = trace.SinceLastCall();
    run.text = "exit " + std::to_string(run.status) + "\n--- stdout\n" + out.str() + "--- stderr\n" +
               err.str() + "--- report\n" + FileText(folder.File("report.txt")) + "--- json\n" +
               FileText(folder.File("results.json"));
    run.text = MaskTimes(MaskDriverMessages(run.text, connect, run.sent));
    return run;
}

// The lines of a text in sorted order; the lines inside a JSON string count as lines of their own, its
// closing quote too.
std::string SortedLines(std::string text) {
    static const std::regex jsonLineBreak(R"(\\r\\n)");
    static const std::regex jsonStringEnd(R"("(,?)\n)");
    text = std::regex_replace(std::regex_replace(text, jsonLineBreak, "\n"), jsonStringEnd, "\n\"$1\n");
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    std::string sorted;
    for (const std::string& line : lines) {
        sorted += line + "\n";
    }
    return sorted;
}

// Where two transcripts first differ, with the line before for context.
std::string FirstDifference(const std::string& expected, const std::string& actual) {
    std::istringstream a(expected);
    std::istringstream b(actual);
    std::string previous;
    for (int n = 1;; ++n) {
        std::string lineA;
        std::string lineB;
        const bool moreA = static_cast<bool>(std::getline(a, lineA));
        const bool moreB = static_cast<bool>(std::getline(b, lineB));
        if (!moreA && !moreB) {
            return "";
        }
        if (lineA != lineB || moreA != moreB) {
            return "line " + std::to_string(n) + " (after: " + previous +
                   ")\n  psqlODBC: " + (moreA ? lineA : "<end>") +
                   "\n  MariaDB:  " + (moreB ? lineB : "<end>");
        }
        previous = lineA;
    }
}

// Table rows and grants, and the names of every object, of the whole MariaDB server but its statistics.
std::string MariaDbFingerprint(const MariaDbServer& my) {
    const std::string objects = my.Query(
        "SELECT TABLE_SCHEMA, TABLE_NAME, TABLE_TYPE FROM information_schema.TABLES "
        "WHERE TABLE_SCHEMA NOT IN ('information_schema', 'performance_schema') ORDER BY 1, 2; "
        "SELECT ROUTINE_SCHEMA, ROUTINE_NAME, ROUTINE_TYPE, MD5(ROUTINE_DEFINITION) FROM "
        "information_schema.ROUTINES ORDER BY 1, 2");
    std::istringstream tables(my.Query(
        "SELECT CONCAT('\"', TABLE_SCHEMA, '\".\"', TABLE_NAME, '\"') FROM information_schema.TABLES "
        "WHERE TABLE_TYPE IN ('BASE TABLE', 'SEQUENCE') AND TABLE_SCHEMA <> 'performance_schema' AND NOT "
        "(TABLE_SCHEMA = 'mysql' AND TABLE_NAME IN ('innodb_table_stats', 'innodb_index_stats', "
        "'general_log', "
        "'slow_log')) ORDER BY 1"));
    std::string list;
    for (std::string table; std::getline(tables, table);) {
        list += (list.empty() ? "" : ", ") + table;
    }
    return objects + my.Query("CHECKSUM TABLE " + list + " EXTENDED");
}

class CrossDriver {
  public:
    CrossDriver() {
        my_.Execute(std::string("CREATE DATABASE IF NOT EXISTS ") + kMyDatabase + ";");
        my_.ExecuteFile(kMyDatabase, "mariadb/oracle_dictionary.sql");
    }

    // One line of cross_driver.txt, whose head explains them.
    void Play(const std::string& line) {
        const std::string verb = line.substr(0, line.find(' '));
        const std::string rest = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
        std::vector<std::string> words;
        std::istringstream in(rest);
        for (std::string word; in >> std::quoted(word);) {
            words.push_back(word);
        }
        if (verb == "db") {
            pg_.CreateDatabase(kPgTemplate, words);
            Rebuild();
            Copy();
        } else if (verb == "each" || verb == "then" || verb == "hostile") {
            if (verb == "each") {
                Rebuild();
            }
            const std::string sql = verb == "hostile"
                                        ? "SELECT fixture_hostile_rows(" +
                                              testsupport::PgText(testsupport::FromReadable(rest)) + ")"
                                        : rest;
            pg_.Execute(kPgDatabase, sql);
            Copy();
            RunBoth(lastRun_);
        } else if (verb == "fingerprint") {
            fingerprint_ = true;
        } else if (verb == "unordered") {
            unordered_ = true;
        } else if (verb == "run") {
            lastRun_ = words;
            RunBoth(words);
        } else if (verb == "version-unreadable") {
            VersionUnreadable(words);
        } else if (!line.empty() && line[0] != '#') {
            ADD_FAILURE() << "unknown script line: " << line;
        }
    }

  private:
    // The last db line's database afresh, from the copy of it kept as a template.
    void Rebuild() {
        pg_.Execute("postgres", std::string("DROP DATABASE IF EXISTS ") + kPgDatabase + " WITH (FORCE)");
        pg_.Execute("postgres", std::string("CREATE DATABASE ") + kPgDatabase + " TEMPLATE " + kPgTemplate);
    }

    // Gives MariaDB the situation of the PostgreSQL database. When only rows changed, only the rows are
    // replaced: MariaDB's table definitions cost the better part of a second a situation.
    void Copy() {
        const std::string script = pg_.RunFile(kPgDatabase, "mariadb/copy_from_postgresql.sql");
        std::string definitions;
        std::string rows;
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            (line.starts_with("INSERT INTO ") ? rows : definitions) += line + "\n";
        }
        std::string sql;
        if (definitions == definitions_) {
            static const std::regex table("^CREATE TABLE (\"[^\"]+\"\\.\"[^\"]+\")", std::regex::multiline);
            for (std::sregex_iterator m(definitions.begin(), definitions.end(), table), end; m != end; ++m) {
                sql += "DELETE FROM " + (*m)[1].str() + ";\n";
            }
            my_.Execute(sql + rows);
            return;
        }
        for (const std::string& name : copied_) {
            sql += "DROP DATABASE IF EXISTS \"" + name + "\";\n";
        }
        my_.Execute(sql + script);
        definitions_ = definitions;
        copied_.clear();
        static const std::regex created("^CREATE DATABASE \"([^\"]+)\";$", std::regex::multiline);
        for (std::sregex_iterator m(script.begin(), script.end(), created), end; m != end; ++m) {
            copied_.push_back((*m)[1]);
        }
    }

    void RunBoth(const std::vector<std::string>& args) {
        const std::string shown = testing::PrintToString(args);
        const std::string before = fingerprint_ ? MariaDbFingerprint(my_) : "";
        RunOutput pg = Run(pg_.ConnectionString(kPgDatabase), args, trace_);
        RunOutput my = Run(my_.ConnectionString(kMyDatabase), args, trace_);
        EXPECT_NE(pg.status, exit_code::kCannotStart) << shown << "\n" << pg.text;
        if (unordered_) {
            // A hostile name can parse on one server and not on the other (an empty owner in `.ROADS` is a
            // syntax error on PostgreSQL, the current database on MariaDB): the kind a failed probe gets
            // follows the server's SQLSTATE, so here it is compared as "a failed probe" only.
            static const std::regex serverKind(R"(lookup-error|missing-table-or-view|missing-column)");
            for (RunOutput* run : {&pg, &my}) {
                run->text = SortedLines(std::regex_replace(run->text, serverKind, "<failed probe>"));
                std::sort(run->sent.begin(), run->sent.end());
            }
        }
        EXPECT_EQ(my.sent, pg.sent) << shown;
        if (const std::string difference = FirstDifference(pg.text, my.text); !difference.empty()) {
            ADD_FAILURE() << shown << " differs at " << difference;
        }
        if (fingerprint_) {
            EXPECT_EQ(MariaDbFingerprint(my_), before) << "MariaDB changed under " << shown;
        }
    }

    // MariaDB reserves RELEASE, so the designed statement that reads VERSION is a syntax error there: check 1
    // fails with the server's message and detection tries every naming style in vain, whatever VERSION holds.
    void VersionUnreadable(const std::vector<std::string>& args) {
        const std::string shown = testing::PrintToString(args);
        const RunOutput pg = Run(pg_.ConnectionString(kPgDatabase), args, trace_);
        const RunOutput my = Run(my_.ConnectionString(kMyDatabase), args, trace_);
        static const std::regex versionQuery("^SELECT major, minor, bugfix, release, description FROM .*");
        EXPECT_FALSE(my.sent.empty()) << shown;
        for (const std::string& sql : my.sent) {
            if (std::regex_match(sql, versionQuery)) {
                continue;
            }
            ADD_FAILURE() << shown << ": MariaDB was sent more than VERSION queries: " << sql;
        }
        const bool detecting = std::find(args.begin(), args.end(), "--dbms") == args.end();
        if (detecting) {
            EXPECT_NE(pg.status, exit_code::kCannotStart) << pg.text;
            EXPECT_EQ(my.status, exit_code::kCannotStart) << my.text;
            EXPECT_NE(my.text.find("Unexpected Condition: Unable to determine type of database. Sorry."),
                      std::string::npos)
                << my.text;
        } else {
            EXPECT_EQ(pg.status, exit_code::kAllPassed) << pg.text;
            EXPECT_EQ(my.status, exit_code::kTestFailed) << my.text;
            EXPECT_NE(my.text.find("TEST FAILED: Is database running"), std::string::npos) << my.text;
        }
    }

    testsupport::SentStatements trace_;  // first, before any statement
    const PgCluster& pg_ = PgCluster::Shared();
    const MariaDbServer& my_ = MariaDbServer::Shared();
    std::string definitions_;           // of the databases, tables and views on MariaDB now
    std::vector<std::string> lastRun_;  // the arguments of the last run line
    std::vector<std::string> copied_;   // the databases the last copy made on MariaDB
    bool fingerprint_ = false;
    bool unordered_ = false;
};

TEST(CrossDriver, SameOutcomeOnPsqlOdbcAndMariaDbConnectorOdbc) {
    CrossDriver driver;
    std::istringstream script(ReadBytes(testsupport::FixturePath("mariadb/cross_driver.txt")));
    for (std::string line; std::getline(script, line);) {
        SCOPED_TRACE(line);
        driver.Play(line);
    }
}

}  // namespace
}  // namespace tabvet
