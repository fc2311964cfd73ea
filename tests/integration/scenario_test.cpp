// Headless runs, connecting, detection and the data-access layer against real databases, as data: each
// tests/fixtures/scenarios/<name>.txt must give tests/fixtures/expected/<name>.txt byte for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>

#include "app/headless/headless_run.h"
#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "session/connection_handling.h"
#include "session/server_type_detection.h"
#include "session/startup.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"
#include "support/transcript.h"

namespace tabvet {
namespace {

namespace fs = std::filesystem;
using testsupport::FixturePath;
using testsupport::PgCluster;
using testsupport::ReadBytes;

// Set before the first statement of the process: the trace file is read once.
const testsupport::TempFolder kTraceFolder;
const std::string kTrace = [] {
    const std::string path = kTraceFolder.File("trace.txt");
    ::setenv("TABVET_STATEMENT_TRACE", path.c_str(), 1);
    return path;
}();

// Words of a run line; "..." keeps blanks, {name} becomes that database's connection string.
std::vector<std::string> Words(const std::string& line, const std::map<std::string, std::string>& vars) {
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string word; in >> std::quoted(word);) {
        for (const auto& [name, value] : vars) {
            for (std::size_t at = word.find(name); at != std::string::npos; at = word.find(name, at + 1)) {
                word.replace(at, name.size(), value);
            }
        }
        words.push_back(word);
    }
    return words;
}

// An md5 of every table's rows and grants and the names of every object, schema and function.
const std::string kFingerprint = ReadBytes(FixturePath("hostile/fingerprint.sql"));

// {N*c} is c N times; {N=c} pads the whole text with c to N characters.
std::string Expand(std::string text) {
    static const std::regex repeat(R"(\{([0-9]+)([*=])(.)\})");
    for (std::smatch m; std::regex_search(text, m, repeat);) {
        const std::size_t n = std::stoul(m[1]) - (m[2] == "=" ? text.size() - m.length(0) : 0);
        text.replace(static_cast<std::size_t>(m.position(0)), m.length(0), n, m.str(3)[0]);
    }
    return text;
}

// "Connect" clicked with a string: a bad one gives the same single box on each of two clicks and leaves the
// model able to connect with `good`.
void ConnectClicks(std::ostream& out, const std::string& text, const std::string& good) {
    testsupport::RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    EXPECT_TRUE(StartUp(state));
    ConnectionStringChanged(state, text);
    for (int click = 1; click <= 2 && state.g_pAdoConn == nullptr; ++click) {
        ui.shown.clear();
        ConnectButtonClick(state);
        out << "click " << click << ": "
            << (state.g_pAdoConn != nullptr ? "connected" : state.cmdConnectCaption)
            << (state.cmdBuildStringEnabled ? ", build enabled\n" : "\n");
        for (const auto& box : ui.shown) {
            EXPECT_EQ(box.icon, MsgIcon::Exclamation);
            out << "box " << testsupport::Escaped(box.title + ": " + box.text) << "\n";
        }
    }
    if (state.g_pAdoConn == nullptr) {
        ConnectionStringChanged(state, good);
        ConnectButtonClick(state);
    }
    EXPECT_NE(state.g_pAdoConn, nullptr) << "not usable after " << text.substr(0, 80);
}

// "Query DBMS" after connecting, with the option and version boxes set by hand before: what it chose, the
// namer's type code and, when a type was chosen, the name of LAYERS and whether it is found.
void Detect(std::ostream& out, const std::string& connect, const std::string& systemDatabase) {
    testsupport::RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    EXPECT_TRUE(StartUp(state));
    ConnectionStringChanged(state, connect);
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
        out << "LAYERS " << layers
            << (probe.OpenSuppressed(state.g_QDON->SqlToFindTable(layers), *state.g_pAdoConn) ? " found\n"
                                                                                              : " missing\n");
    }
    for (const std::string& box : ui.Lines()) {
        out << "box " << box << "\n";
    }
    EXPECT_TRUE(DisconnectFromDbms(state));
}

