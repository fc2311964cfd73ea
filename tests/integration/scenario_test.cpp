// Headless runs, connecting, detection and the data-access layer against real databases, as data: each
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
//                                         {report} and {json} files, {port} the port. It prints the exit
//                                         status, standard error without progress lines, the verdicts
//                                         (read from the JSON results) and whether fingerprinted databases
//                                         stayed unchanged
//   show WHAT                             more of the last run: stdout, stderr, report, json, statements,
//                                         details N... (result details), refused (statements not sent),
//                                         target (from the JSON results); first|last K shortens them
//   connect NAME TEXT                     "Connect" clicked twice with TEXT, then with NAME's string;
//                                         {'c' to N} at the end pads TEXT with c to N characters
//   detect NAME [DB]                      "Query DBMS", the version boxes and the system database set
//   odbc NAME SQL                         a statement through the data-access layer
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>

#include "app/headless/headless_options.h"
#include "app/headless/headless_run.h"
#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "session/connection_handling.h"
#include "session/server_type_detection.h"
#include "session/startup.h"
#include "support/case_file.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

namespace fs = std::filesystem;
using testsupport::FixturePath;
using testsupport::JsonValue;
using testsupport::PgCluster;
using testsupport::Readable;
using testsupport::ReadableLines;
using testsupport::ReadBytes;

// Set before the first statement of the process: the trace file is read once.
const testsupport::TempFolder kTraceFolder;
const std::string kTrace = [] {
    const std::string path = kTraceFolder.File("trace.txt");
    ::setenv("TABVET_STATEMENT_TRACE", path.c_str(), 1);
    return path;
}();

// An md5 of every table's rows and grants and the names of every object, schema and function.
const std::string kFingerprint = ReadBytes(FixturePath("hostile/fingerprint.sql"));

std::pair<std::string, std::string> FirstWord(const std::string& text) {
    const std::size_t blank = text.find(' ');
    return {text.substr(0, blank), blank == std::string::npos ? "" : text.substr(blank + 1)};
}

// "1-8 10 12-15"
std::string Positions(const std::vector<int>& positions) {
    std::string text;
    for (std::size_t i = 0; i < positions.size();) {
        std::size_t j = i;
        while (j + 1 < positions.size() && positions[j + 1] == positions[j] + 1) {
            ++j;
        }
        text += (text.empty() ? "" : " ") + std::to_string(positions[i]) +
                (j > i ? "-" + std::to_string(positions[j]) : "");
        i = j + 1;
    }
    return text;
}

// The tests by verdict, in catalogue order: "passed", "failed", "error" and "not run: REASON", each with the
// positions of its tests; failed and ended ones also by name.
struct Verdicts {
    std::vector<std::pair<std::string, std::vector<int>>> groups;
    std::vector<std::string> names;  // by position - 1

    explicit Verdicts(const JsonValue& results) {
        for (const JsonValue& test : results["tests"].items) {
            const std::string group =
                test["ran"].text == "false" ? "not run: " + test["notRunReason"].text : test["verdict"].text;
            auto it =
                std::find_if(groups.begin(), groups.end(), [&](const auto& g) { return g.first == group; });
            (it == groups.end() ? groups.emplace_back(group, std::vector<int>{}) : *it)
                .second.push_back(std::stoi(test["position"].text));
            names.push_back(test["name"].text);
        }
    }
    // One line for the tests that passed, one for each that failed or ended the run, one for each reason
    // why tests did not run.
    void Print(std::ostream& out) const {
        for (const auto& [group, positions] : groups) {
            if (group == "passed" || group.starts_with("not run")) {
                const std::size_t colon = group.find(':');
                out << group.substr(0, colon) << " " << Positions(positions)
                    << (colon == std::string::npos ? "" : group.substr(colon)) << "\n";
            } else {
                for (const int position : positions) {
                    out << group << " " << position << " " << names[position - 1] << "\n";
                }
            }
        }
    }
    // Everything but the passed tests, on the line of the exit status.
    void PrintBrief(const std::string& error, std::ostream& out) const {
        for (const auto& [group, positions] : groups) {
            const std::size_t colon = group.find(':');
            out << (group == "passed"
                        ? ""
                        : ", " + group.substr(0, colon) + " " + Positions(positions) +
                              (colon == std::string::npos ? "" : " (" + group.substr(colon + 2) + ")") +
                              (group == "error" ? " " + Readable(error) : ""));
        }
        out << "\n";
    }
};

