// Headless runs, connecting and detection against real databases, as data: each
// tests/fixtures/scenarios/<name>.txt is a case file (grammar in support/case_file.h) of these actions:
//   db NAME FILE... | load NAME FILE...   a new database from fixture files | more files into one
//   sql NAME SQL | query NAME SQL         statements through psql | the value of a query, printed
//   hostile NAME VALUE                    every name column of NAME's system tables carries VALUE
//   fingerprint NAME                      every later run of the file must leave NAME unchanged
//   rebuild NAME FILE...                  NAME's schema tsl dropped and loaded again from the files
//   null TABLE COLUMN... | drop TABLE...  for each: the last rebuild again, the column set NULL or the table
//                                         dropped, then the last run again, printed on one line
//   brief-run ARG...                      the same run on one line: the exit status, every test that did not
//                                         pass, and the fingerprints
//   run ARG...                            a headless run; {NAME} is that database's connection string,
//                                         {report} and {json} files, {port} the port, {silent} a server that
//                                         never answers. It prints the exit status, standard error without
//                                         progress lines, the verdicts (read from the JSON results) and
//                                         whether fingerprinted databases stayed unchanged
//   sigterm N ARG...                      the same run of the built program in a process of its own, sent
//                                         N SIGTERMs once it waits (for a lock or for {silent})
//   lock NAME TABLE[, TABLE...]           another session locks the tables until the next program run ends,
//                                         or over each run of the next "same"
//   show WHAT                             more of the last run: stdout, stderr, report, json, statements,
//                                         details N... (result details), refused (statements not sent),
//                                         findings, target (from the JSON results); first|last K shortens
//                                         them
//   connect NAME TEXT                     "Connect" clicked twice with TEXT, then with NAME's string;
//                                         {'c' to N} at the end pads TEXT with c to N characters
//   detect NAME [DB]                      "Query DBMS", the version boxes and the system database set
//   each NAME SQL                         NAME made again from its db line, SQL on it, the last run again
//   mariadb NAME                          NAME copied to MariaDB: its schemas become databases beside the one
//                                         {mariadb} names, which holds the dictionary stand-ins
//   both ARG...                           a run on {NAME}, then the same on its copy through MariaDB
//                                         Connector/ODBC: prints nothing when they agree (exit status,
//                                         output, report, JSON, statements), once the drivers' own messages
//                                         are masked
//   unordered                             later "both" runs compare their lines in sorted order
//   same ARG... || MORE...                the run with ARG... and each MORE added in turn ("terminal": the
//                                         default, standard error a terminal): prints the first as brief-run
//                                         does, then nothing when the others give the same outputs and
//                                         statements
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iomanip>
#include <map>
#include <numeric>
#include <optional>
#include <regex>
#include <sstream>
#include <thread>

#include "app/headless/headless_options.h"
#include "app/headless/headless_run.h"
#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/statement_guard.h"
#include "report/json_reader.h"
#include "report/json_text.h"
#include "session/connection_handling.h"
#include "session/server_type_detection.h"
#include "session/startup.h"
#include "support/case_file.h"
#include "support/mariadb_server.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"
#include "trace_reader.h"

extern char** environ;

