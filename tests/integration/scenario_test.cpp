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
//                                         findings, target (from the JSON results); first|last K shortens
//                                         them
//   connect NAME TEXT                     "Connect" clicked twice with TEXT, then with NAME's string;
//                                         {'c' to N} at the end pads TEXT with c to N characters
//   detect NAME [DB]                      "Query DBMS", the version boxes and the system database set
//   odbc NAME SQL                         a statement through the data-access layer
#include <gtest/gtest.h>

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
#include "report/json_reader.h"
#include "session/connection_handling.h"
#include "session/server_type_detection.h"
#include "session/startup.h"
#include "support/case_file.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

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
                out << verdict << " " << position << " "
                    << At(At(results, "tests").items[position - 1], "name").text << "\n";
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
        player_.On("run", [this](const std::string& a, std::ostream& out) { Run(a, false, out); });
        player_.On("brief-run", [this](const std::string& a, std::ostream& out) { Run(a, true, out); });
        player_.On("rebuild", [this](const std::string& a, std::ostream&) { Rebuild(rebuild_ = a); });
        player_.On("null", [this](const std::string& a, std::ostream& out) {
            for (const std::string& column : Split(FirstWord(a).second, " ")) {
                Rebuild(rebuild_);
                pg_.Execute(FirstWord(rebuild_).first,
                            "UPDATE tsl." + FirstWord(a).first + " SET " + column + " = NULL");
                out << FirstWord(a).first << "." << column << ": ";
                Run(lastRun_, true, out);
            }
        });
        player_.On("drop", [this](const std::string& a, std::ostream& out) {
            for (const std::string& table : Split(a, " ")) {
                Rebuild(rebuild_);
                pg_.Execute(FirstWord(rebuild_).first, "DROP TABLE tsl." + table);
                out << table << " dropped: ";
                Run(lastRun_, true, out);
            }
        });
        player_.On("show", [this](const std::string& a, std::ostream& out) { Show(a, out); });
        player_.On("connect", [this](const std::string& a, std::ostream& out) { ConnectClicks(a, out); });
        player_.On("detect", [this](const std::string& a, std::ostream& out) { Detect(a, out); });
        player_.On("odbc", [this](const std::string& a, std::ostream& out) { Statement(a, out); });
        player_.Mask([this](std::string text) {
            static const std::regex times(
                "(started at |finished at |Generated: |\"started\": |\"finished\": "
                ")[^\\\\\r\n,]*|(\"durationMs\": )[0-9.]+");
            text = std::regex_replace(text, times, "$1$2<time>");
            text =
                Replaced(text, ", port " + vars_.at("{port}"), ", port {port}");  // in the driver's messages
            for (const auto& [name, value] : vars_) {
                text = value.size() > 8 ? Replaced(text, value, name) : text;
            }
            return text;
        });
    }

    std::string Play(const std::string& name) { return player_.Play("scenarios/" + name + ".txt"); }

  private:
    void Database(const std::string& argument, bool create) {
        const auto [db, files] = FirstWord(argument);
        vars_["{" + db + "}"] = pg_.ConnectionString(db);
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

    void Run(const std::string& argument, bool brief, std::ostream& out) {
        lastRun_ = argument;
        std::vector<std::string> before;
        for (const std::string& name : fingerprinted_) {
            before.push_back(pg_.QueryValue(name, kFingerprint));
        }
        // Longer than any report: a file that is not truncated, or not written, shows.
        const std::string stale(50000, '#');
        for (const char* file : {"{report}", "{json}", "{verdicts}"}) {
            WriteBytes(vars_[file], stale);
        }
        const std::string json = argument.find("{json}") == std::string::npos ? "{verdicts}" : "{json}";
        std::vector<std::string> args = Words(argument + (json == "{json}" ? "" : " --json {verdicts}"));
        const auto traced = fs::exists(kTrace) ? fs::file_size(kTrace) : 0;
        std::ostringstream stdOut, stdErr;
        const int status = RunHeadless(args, stdOut, stdErr);
        last_ = {.out = stdOut.str(),
                 .err = stdErr.str(),
                 .report = ReadBytes(vars_["{report}"]),
                 .json = ReadBytes(vars_[json]),
                 .statements = fs::exists(kTrace) ? ReadBytes(kTrace).substr(traced) : "",
                 .results = {}};
        for (const std::string& sql : Split(last_.statements, "\n")) {
            EXPECT_TRUE(IsSingleStatement(sql)) << "reached the server: " << sql;
        }
        last_.report = last_.report == stale ? "(not written)\r\n" : last_.report;
        last_.json = last_.json == stale ? "(not written)\n" : last_.json;
        const JsonParse parsed = ReadJson(last_.json.starts_with("(not") ? "null" : last_.json);
        EXPECT_TRUE(parsed.value) << parsed.error << "\n" << last_.json.substr(0, 500);
        last_.results = parsed.value.value_or(JsonValue{});
        out << "exit " << status << (brief ? "" : "\n");
        // Standard error without the progress lines, the usage shortened.
        std::vector<std::string> err = Split(Replaced(last_.err, HeadlessUsage(), "<usage>\n"), "\n");
        err.pop_back();
        for (const std::string& line : err) {
            const bool progress = line.starts_with("Running test ") || line == "Testing complete.";
            out << (progress || brief ? "" : Readable(line) + "\n");
        }
        PrintVerdicts(last_.results, brief, out);
        for (std::size_t i = 0; i < fingerprinted_.size(); ++i) {
            const bool same = pg_.QueryValue(fingerprinted_[i], kFingerprint) == before[i];
            EXPECT_TRUE(same) << fingerprinted_[i] << " changed under: " << argument;
            out << fingerprinted_[i] << (same ? " unchanged" : " CHANGED") << "\n";
        }
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

    struct LastRun {
        std::string out, err, report, json, statements;
        JsonValue results;
    };

    const PgCluster& pg_ = PgCluster::Shared();
    TempFolder folder_;
    std::map<std::string, std::string> vars_{{"{report}", folder_.File("report.txt")},
                                             {"{json}", folder_.File("results.json")},
                                             {"{verdicts}", folder_.File("verdicts.json")},
                                             {"{port}", std::to_string(pg_.Port())}};
    std::vector<std::string> fingerprinted_;
    std::map<std::string, OdbcConnection> connections_;
    LastRun last_;
    std::string lastRun_;
    std::string rebuild_;  // the database and files of the last "rebuild"
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