// The details lines that precede a refusal ("Error looking for X: "), each with the tests that show it.
void PrintRefused(const JsonValue& results, std::ostream& out) {
    std::vector<std::pair<std::string, std::vector<int>>> refused;
    for (const JsonValue& test : results["tests"].items) {
        std::istringstream lines(test["resultDetails"].text);
        std::string previous;
        for (std::string line; std::getline(lines, line); previous = line) {
            if (line.find("Statement not sent") == std::string::npos) {
                continue;
            }
            previous = previous.substr(0, previous.find_last_not_of(": \r") + 1);
            auto it = std::find_if(refused.begin(), refused.end(),
                                   [&](const auto& r) { return r.first == previous; });
            (it == refused.end() ? refused.emplace_back(previous, std::vector<int>{}) : *it)
                .second.push_back(std::stoi(test["position"].text));
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

class Scenario {
  public:
    Scenario() {
        player_.On("db", [this](const std::string& a, std::ostream&) { Database(a, true); });
        player_.On("load", [this](const std::string& a, std::ostream&) { Database(a, false); });
        player_.On("sql", [this](const std::string& a, std::ostream&) {
            const auto [db, sql] = FirstWord(a);
            pg_.Execute(db, sql);
        });
        player_.On("query", [this](const std::string& a, std::ostream& out) {
            const auto [db, sql] = FirstWord(a);
            out << Readable(pg_.QueryValue(db, sql)) << "\n";
        });
        player_.On("hostile", [this](const std::string& a, std::ostream&) {
            const auto [db, value] = FirstWord(a);
            std::string hex;
            for (const unsigned char c : value) {
                hex += "0123456789abcdef"[c >> 4];
                hex += "0123456789abcdef"[c & 15];
            }
            pg_.Execute(db,
                        "SELECT fixture_hostile_rows(convert_from(decode('" + hex + "', 'hex'), 'UTF8'))");
        });
        player_.On("fingerprint",
                   [this](const std::string& a, std::ostream&) { fingerprinted_.push_back(a); });
        player_.On("run", [this](const std::string& a, std::ostream& out) { Run(a, out); });
        player_.On("brief-run", [this](const std::string& a, std::ostream& out) { Run(a, out, true); });
        player_.On("rebuild", [this](const std::string& a, std::ostream&) {
            rebuild_ = a;
            Rebuild();
        });
        player_.On("null", [this](const std::string& a, std::ostream& out) {
            const auto [table, columns] = FirstWord(a);
            std::istringstream in(columns);
            for (std::string column; in >> column;) {
                Rebuild();
                pg_.Execute(FirstWord(rebuild_).first, "UPDATE tsl." + table + " SET " + column + " = NULL");
                out << table << "." << column << ": ";
                Run(lastRun_, out, true);
            }
        });
        player_.On("drop", [this](const std::string& a, std::ostream& out) {
            std::istringstream in(a);
            for (std::string table; in >> table;) {
                Rebuild();
                pg_.Execute(FirstWord(rebuild_).first, "DROP TABLE tsl." + table);
                out << table << " dropped: ";
                Run(lastRun_, out, true);
            }
        });
        player_.On("show", [this](const std::string& a, std::ostream& out) { Show(a, out); });
        player_.On("connect", [this](const std::string& a, std::ostream& out) { ConnectClicks(a, out); });
        player_.On("detect", [this](const std::string& a, std::ostream& out) { Detect(a, out); });
        player_.On("odbc", [this](const std::string& a, std::ostream& out) { Statement(a, out); });
        player_.Mask([this](const std::string& text) { return Mask(text); });
    }

    std::string Play(const std::string& name) { return player_.Play("scenarios/" + name + ".txt"); }

  private:
    // The system tables of the last "rebuild" made again from its files.
    void Rebuild() {
        const auto [db, files] = FirstWord(rebuild_);
        pg_.Execute(db, "DROP SCHEMA tsl CASCADE");
        Database(rebuild_, false);
    }

    void Database(const std::string& argument, bool create) {
        const auto [db, files] = FirstWord(argument);
        vars_["{" + db + "}"] = pg_.ConnectionString(db);
        const std::vector<std::string> list = Words(files);
        if (create) {
            pg_.CreateDatabase(db, list);
            return;
        }
        std::string sql;
        for (const std::string& file : list) {
            sql += ReadBytes(FixturePath(file));
        }
        pg_.Execute(db, sql);
    }

    // Words of a line; "..." keeps blanks, {name} becomes its value.
    std::vector<std::string> Words(const std::string& line) const {
        std::vector<std::string> words;
        std::istringstream in(line);
        for (std::string word; in >> std::quoted(word);) {
            for (const auto& [name, value] : vars_) {
                for (std::size_t at = word.find(name); at != std::string::npos;
                     at = word.find(name, at + 1)) {
                    word.replace(at, name.size(), value);
                }
            }
            words.push_back(word);
        }
        return words;
    }

    // A run; `brief` puts everything on one line.
    void Run(const std::string& argument, std::ostream& out, bool brief = false) {
        lastRun_ = argument;
        std::vector<std::string> before;
        for (const std::string& name : fingerprinted_) {
            before.push_back(pg_.QueryValue(name, kFingerprint));
        }
        // Longer than any report: a file that is not truncated, or not written, shows.
        const std::string stale(50000, '#');
        for (const char* file : {"{report}", "{json}", "{verdicts}"}) {
            testsupport::WriteBytes(vars_[file], stale);
        }
        std::vector<std::string> args = Words(argument);
        const bool ownJson = argument.find("{json}") == std::string::npos;
        if (ownJson) {
            args.insert(args.end(), {"--json", vars_["{verdicts}"]});
        }
        const auto traced = fs::exists(kTrace) ? fs::file_size(kTrace) : 0;
        std::ostringstream stdOut, stdErr;
        const int status = RunHeadless(args, stdOut, stdErr);
        last_ = {.out = stdOut.str(),
                 .err = stdErr.str(),
                 .report = ReadBytes(vars_["{report}"]),
                 .json = {},
                 .statements = fs::exists(kTrace) ? ReadBytes(kTrace).substr(traced) : "",
                 .results = {}};
        std::istringstream sent(last_.statements);
        for (std::string sql; std::getline(sent, sql);) {
            EXPECT_TRUE(IsSingleStatement(sql)) << "reached the server: " << sql;
        }
        const std::string json = ReadBytes(vars_[ownJson ? "{verdicts}" : "{json}"]);
        last_.json = json == stale ? "(not written)\n" : json;
        last_.report = last_.report == stale ? "(not written)\r\n" : last_.report;
        if (json != stale) {
            try {
                last_.results = testsupport::JsonParser::Parse(json);
            } catch (const std::exception& e) {
                ADD_FAILURE() << e.what() << "\n" << json.substr(0, 500);
            }
        }
        out << "exit " << status;
        if (brief) {
            Verdicts(last_.results).PrintBrief(last_.results["error"].text, out);
        } else {
            out << "\n";
            PrintErrors(out);
            Verdicts(last_.results).Print(out);
        }
        for (std::size_t i = 0; i < fingerprinted_.size(); ++i) {
            const bool same = pg_.QueryValue(fingerprinted_[i], kFingerprint) == before[i];
            EXPECT_TRUE(same) << fingerprinted_[i] << " changed under: " << argument;
            out << fingerprinted_[i] << (same ? " unchanged" : " CHANGED") << "\n";
        }
    }

    // Standard error without the progress lines, the usage shortened.
    void PrintErrors(std::ostream& out) const {
        std::istringstream err(Replaced(last_.err, HeadlessUsage(), "<usage>\n"));
        for (std::string line; std::getline(err, line);) {
            if (!line.starts_with("Running test ") && line != "Testing complete.") {
                out << Readable(line) << "\n";
            }
        }
    }

    // "show KIND [POSITIONS] [first|last K]": only the first or last K lines, and how many were left out.
    void Show(const std::string& what, std::ostream& out) {
        static const std::regex form(R"(([a-z]+)((?: [0-9]+)*)(?: (first|last) ([0-9]+))?)");
        std::smatch m;
        if (!std::regex_match(what, m, form)) {
            throw std::runtime_error("show what?");
        }
        const std::string kind = m[1];
        const std::map<std::string, std::pair<const std::string*, const char*>> texts = {
            {"stdout", {&last_.out, "\n"}},
            {"stderr", {&last_.err, "\n"}},
            {"report", {&last_.report, "\r\n"}},
            {"json", {&last_.json, "\n"}},
            {"statements", {&last_.statements, "\n"}}};
        std::vector<std::pair<std::string, std::string>> shown;  // heading, lines
        if (const auto it = texts.find(kind); it != texts.end()) {
            shown.emplace_back(kind, ReadableLines(*it->second.first, it->second.second));
        } else if (kind == "details") {
            const JsonValue& tests = last_.results["tests"];
            std::istringstream positions(m[2]);
            for (std::size_t position; positions >> position;) {
                const bool known = position >= 1 && position <= tests.items.size();
                // Details never end in a line break: one more marks their end.
                shown.emplace_back(
                    "details " + std::to_string(position),
                    ReadableLines(
                        (known ? tests.items[position - 1]["resultDetails"].text : "(none)") + "\r\n",
                        "\r\n"));
            }
        } else if (kind == "refused") {
            PrintRefused(last_.results, out);
        } else if (kind == "target") {
            const JsonValue& target = last_.results["target"];
            out << "target " << target["dbms"].text << " " << target["tesselVersion"].text << ", database "
                << target["database"].text << "\n";
        } else {
            throw std::runtime_error("nothing called " + kind + " to show");
        }
        for (const auto& [heading, text] : shown) {
            std::vector<std::string> lines;
            std::istringstream in(text);
            for (std::string line; std::getline(in, line);) {
                lines.push_back(line);
            }
            const std::size_t kept = m[4].matched ? std::min(lines.size(), std::stoul(m[4])) : lines.size();
            const bool first = m[3] == "first";
            const std::string left =
                std::to_string(lines.size() - kept) + (first ? " lines after" : " lines before");
            out << "--- " << heading << (kept < lines.size() ? " (" + left + ")" : "") << "\n";
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
        if (std::smatch m; std::regex_search(text, m, pad)) {
            const std::size_t length = std::stoul(m[2]);
            text = Words("\"" + m.prefix().str() + "\"")[0];
            text.resize(length, m.str(1)[0]);
        } else {
            text = Words("\"" + text + "\"")[0];
        }
        testsupport::RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, text);
        std::string clicks[2];
        for (std::string& click : clicks) {
            if (state.g_pAdoConn != nullptr) {
                break;
            }
            ui.shown.clear();
            ConnectButtonClick(state);
            click = (state.g_pAdoConn != nullptr ? "connected" : state.cmdConnectCaption) +
                    (state.cmdBuildStringEnabled ? ", build enabled\n" : "\n");
            for (const auto& box : ui.shown) {
                EXPECT_EQ(box.icon, MsgIcon::Exclamation);
                click += "box " + Readable(box.title + ": " + box.text) + "\n";
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
        testsupport::RecordingInteraction ui;
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

    // Through the data-access layer on one connection a database: the rows (the first ten, then their
    // number) or the error, which Open must throw alike; the connection stays open either way.
    void Statement(const std::string& argument, std::ostream& out) {
        const auto [db, sql] = FirstWord(argument);
        OdbcConnection& conn = connections_[db];
        if (conn.State() != Connection::kStateOpen) {
            EXPECT_TRUE(conn.Open(pg_.ConnectionString(db)));
        }
        Recordset rs;
        const bool opened = rs.OpenSuppressed(sql, conn);
        EXPECT_EQ(conn.State(), Connection::kStateOpen);
        EXPECT_EQ(conn.Errors().Count(), opened ? 0 : 1);
        if (!opened) {
            const AdoError error = conn.Errors().Item(0);
            out << "error " << error.Number << ": " << Readable(error.Description) << "\n";
            try {
                rs.Open(sql, conn);
                ADD_FAILURE() << "Open did not throw: " << sql;
            } catch (const RuntimeError& e) {
                EXPECT_EQ(e.Number(), error.Number);
                EXPECT_EQ(e.Description(), error.Description);
            }
            return;
        }
        int rows = 0;
        for (; !rs.Eof(); rs.MoveNext(), ++rows) {
            for (int i = 0; rows < 10 && i < rs.FieldCount(); ++i) {
                out << (i == 0 ? "" : " | ") << Readable(rs.Fields(i).value_or("<null>"));
            }
            out << (rows < 10 ? "\n" : "");
        }
        out << rows << " rows\n";
    }

    static std::string Replaced(std::string text, const std::string& from, const std::string& to) {
        for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
             at += to.size()) {
            text.replace(at, from.size(), to);
        }
        return text;
    }

    std::string Mask(std::string text) const {
        static const std::regex times(
            "(started at |finished at |Generated: |\"started\": |\"finished\": )"
            "[^\\\\\r\n,]*|(\"durationMs\": )[0-9.]+");
        text = std::regex_replace(text, times, "$1$2<time>");
        text = Replaced(text, ", port " + vars_.at("{port}"), ", port {port}");  // in the driver's messages
        text = Replaced(text, folder_.Path().string(), "<folder>");
        for (const auto& [name, value] : vars_) {
            text = value.size() > 8 ? Replaced(text, value, name) : text;
        }
        return text;
    }

    struct LastRun {
        std::string out, err, report, json, statements;
        JsonValue results;
    };

    const PgCluster& pg_ = PgCluster::Shared();
    testsupport::TempFolder folder_;
    std::map<std::string, std::string> vars_{{"{report}", folder_.File("report.txt")},
                                             {"{json}", folder_.File("results.json")},
                                             {"{verdicts}", folder_.File("verdicts.json")},
                                             {"{port}", std::to_string(pg_.Port())}};
    std::vector<std::string> fingerprinted_;
    std::map<std::string, OdbcConnection> connections_;
    LastRun last_;
    std::string lastRun_;
    std::string rebuild_;  // the database and files of the last "rebuild"
    testsupport::CasePlayer player_;
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

// Cursor flags at both ends, and a probe opened while a walk is open, as the checks do for each row.
TEST(DataAccess, CursorFlagsAtBothEndsAndTwoResultsOpenAtOnce) {
    PgCluster::Shared().CreateDatabase("dblayer",
                                       {"tessel_schema.sql", "healthy_version.sql", "db_layer_rows.sql"});
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString("dblayer")));
    Recordset empty;
    empty.Open("SELECT layer_id FROM TSL.LAYERS WHERE 1 = 2", conn);
    EXPECT_TRUE(empty.Bof() && empty.Eof());
    EXPECT_THROW(empty.MoveNext(), RuntimeError);
    Recordset walk;
    walk.Open("SELECT layer_id FROM TSL.LAYERS ORDER BY layer_id", conn);
    EXPECT_FALSE(walk.Bof());
    std::vector<std::string> seen;
    for (; !walk.Eof(); walk.MoveNext()) {
        Recordset probe;
        probe.Open("SELECT description FROM TSL.LAYERS WHERE layer_id = " + *walk.Fields(0), conn);
        seen.push_back(*walk.Fields(0) + ":" + probe.Fields(0).value_or(""));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"1:Road centre lines", "2:Straßen – Zürich Nord", "3:"}));
    EXPECT_FALSE(walk.Bof());
    walk.MoveFirst();
    EXPECT_EQ(walk.Fields(0), "1");
}

}  // namespace
}  // namespace tabvet