// A statement through the data-access layer on the scenario's connection to that database: its rows (the
// first ten, then their number) or its error, which Open must throw alike; the connection stays open either
// way.
void Statement(std::ostream& out, Connection& conn, const std::string& sql) {
    Recordset rs;
    const bool opened = rs.OpenSuppressed(sql, conn);
    EXPECT_EQ(conn.State(), Connection::kStateOpen);
    EXPECT_EQ(conn.Errors().Count(), opened ? 0 : 1);
    if (!opened) {
        const AdoError error = conn.Errors().Item(0);
        out << "error " << error.Number << ": " << testsupport::Escaped(error.Description) << "\n";
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
            out << (i == 0 ? "" : " | ") << testsupport::Escaped(rs.Fields(i).value_or("<null>"));
        }
        out << (rows < 10 ? "\n" : "");
    }
    out << rows << " rows\n";
}

std::string Mask(std::string text, std::map<std::string, std::string> vars) {
    static const std::regex times(
        "(started at |finished at |Generated: |\"started\": |\"finished\": )[^\r\n,]*|"
        "(\"durationMs\": )[0-9.]+");
    text = std::regex_replace(text, times, "$1$2<time>");
    vars.emplace(", port {port}", ", port " + vars.at("{port}"));  // in the driver's messages
    for (const auto& [name, value] : vars) {
        for (std::size_t at = text.find(value); value.size() > 8 && at != std::string::npos;
             at = text.find(value, at)) {
            text.replace(at, value.size(), name);
        }
    }
    return text;
}