namespace tabvet {
namespace {

namespace fs = std::filesystem;
using namespace testsupport;

// Set before the first statement of the process: the trace file is read once.
const TempFolder kTraceFolder;
const std::string kTrace = [] {
    const std::string path = kTraceFolder.File("trace.txt");
    ::setenv("TABVET_STATEMENT_TRACE", path.c_str(), 1);
    return path;
}();

// An md5 of every table's rows and grants and the names of every object, schema and function.
const std::string kFingerprint = ReadBytes(FixturePath("hostile/fingerprint.sql"));

// Keys in order of first appearance, each with the catalogue positions it was seen at.
struct Groups : std::vector<std::pair<std::string, std::vector<int>>> {
    void Add(const std::string& key, int position) {
        auto it = std::find_if(begin(), end(), [&](const auto& g) { return g.first == key; });
        (it == end() ? emplace_back(key, std::vector<int>{}) : *it).second.push_back(position);
    }
};

// "1-8 10 12-15"
std::string Positions(const std::vector<int>& positions) {
    std::string text;
    for (std::size_t i = 0, j; i < positions.size(); i = j + 1) {
        for (j = i; j + 1 < positions.size() && positions[j + 1] == positions[j] + 1;) {
            ++j;
        }
        text += (text.empty() ? "" : " ") + std::to_string(positions[i]) +
                (j > i ? "-" + std::to_string(positions[j]) : "");
    }
    return text;
}

// A member of the JSON results, null when absent; a value as text, null spelled out.
const JsonValue& At(const JsonValue& value, std::string_view name) {
    static const JsonValue kNull;
    const JsonValue* member = value.Member(name);
    return member != nullptr ? *member : kNull;
}

std::string Text(const JsonValue& value) {
    return value.type == JsonValue::Type::Null ? "null" : value.text;
}

// One line for the tests that passed, one for each test that failed or ended the run (with its name), one
// for each reason why tests did not run; `brief` leaves out the passed and puts the rest on one line.
void PrintVerdicts(const JsonValue& results, bool brief, std::ostream& out) {
    Groups groups;
    for (const JsonValue& test : At(results, "tests").items) {
        groups.Add(!At(test, "ran").boolean ? "not run (" + At(test, "notRunReason").text + ")"
                                            : At(test, "verdict").text,
                   std::stoi(At(test, "position").text));
    }
    for (const auto& [verdict, positions] : groups) {
        if (brief) {
            out << (verdict == "passed" ? "" : ", " + verdict + " " + Positions(positions)) +
                       (verdict == "error" ? " " + Readable(At(results, "error").text) : "");
        } else if (verdict == "failed" || verdict == "error") {
            for (const int position : positions) {
                const JsonValue& test = At(results, "tests").items[position - 1];
                out << verdict << " " << position << " " << At(test, "name").text
                    << (At(test, "truncated").boolean
                            ? ", truncated at " + std::to_string(At(test, "findings").items.size()) +
                                  " findings"
                            : "")
                    << "\n";
            }
        } else {
            out << verdict << " " << Positions(positions) << "\n";
        }
    }
    out << (brief ? "\n" : "");
}

// One line a finding: the test's position, the kind, the identity as name=value and the SQLSTATE of each
// driver error; then a line for each test whose report limit cut it short.
void PrintFindings(const JsonValue& results, std::ostream& out) {
    for (const JsonValue& test : At(results, "tests").items) {
        for (const JsonValue& finding : At(test, "findings").items) {
            out << At(finding, "position").text << " " << At(finding, "kind").text;
            for (const auto& [name, value] : At(finding, "identity").members) {
                out << " " << name << "=" << Readable(Text(value));
            }
            for (const JsonValue& error : At(finding, "driverErrors").items) {
                out << " [" << At(error, "sqlState").text << "]";
            }
            out << "\n";
        }
        out << (At(test, "truncated").boolean ? At(test, "position").text + " truncated\n" : "");
    }
}

// The details line before each refusal ("Error looking for X: "), with the tests that show it.
void PrintRefused(const JsonValue& results, std::ostream& out) {
    Groups refused;
    for (const JsonValue& test : At(results, "tests").items) {
        const std::vector<std::string> lines = Split(At(test, "resultDetails").text, "\r\n");
        for (std::size_t i = 1; i < lines.size(); ++i) {
            if (lines[i].find("Statement not sent") != std::string::npos) {
                refused.Add(lines[i - 1].substr(0, lines[i - 1].find_last_not_of(": ") + 1),
                            std::stoi(At(test, "position").text));
            }
        }
    }
    for (auto& [header, positions] : refused) {
        const std::size_t times = positions.size();
        positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
        out << "refused " << Positions(positions)
            << (times > positions.size() ? " (" + std::to_string(times) + " times)" : "") << ": "
            << Readable(header) << "\n";
    }
    out << (refused.empty() ? "refused: none\n" : "");
}

// The built program with `args`, its output and errors in files.
pid_t Spawn(std::vector<std::string> args, const std::string& out, const std::string& err) {
    args.insert(args.begin(), TABVET_EXECUTABLE);
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    EXPECT_EQ(posix_spawn(&pid, TABVET_EXECUTABLE, &files, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

// Accepts connections into its queue and never answers, as a hung server process does.
struct SilentServer {
    SilentServer() {
        sockaddr_in address{
            .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
        socklen_t length = sizeof address;
        EXPECT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(listen(socket, 8), 0);
        getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
    }
    ~SilentServer() { close(socket); }
    int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    int port = 0;
};

// Another session holds an exclusive lock on tables ("a, b") from construction until destruction.
class Lock {
  public:
    Lock(const PgCluster& pg, std::string db, const std::string& tables) : pg_(pg), db_(std::move(db)) {
        holder_ = std::thread([this, tables] {
            try {
                pg_.Execute(db_, "LOCK TABLE " + tables + " IN ACCESS EXCLUSIVE MODE; SELECT pg_sleep(120)");
            } catch (const std::exception&) {
                // Ended by the destructor.
            }
        });
        locked_ =
            "SELECT count(*) FROM pg_locks WHERE mode = 'AccessExclusiveLock' AND granted AND database = "
            "(SELECT oid FROM pg_database WHERE datname = current_database()) AND relation = ANY ('{" +
            tables + "}'::regclass[])";
        AwaitLocked(std::to_string(std::count(tables.begin(), tables.end(), ',') + 1));
    }
    ~Lock() {
        pg_.QueryValue(db_,
                       "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE query LIKE "
                       "'LOCK TABLE%' AND datname = current_database() AND pid <> pg_backend_pid()");
        holder_.join();
        AwaitLocked("0");  // an ended holder's locks outlive its client for a moment
    }
    // A statement of another session waits for this lock.
    bool Blocking() const {
        return pg_.QueryValue(db_,
                              "SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' "
                              "AND datname = current_database()") != "0";
    }

  private:
    void AwaitLocked(const std::string& count) const {
        while (pg_.QueryValue(db_, locked_) != count) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    const PgCluster& pg_;
    std::string db_;
    std::string locked_;
    std::thread holder_;
};

class Scenario {
  public:
    Scenario() {
        player_.On("db", [this](const std::string& a, std::ostream&) { Database(a, true); });
        player_.On("load", [this](const std::string& a, std::ostream&) { Database(a, false); });
        player_.On("sql", [this](const std::string& a, std::ostream&) {
            pg_.Execute(FirstWord(a).first, FirstWord(a).second);
        });
        player_.On("query", [this](const std::string& a, std::ostream& out) {
            out << Readable(pg_.QueryValue(FirstWord(a).first, FirstWord(a).second)) << "\n";
        });
        player_.On("hostile", [this](const std::string& a, std::ostream&) {
            pg_.Execute(FirstWord(a).first,
                        "SELECT fixture_hostile_rows(" + PgText(FirstWord(a).second) + ")");
        });
        player_.On("fingerprint",
                   [this](const std::string& a, std::ostream&) { fingerprinted_.push_back(a); });
        player_.On("run", [this](const std::string& a, std::ostream& out) {
            again_ = [this, a](std::ostream& o) { Run(a, false, o); };
            again_(out);
        });
        player_.On("brief-run", [this](const std::string& a, std::ostream& out) {
            again_ = [this, a](std::ostream& o) { Run(a, true, o); };
            again_(out);
        });
        player_.On("both", [this](const std::string& a, std::ostream&) {
            again_ = [this, a](std::ostream&) { Both(a); };
            Both(a);
        });
        player_.On("each", [this](const std::string& a, std::ostream& out) {
            pg_.CreateDatabase(FirstWord(a).first, files_.at(FirstWord(a).first));
            pg_.Execute(FirstWord(a).first, FirstWord(a).second);
            again_(out);
        });
        player_.On("mariadb", [this](const std::string& a, std::ostream&) { CopyToMariaDb(a); });
        player_.On("unordered", [this](const std::string&, std::ostream&) { unordered_ = true; });
        player_.On("sigterm", [this](const std::string& a, std::ostream& out) {
            Run(FirstWord(a).second, false, out, std::stoi(FirstWord(a).first));
        });
        player_.On("lock", [this](const std::string& a, std::ostream&) {
            lock_.emplace(pg_, FirstWord(a).first, FirstWord(a).second);
            locked_ = a;
        });
        player_.On("same", [this](const std::string& a, std::ostream& out) {
            again_ = [this, a](std::ostream& o) { Same(a, o); };
            again_(out);
        });
        player_.On("rebuild", [this](const std::string& a, std::ostream&) { Rebuild(rebuild_ = a); });
        player_.On("null", [this](const std::string& a, std::ostream& out) {
            const auto [table, columns] = FirstWord(a);
            for (const std::string& column : Split(columns, " ")) {
                Damaged("UPDATE tsl." + table + " SET " + column + " = NULL", table + "." + column + ": ",
                        out);
            }
        });
        player_.On("drop", [this](const std::string& a, std::ostream& out) {
            for (const std::string& table : Split(a, " ")) {
                Damaged("DROP TABLE tsl." + table, table + " dropped: ", out);
            }
        });
        player_.On("show", [this](const std::string& a, std::ostream& out) { Show(a, out); });
        player_.On("connect", [this](const std::string& a, std::ostream& out) { ConnectClicks(a, out); });
        player_.On("detect", [this](const std::string& a, std::ostream& out) { Detect(a, out); });
        player_.Mask([this](std::string text) { return Masked(text); });
    }

    std::string Play(const std::string& name) { return player_.Play("scenarios/" + name + ".txt"); }

  private:
    std::string Masked(std::string text) const {
        static const std::regex times(
            "(started at |finished at |stopped at |Generated: |\"started\": |\"finished\": "
            ")[^\\\\\r\n,]*|(\"durationMs\": )[0-9.]+");
        text = std::regex_replace(text, times, "$1$2<time>");
        // in the driver's messages
        text = Replaced(text, ", port " + vars_.at("{port}"), ", port {port}");
        text = Replaced(text, ", port " + std::to_string(silent_.port), ", port {silent}");
        for (const auto& [name, value] : vars_) {
            text = value.size() > 8 ? Replaced(text, value, name) : text;
        }
        return text;
    }

    void Database(const std::string& argument, bool create) {
        const auto [db, files] = FirstWord(argument);
        vars_["{" + db + "}"] = pg_.ConnectionString(db);
        files_[db] = Words(files);
        std::string sql;
        for (const std::string& file : Words(files)) {
            sql += ReadBytes(FixturePath(file));
        }
        create ? pg_.CreateDatabase(db, Words(files)) : pg_.Execute(db, sql);
    }

    // The system tables made again from the files of a "rebuild".
    void Rebuild(const std::string& argument) {
        pg_.Execute(FirstWord(argument).first, "DROP SCHEMA tsl CASCADE");
        Database(argument, false);
    }

    // The last rebuild again, `sql` on it, then the last run again on one line after `label`.
    void Damaged(const std::string& sql, const std::string& label, std::ostream& out) {
        Rebuild(rebuild_);
        pg_.Execute(FirstWord(rebuild_).first, sql);
        out << label;
        Run(lastRun_, true, out);
    }

    // Words of a line; "..." keeps blanks, {name} becomes its value.
    std::vector<std::string> Words(const std::string& line) const {
        std::vector<std::string> words;
        std::istringstream in(line);
        for (std::string word; in >> std::quoted(word); words.push_back(word)) {
            for (const auto& [name, value] : vars_) {
                word = Replaced(word, name, value);
            }
        }
        return words;
    }

    // In this process, or (signals >= 0) the built program sent that many SIGTERMs.
    int Run(const std::string& argument, bool brief, std::ostream& out, int signals = -1,
            bool terminal = false) {
        lastRun_ = argument;
        std::vector<std::string> before;
        for (const std::string& name : fingerprinted_) {
            before.push_back(pg_.QueryValue(name, kFingerprint));
        }
        // Longer than any report: a file that is not truncated, or not written, shows.
        const std::string stale(50000, '#');
        for (const std::string file : {"{report}", "{json}", "{verdicts}"}) {
            if (argument.find("--baseline " + file) == std::string::npos) {
                WriteBytes(vars_[file], stale);
            }
        }
        const std::string json = argument.find("{json}") == std::string::npos ? "{verdicts}" : "{json}";
        std::vector<std::string> args = Words(argument + (json == "{json}" ? "" : " --json {verdicts}"));
        const auto traced = fs::exists(kTrace) ? fs::file_size(kTrace) : 0;
        std::ostringstream stdOut, stdErr;
        const int status = signals < 0 ? RunHeadless(args, stdOut, stdErr, terminal)
                                       : RunProgram(args, signals, stdOut, stdErr);
        // A terminal gets the count of walked rows drawn, then blanked out: without it, what a file gets.
        static const std::regex drawnThenBlanked("(\r[0-9]+ of [0-9]+ rows, [0-9]+:[0-9]{2} *)+\r +\r");
        const std::string err = std::regex_replace(stdErr.str(), drawnThenBlanked, "");
        EXPECT_EQ(terminal, err != stdErr.str()) << "count of walked rows drawn";
        last_ = {.out = stdOut.str(),
                 .err = err,
                 .report = ReadBytes(vars_["{report}"]),
                 .json = ReadBytes(vars_[json]),
                 .statements = fs::exists(kTrace) ? ReadBytes(kTrace).substr(traced) : "",
                 .results = {}};
        for (const std::string& sql : Split(last_.statements, "\n")) {
            EXPECT_TRUE(IsSingleStatement(sql)) << "reached the server: " << sql;
        }
        static const std::regex password("(?:PWD|Password)=\\{?([^;}]+)", std::regex::icase);
        for (std::sregex_iterator m(argument.begin(), argument.end(), password), end; m != end; ++m) {
            for (const std::string* seen :
                 {&last_.out, &last_.err, &last_.report, &last_.json, &last_.statements}) {
                EXPECT_EQ(seen->find((*m)[1].str()), std::string::npos) << "a password was written";
            }
        }
        last_.report = last_.report == stale ? "(not written)\r\n" : last_.report;
        last_.json = last_.json == stale ? "(not written)\n" : last_.json;
        const JsonParse parsed = ReadJson(last_.json.starts_with("(not") ? "null" : last_.json);
        EXPECT_TRUE(parsed.value) << parsed.error << "\n" << last_.json.substr(0, 500);
        last_.results = parsed.value.value_or(JsonValue{});
        out << "exit " << status << (brief ? "" : "\n");
        // Standard error without the progress lines, the usage shortened.
        std::vector<std::string> errLines = Split(Replaced(last_.err, HeadlessUsage(), "<usage>\n"), "\n");
        errLines.pop_back();
        for (const std::string& line : errLines) {
            const bool progress = line.starts_with("Running test ") || line == "Testing complete.";
            out << (progress || brief ? "" : Readable(line) + "\n");
        }
        PrintVerdicts(last_.results, brief, out);
        for (std::size_t i = 0; i < fingerprinted_.size(); ++i) {
            const bool same = pg_.QueryValue(fingerprinted_[i], kFingerprint) == before[i];
            EXPECT_TRUE(same) << fingerprinted_[i] << " changed under: " << argument;
            out << fingerprinted_[i] << (same ? " unchanged" : " CHANGED") << "\n";
        }
        return status;
    }

    // Gives MariaDB the situation of a PostgreSQL database. When only rows changed, only the rows are
    // replaced: MariaDB's table definitions cost the better part of a second a situation.
    void CopyToMariaDb(const std::string& db) {
        const MariaDbServer& my = MariaDbServer::Shared();
        if (!vars_.contains("{mariadb}")) {
            my.Execute("CREATE DATABASE IF NOT EXISTS dictionary;");
            my.ExecuteFile("dictionary", "mariadb/oracle_dictionary.sql");
            vars_["{mariadb}"] = my.ConnectionString("dictionary");
        }
        const std::string script = pg_.RunFile(db, "mariadb/copy_from_postgresql.sql");
        std::string definitions, rows, sql;
        for (const std::string& line : Split(script, "\n")) {
            (line.starts_with("INSERT INTO ") ? rows : definitions) += line + "\n";
        }
        if (definitions == definitions_) {
            static const std::regex table("^CREATE TABLE (\"[^\"]+\"\\.\"[^\"]+\")", std::regex::multiline);
            for (std::sregex_iterator m(definitions.begin(), definitions.end(), table), end; m != end; ++m) {
                sql += "DELETE FROM " + (*m)[1].str() + ";\n";
            }
            return my.Execute(sql + rows);
        }
        for (const std::string& name : copied_) {
            sql += "DROP DATABASE IF EXISTS \"" + name + "\";\n";
        }
        my.Execute(sql + script);
        definitions_ = definitions;
        copied_.clear();
        static const std::regex created("^CREATE DATABASE \"([^\"]+)\";$", std::regex::multiline);
        for (std::sregex_iterator m(script.begin(), script.end(), created), end; m != end; ++m) {
            copied_.push_back((*m)[1]);
        }
    }

    // The run on the database its arguments name, then on that database's copy in MariaDB.
    void Both(const std::string& argument) {
        static const std::regex named(R"(\{([a-z0-9_]+)\})");
        std::smatch m;
        ASSERT_TRUE(std::regex_search(argument, m, named) && files_.contains(m[1])) << argument;
        const std::string db = m[1], args = argument + " --report {report} --json {json}";
        CopyToMariaDb(db);
        const std::string pg = Transcript(args, pg_.ConnectionString(db));
        const std::string here = vars_["{" + db + "}"];
        vars_["{" + db + "}"] = vars_["{mariadb}"];
        // The PostgreSQL run checks its own fingerprints; MariaDB parses some strings differently (backslash
        // escapes), so its server is held to the same promise.
        const std::string before = fingerprinted_.empty() ? "" : MariaDbServer::Shared().Fingerprint();
        const std::string my = Transcript(args, vars_["{mariadb}"]);
        EXPECT_EQ(fingerprinted_.empty() ? "" : MariaDbServer::Shared().Fingerprint(), before)
            << "MariaDB changed under: " << argument;
        vars_["{" + db + "}"] = here;
        EXPECT_FALSE(pg.starts_with("exit 2")) << pg;
        EXPECT_EQ(my, pg) << argument;
    }

    // The common arguments, then each alternative added to them; under a "lock", each run waits for it anew.
    // A stop (exit 4) leaves probes run ahead unused, which the trace gets after what the run used: then a
    // later run may trace more statements after the first one's.
    void Same(const std::string& argument, std::ostream& out) {
        const std::vector<std::string> runs = Split(argument, " || ");
        ASSERT_GE(runs.size(), 3u) << "two runs at least: " << argument;
        std::string first, firstStatements;
        for (std::size_t i = 1; i < runs.size(); ++i) {
            if (i > 1 && !locked_.empty()) {
                lock_.emplace(pg_, FirstWord(locked_).first, FirstWord(locked_).second);
            }
            std::ostringstream ignored;
            const bool terminal = runs[i] == "terminal";
            const int status =
                Run(runs[0] + (terminal ? "" : " " + runs[i]) + " --report {report} --json {json}", true,
                    i == 1 ? out : ignored, -1, terminal);
            lock_.reset();
            const std::string outputs = Masked(Outputs(status));
            if (i == 1) {
                first = outputs;
                firstStatements = last_.statements;
            }
            EXPECT_EQ(outputs, first) << runs[i];
            EXPECT_TRUE(status == 4 ? last_.statements.starts_with(firstStatements)
                                    : last_.statements == firstStatements)
                << "statements of " << runs[i];
        }
        locked_.clear();
    }

    // The last run's exit status and outputs as one text.
    std::string Outputs(int status) const {
        return "exit " + std::to_string(status) + "\n--- stdout\n" + last_.out + "--- stderr\n" + last_.err +
               "--- report\n" + last_.report + "--- json\n" + last_.json;
    }

    // A run's exit status, outputs and statements as one text, the drivers' messages and times masked;
    // sorted by line after "unordered". A hostile name can parse on one server and not on the other (an
    // empty owner in `.ROADS`): the kind of a failed probe follows the server's SQLSTATE, so there it
    // counts as a failed probe only.
    std::string Transcript(const std::string& args, const std::string& connect) {
        std::ostringstream ignored;
        const int status = Run(args, false, ignored);
        std::vector<std::string> sent = Split(last_.statements, "\n");
        sent.pop_back();
        std::transform(sent.begin(), sent.end(), sent.begin(), bench::UnescapeTraceLine);
        std::string text =
            MaskDriverMessages(Outputs(status), connect, sent) + "--- statements\n" + last_.statements;
        text = Masked(text);
        if (!unordered_) {
            return text;
        }
        static const std::regex serverKind(R"(lookup-error|missing-table-or-view|missing-column)");
        static const std::regex jsonLineBreak(R"(\\r\\n)"), jsonStringEnd(R"("(,?)\n)");
        text =
            std::regex_replace(std::regex_replace(text, serverKind, "<failed probe>"), jsonLineBreak, "\n");
        std::vector<std::string> lines = Split(std::regex_replace(text, jsonStringEnd, "\n\"$1\n"), "\n");
        std::sort(lines.begin(), lines.end());
        return std::accumulate(lines.begin(), lines.end(), std::string(),
                               [](const std::string& a, const std::string& b) { return a + b + "\n"; });
    }

    // Every statement sent that fails gives its error-list entries: they are read again on a connection of
    // their own and masked wherever they appear, the longest first, with the numbers that go with them.
    static std::string MaskDriverMessages(std::string text, const std::string& connect,
                                          const std::vector<std::string>& sent) {
        OdbcConnection conn;
        EXPECT_TRUE(conn.Open(connect));
        std::vector<std::string> messages;
        for (const std::string& sql : sent) {
            Recordset rs;
            const bool failed = !rs.OpenSuppressed(sql, conn);
            for (std::int32_t i = 0; failed && i < conn.Errors().Count(); ++i) {
                const std::string& message = conn.Errors().Item(i).Description;
                messages.push_back(message);
                messages.push_back(JsonString(message).substr(1, JsonString(message).size() - 2));
            }
        }
        std::sort(messages.begin(), messages.end(),
                  [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
        for (const std::string& message : messages) {
            text = message.empty() ? text : Replaced(text, message, "<driver message>");
        }
        static const std::regex numbers(R"((Err#|Run-time error ')-?[0-9]+('?: <driver message>))");
        static const std::regex driverErrors(
            R"(\{"number": -?[0-9]+, "sqlState": "[0-9A-Z]{5}", "text": "<driver message>"\})");
        return std::regex_replace(std::regex_replace(text, numbers, "$1<number>$2"), driverErrors,
                                  R"({"number": <number>, "sqlState": <state>, "text": "<driver message>"})");
    }

    int RunProgram(const std::vector<std::string>& args, int signals, std::ostream& out, std::ostream& err) {
        for (pollfd queued{silent_.socket, POLLIN, 0}; poll(&queued, 1, 0) > 0;) {
            close(accept(silent_.socket, nullptr, nullptr));  // left by an earlier run
        }
        const pid_t pid = Spawn(args, folder_.File("out"), folder_.File("err"));
        int status = 0;
        std::vector<int> accepted;
        for (int i = 0; i < signals; ++i) {
            if (i > 0) {  // the first signal waits for the test running; the second ends the program at once
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                EXPECT_EQ(waitpid(pid, &status, WNOHANG), 0) << "the first signal ended the program";
            }
            while (i == 0 && lock_ && !lock_->Blocking()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
            if (i == 0 && !lock_) {
                accepted.push_back(accept(silent_.socket, nullptr, nullptr));
            }
            kill(pid, SIGTERM);
        }
        waitpid(pid, &status, 0);
        std::for_each(accepted.begin(), accepted.end(), close);
        lock_.reset();
        locked_.clear();
        out << ReadBytes(folder_.File("out"));
        err << ReadBytes(folder_.File("err"));
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    // "show KIND [POSITIONS] [first|last K]": only the first or last K lines, and how many were left out.
    void Show(const std::string& what, std::ostream& out) {
        static const std::regex form(R"(([a-z]+)((?: [0-9]+)*)(?: (first|last) ([0-9]+))?)");
        std::smatch m;
        std::regex_match(what, m, form);
        const std::map<std::string, std::pair<std::string, const char*>> texts = {
            {"stdout", {last_.out, "\n"}},
            {"stderr", {last_.err, "\n"}},
            {"report", {last_.report, "\r\n"}},
            {"json", {last_.json, "\n"}},
            {"statements", {last_.statements, "\n"}}};
        std::vector<std::pair<std::string, std::string>> shown;  // heading, lines
        if (texts.contains(m[1])) {
            shown.emplace_back(m[1], ReadableLines(texts.at(m[1]).first, texts.at(m[1]).second));
        }
        for (const std::string& position :
             m[2].str().empty() ? std::vector<std::string>{} : Split(m[2].str().substr(1), " ")) {
            // Details never end in a line break: one more marks their end.
            const JsonValue& tests = At(last_.results, "tests");
            const std::size_t n = std::stoul(position);
            shown.emplace_back("details " + position,
                               ReadableLines(n >= 1 && n <= tests.items.size()
                                                 ? At(tests.items[n - 1], "resultDetails").text + "\r\n"
                                                 : "",
                                             "\r\n"));
        }
        if (m[1] == "refused") {
            PrintRefused(last_.results, out);
        } else if (m[1] == "findings") {
            PrintFindings(last_.results, out);
        } else if (m[1] == "target") {
            const JsonValue& target = At(last_.results, "target");
            out << "target " << Text(At(target, "dbms")) << " " << Text(At(target, "tesselVersion"))
                << ", database " << Text(At(target, "database")) << "\n";
        }
        for (const auto& [heading, text] : shown) {
            std::vector<std::string> lines = Split(text, "\n");
            lines.pop_back();
            const std::size_t kept = m[4].matched ? std::min(lines.size(), std::stoul(m[4])) : lines.size();
            const bool first = m[3] == "first";
            out << "--- " << heading
                << (kept < lines.size() ? " (" + std::to_string(lines.size() - kept) +
                                              (first ? " lines after)" : " lines before)")
                                        : "")
                << "\n";
            for (std::size_t i = first ? 0 : lines.size() - kept; i < (first ? kept : lines.size()); ++i) {
                out << lines[i] << "\n";
            }
        }
    }

    // "Connect" clicked with a string: a bad one gives the same single box on each of two clicks and leaves
    // the model able to connect with the database's own string.
    void ConnectClicks(const std::string& argument, std::ostream& out) {
        auto [db, text] = FirstWord(argument);
        static const std::regex pad(R"(\{'(.)' to ([0-9]+)\}$)");
        std::smatch m;
        const bool padded = std::regex_search(text, m, pad);
        const std::size_t length = padded ? std::stoul(m[2]) : 0;
        const char filler = padded ? m.str(1)[0] : ' ';
        text = Words("\"" + (padded ? m.prefix().str() : text) + "\"")[0];
        text.resize(padded ? length : text.size(), filler);
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, text);
        std::string clicks[2];
        for (std::string& click : clicks) {
            if (state.g_pAdoConn == nullptr) {
                ConnectButtonClick(state);
                click = (state.g_pAdoConn != nullptr ? "connected" : state.cmdConnectCaption) +
                        (state.cmdBuildStringEnabled ? ", build enabled\n" : "\n");
                for (const auto& box : ui.shown) {
                    EXPECT_EQ(box.icon, MsgIcon::Exclamation);
                    click += "box " + Readable(box.title + ": " + box.text) + "\n";
                }
                ui.shown.clear();
            }
        }
        out << clicks[0] << (clicks[1] == clicks[0] ? "(the same on a second click)\n" : clicks[1]);
        if (state.g_pAdoConn == nullptr) {
            ConnectionStringChanged(state, pg_.ConnectionString(db));
            ConnectButtonClick(state);
        }
        EXPECT_NE(state.g_pAdoConn, nullptr) << "not usable after " << text.substr(0, 80);
    }
    // "Query DBMS" after connecting, with the option and version boxes set by hand before: what it chose,
    // the namer's type code and, when a type was chosen, the name of LAYERS and whether it is found.
    void Detect(const std::string& argument, std::ostream& out) {
        const auto [db, systemDatabase] = FirstWord(argument);
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, pg_.ConnectionString(db));
        SetSystemTableDatabase(state, systemDatabase);
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        state.selectedDbms = DbmsOption::Informix;  // an earlier choice that detection must not keep
        state.txtMajorVersion = state.txtMinorVersion = state.txtBugfix = "7";
        QueryDbmsType(state);
        const char* options[] = {"none", "oracle", "informix", "db2", "sqlserver"};
        out << "option " << options[static_cast<int>(state.selectedDbms)] << ", namer code "
            << state.g_QDON->DbmsTypeCode() << ", version " << state.txtMajorVersion << "."
            << state.txtMinorVersion << "." << state.txtBugfix << "\n";
        if (state.selectedDbms != DbmsOption::None) {
            const std::string layers = state.g_QDON->TslSystemTable("LAYERS");
            Recordset probe;
            const bool found = probe.OpenSuppressed(state.g_QDON->SqlToFindTable(layers), *state.g_pAdoConn);
            out << "LAYERS " << layers << (found ? " found\n" : " missing\n");
        }
        for (const std::string& box : ui.Lines()) {
            out << "box " << box << "\n";
        }
        EXPECT_TRUE(DisconnectFromDbms(state));
    }

    struct LastRun {
        std::string out, err, report, json, statements;
        JsonValue results;
    };

    const PgCluster& pg_ = PgCluster::Shared();
    TempFolder folder_;
    SilentServer silent_;
    std::optional<Lock> lock_;
    std::map<std::string, std::string> vars_{
        {"{report}", folder_.File("report.txt")},
        {"{json}", folder_.File("results.json")},
        {"{verdicts}", folder_.File("verdicts.json")},
        {"{port}", std::to_string(pg_.Port())},
        {"{silent}", "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(silent_.port) +
                         ";Database=x;UID=tabvet;"}};
    std::vector<std::string> fingerprinted_;
    LastRun last_;
    std::string lastRun_;
    std::string rebuild_;                                    // the database and files of the last "rebuild"
    std::map<std::string, std::vector<std::string>> files_;  // of each database's db line
    std::function<void(std::ostream&)> again_;               // the last run
    std::string definitions_;                                // of what the last copy made on MariaDB
    std::vector<std::string> copied_;                        // the databases it made there
    bool unordered_ = false;
    std::string locked_;  // the arguments of the last "lock", until a "same" has used them
    CasePlayer player_;
};

std::vector<std::string> ScenarioNames() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(FixturePath("scenarios"))) {
        if (entry.path().extension() == ".txt") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Scenarios : public ::testing::TestWithParam<std::string> {};

TEST_P(Scenarios, EveryCaseGivesItsExpectedOutput) {
    EXPECT_EQ(Scenario().Play(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Files, Scenarios, ::testing::ValuesIn(ScenarioNames()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace tabvet