// Runs the scenario's lines in order and returns their transcript. A line is one of
//   db NAME FILE... | load NAME FILE...   a new database from fixture files | more files into one
//   sql NAME SQL | query NAME SQL         statements through psql | a value, into the transcript
//   trace | fingerprint NAME              later runs list the statements sent | must leave NAME unchanged
//   run ARG...                            a headless run: {NAME} is that database's connection string,
//                                         {report} and {json} files that join the transcript, {port} the port
//   connect NAME TEXT | detect NAME [DB]  "Connect" clicked with TEXT | "Query DBMS", see above
//   odbc NAME SQL                         a statement through the data-access layer
std::string Play(const std::string& scenario) {
    const PgCluster& pg = PgCluster::Shared();
    testsupport::TempFolder folder;
    std::map<std::string, std::string> vars{{"{report}", folder.File("report.txt")},
                                            {"{json}", folder.File("results.json")},
                                            {"{port}", std::to_string(pg.Port())}};
    // Longer than any report: a file that is not truncated, or not written, shows.
    const std::string stale(50000, '#');
    std::vector<std::string> fingerprinted;
    bool trace = false;
    std::map<std::string, OdbcConnection> connections;
    std::ostringstream transcript;
    std::istringstream lines(ReadBytes(FixturePath("scenarios/" + scenario + ".txt")));
    for (std::string line; std::getline(lines, line);) {
        const std::string verb = line.substr(0, line.find(' '));
        const std::string rest = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
        const std::string db = rest.substr(0, rest.find(' '));
        const std::string tail = rest.size() > db.size() ? rest.substr(db.size() + 1) : "";
        if (verb == "db" || verb == "load") {  // db NAME FILE...: a new database; load: files into one
            std::vector<std::string> files = Words(tail, {});
            vars["{" + db + "}"] = pg.ConnectionString(db);
            if (verb == "db") {
                pg.CreateDatabase(db, files);
            } else {
                std::string sql;
                for (const std::string& file : files) {
                    sql += ReadBytes(FixturePath(file));
                }
                pg.Execute(db, sql);
            }
        } else if (verb == "sql") {
            pg.Execute(db, tail);
        } else if (verb == "query") {  // query NAME SQL: its value goes into the transcript
            transcript << "? " << tail << "\n" << pg.QueryValue(db, tail) << "\n";
        } else if (verb == "connect") {  // connect NAME TEXT: Connect clicked with TEXT, then NAME's string
            transcript << "? connect " << testsupport::Escaped(tail) << "\n";
            ConnectClicks(transcript, Expand(Words("\"" + tail + "\"", vars)[0]), pg.ConnectionString(db));
        } else if (verb == "detect") {  // detect NAME [SYSTEM-DATABASE]
            transcript << "? detect " << rest << "\n";
            Detect(transcript, pg.ConnectionString(db), tail);
        } else if (verb ==
                   "odbc") {  // odbc NAME SQL: through the data-access layer, one connection a database
            auto& conn = connections[db];
            if (conn.State() != Connection::kStateOpen) {
                EXPECT_TRUE(conn.Open(pg.ConnectionString(db))) << line;
            }
            transcript << "? odbc " << testsupport::Escaped(tail) << "\n";
            Statement(transcript, conn, tail);
        } else if (verb == "trace") {
            trace = true;
        } else if (verb == "fingerprint") {  // every later run must leave these databases as they were
            fingerprinted.push_back(db);
        } else if (verb == "run") {
            std::vector<std::string> before;
            for (const std::string& name : fingerprinted) {
                before.push_back(pg.QueryValue(name, kFingerprint));
            }
            testsupport::WriteBytes(vars["{report}"], stale);
            testsupport::WriteBytes(vars["{json}"], stale);
            const auto traced = fs::exists(kTrace) ? fs::file_size(kTrace) : 0;
            std::ostringstream out;
            std::ostringstream err;
            const int status = RunHeadless(Words(rest, vars), out, err);
            transcript << "$ tabvet " << rest << "\nexit " << status << "\n--- stdout\n"
                       << out.str() << "--- stderr\n"
                       << err.str();
            const std::string statements = fs::exists(kTrace) ? ReadBytes(kTrace).substr(traced) : "";
            std::istringstream sent(statements);
            for (std::string sql; std::getline(sent, sql);) {
                EXPECT_TRUE(IsSingleStatement(sql)) << "reached the server: " << sql;
            }
            if (trace) {
                transcript << "--- statements\n" << statements;
            }
            for (const std::string file : {"report", "json"}) {
                const std::string text = ReadBytes(vars["{" + file + "}"]);
                if (rest.find("{" + file + "}") != std::string::npos) {
                    transcript << "--- " << file << "\n" << (text == stale ? "(not written)\n" : text);
                }
                if (file == "json" && text != stale) {
                    EXPECT_NO_THROW((void)testsupport::JsonParser::Parse(text)) << text.substr(0, 500);
                }
            }
            for (std::size_t i = 0; i < fingerprinted.size(); ++i) {
                EXPECT_EQ(pg.QueryValue(fingerprinted[i], kFingerprint), before[i])
                    << fingerprinted[i] << " changed under: " << rest;
            }
        } else if (!line.empty() && line[0] != '#') {
            ADD_FAILURE() << "unknown scenario line: " << line;
        }
    }
    return Mask(transcript.str(), vars);
}

std::vector<std::string> Scenarios() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(FixturePath("scenarios"))) {
        if (entry.path().extension() == ".txt") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Scenario : public ::testing::TestWithParam<std::string> {};

// TABVET_UPDATE_EXPECTED=1 rewrites the expected file: a tool for new scenarios, to be read before
// committing.
TEST_P(Scenario, TranscriptMatchesExpectedFile) {
    const std::string got = Play(GetParam());
    const std::string path = FixturePath("expected/" + GetParam() + ".txt");
    if (const char* update = std::getenv("TABVET_UPDATE_EXPECTED"); update != nullptr && *update == '1') {
        testsupport::WriteBytes(path, got);
    }
    const std::string expected = fs::exists(path) ? ReadBytes(path) : "";
    if (got == expected) {
        return;
    }
    std::istringstream a(expected);
    std::istringstream b(got);
    std::string lineA;
    std::string lineB;
    for (int n = 1;; ++n) {
        const bool moreA = static_cast<bool>(std::getline(a, lineA));
        const bool moreB = static_cast<bool>(std::getline(b, lineB));
        if (lineA != lineB || moreA != moreB || (!moreA && !moreB)) {
            FAIL() << path << " differs at line " << n << "\nexpected: " << (moreA ? lineA : "<end>")
                   << "\nactual:   " << (moreB ? lineB : "<end>");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, Scenario, ::testing::ValuesIn(Scenarios()),
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
