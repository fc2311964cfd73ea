// Hostile names in every name column the checks read, in each layout PostgreSQL can stand in for: the run
// finishes, no statement with a separator or comment reaches the server, such statements are reported like
// missing objects, and a fingerprint of every table, sequence, schema and function is the same afterwards.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "db/connection_handling.h"
#include "db/runtime_error.h"
#include "db/server_type_selection.h"
#include "db/statement_guard.h"
#include "db/value.h"
#include "framework/test_run.h"
#include "headless_run.h"
#include "startup.h"
#include "support/layouts.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/recording_odbc_connection.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Layout;
using testsupport::PgCluster;

struct HostileName {
    const char* label;
    std::string text;
};

std::string Repeat(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

const std::vector<HostileName>& HostileNames() {
    static const std::vector<HostileName> names{
        {"apostrophe", "O'BRIEN"},
        {"quote_breakout", "X' OR '1'='1"},
        {"separator", "ROADS; DROP TABLE tsl.version"},
        {"separator_alone", ";"},
        {"line_comment", "ROADS -- the rest"},
        {"block_comment", "ROADS /* the rest */"},
        {"double_quotes", "\"Roads\" \"\"x\"\""},
        {"unicode",
         "Stra\xC3\x9F"
         "e_\xE9\x81\x93\xE8\xB7\xAF_\xF0\x9F\x98\x80"},
        {"control_characters",
         "A\tB\nC\rD\x07"
         "E\x1B"
         "F\x7F"
         "G\x01"},
        {"long", std::string(10000, 'W')},
        {"long_unicode", Repeat("\xC3\x9F", 10000)},
        {"backslashes", "C:\\gis\\%_\\"},
        {"parenthesis_breakout", "SHAPE) + (SELECT 1"},
        {"blanks", "   "},
        {"empty", ""},
    };
    return names;
}

bool IsRefused(const std::string& name) {
    return !IsSingleStatement(name);
}

std::string Hex(const std::string& bytes) {
    static const char* digits = "0123456789abcdef";
    std::string hex;
    for (unsigned char c : bytes) {
        hex += digits[c >> 4];
        hex += digits[c & 15];
    }
    return hex;
}

std::string ReadFixture(const std::string& relative) {
    std::ifstream in(testsupport::FixturePath(relative));
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// One line per table, materialised view and sequence (an md5 over its rows in a fixed order, and its
// grants), per schema, index, view and function. Ordered, so that two fingerprints compare as texts and a
// difference names the object.
constexpr const char* kFingerprintSql = R"(
SELECT string_agg(line, E'\n' ORDER BY line) FROM (
  SELECT 'rows ' || n.nspname || '.' || c.relname || ' ' || coalesce(c.relacl::text, '') || ' ' ||
         (xpath('/row/h/text()', query_to_xml(format(
            'SELECT md5(coalesce(string_agg(ROW(t.*)::text, E''\n'' ORDER BY ROW(t.*)::text), '''')) AS h FROM %I.%I t',
            n.nspname, c.relname), false, true, '')))[1]::text AS line
    FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace
   WHERE c.relkind IN ('r', 'p', 'm', 'S') AND n.nspname NOT IN ('pg_catalog', 'information_schema')
     AND n.nspname NOT LIKE 'pg_toast%'
  UNION ALL
  SELECT 'object ' || c.relkind::text || ' ' || n.nspname || '.' || c.relname
    FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace
   WHERE n.nspname NOT IN ('pg_catalog', 'information_schema') AND n.nspname NOT LIKE 'pg_toast%'
  UNION ALL
  SELECT 'schema ' || nspname || ' ' || coalesce(nspacl::text, '') FROM pg_namespace
  UNION ALL
  SELECT 'function ' || p.oid::regprocedure::text FROM pg_proc p JOIN pg_namespace n ON n.oid = p.pronamespace
   WHERE n.nspname NOT IN ('pg_catalog', 'information_schema')
  UNION ALL
  SELECT 'database ' || datname || ' ' || coalesce(datacl::text, '') FROM pg_database
   WHERE datname = current_database()
) lines)";

std::string Fingerprint(const std::string& database) {
    return PgCluster::Shared().QueryValue(database, kFingerprintSql);
}

std::size_t CountLines(const std::string& text, const std::string& prefix) {
    std::size_t count = 0;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        count += line.rfind(prefix, 0) == 0 ? 1 : 0;
    }
    return count;
}

// One database per layout; each hostile name replaces the rows of the one before.
std::string BuildHostileDatabase(Layout layout) {
    const std::string database = std::string("hostile_") + testsupport::LayoutName(layout);
    const PgCluster& pg = PgCluster::Shared();
    pg.CreateDatabase(database, {"tessel_schema.sql", "oracle_dictionary.sql", "hostile/base.sql"});
    if (layout == Layout::SqlServer) {
        pg.Execute(database, ReadFixture("layout_sqlserver.sql"));
    }
    return database;
}

void FillWithHostileName(const std::string& database, const std::string& name) {
    // Hex keeps every byte of the name away from psql's own parsing.
    PgCluster::Shared().Execute(
        database, "SELECT fixture_hostile_rows(convert_from(decode('" + Hex(name) + "', 'hex'), 'UTF8'));");
}

DbmsOption OptionOf(Layout layout) {
    switch (layout) {
        case Layout::Oracle:
            return DbmsOption::Oracle;
        case Layout::Db2:
            return DbmsOption::DB2;
        case Layout::SqlServer:
            return DbmsOption::SqlServer;
    }
    return DbmsOption::None;
}

struct RunResult {
    bool escaped = false;
    std::string escape;
    std::vector<std::string> sent;
    std::vector<std::pair<std::string, std::string>> details;  // name, result text of every test
    std::string log;
    std::string progress;

    std::string DetailsOf(const std::string& testName) const {
        for (const auto& [name, text] : details) {
            if (name == testName) {
                return text;
            }
        }
        return "<not in the catalogue>";
    }
};

RunResult RunCatalogue(Layout layout, const std::string& database, const std::string& connectionString) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    EXPECT_TRUE(StartUp(state));
    testsupport::RecordingOdbcConnection* conn = nullptr;
    state.newConnection = [&conn] {
        auto made = std::make_unique<testsupport::RecordingOdbcConnection>();
        conn = made.get();
        return made;
    };
    SetSystemTableDatabase(state, database);
    ConnectionStringChanged(state, connectionString);
    ConnectToDbms(state);
    RunResult result;
    if (state.g_pAdoConn == nullptr) {
        ADD_FAILURE() << testing::PrintToString(ui.Lines());
        return result;
    }
    OptionClick(state, OptionOf(layout));
    state.txtMajorVersion = "9";
    state.txtMinorVersion = "0";
    state.txtBugfix = "0";
    try {
        ProcessRunTests(state);
    } catch (const RuntimeError& e) {
        result.escaped = true;
        result.escape = DescribeRuntimeError(e);
    }
    result.sent = conn->Sent();
    for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
        const IAdoTest& test = *state.g_pTestCollection->Item(i);
        result.details.emplace_back(test.Name(), test.ResultDetails());
    }
    result.log = state.rtbStatus;
    result.progress = state.stsRunFeedback;
    EXPECT_TRUE(DisconnectFromDbms(state));
    return result;
}

// The report and the JSON document take whatever the names hold: control characters, quotes, 10,000
// characters; the JSON stays valid.
void ExpectHeadlessOutputsAreWritten(const std::string& database) {
    testsupport::TempFolder folder;
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(
        {"--connect", PgCluster::Shared().ConnectionString(database), "--dbms", "oracle", "--tessel-version",
         "9.0.0", "--report", folder.File("report.txt"), "--json", folder.File("results.json")},
        out, err);
    EXPECT_EQ(status, exit_code::kTestFailed) << err.str();
    EXPECT_NE(testsupport::ReadBytes(folder.File("report.txt")).find("Test Summary\r\n"), std::string::npos);
    const std::string json = testsupport::ReadBytes(folder.File("results.json"));
    EXPECT_NO_THROW((void)testsupport::JsonParser::Parse(json)) << json.substr(0, 2000);
}

const std::string kRefusedEntry =
    ": \r\n>>>> Err#-2147217900: Statement not sent: it contains a statement separator or a comment";

class HostileCatalogue : public ::testing::TestWithParam<Layout> {};

TEST_P(HostileCatalogue, EveryNameRunsToTheEndAndChangesNothing) {
    const Layout layout = GetParam();
    std::size_t tablesFingerprinted = 0;
    const std::string database = BuildHostileDatabase(layout);
    for (std::size_t i = 0; i < HostileNames().size(); ++i) {
        const HostileName& name = HostileNames()[i];
        SCOPED_TRACE(name.label);
        FillWithHostileName(database, name.text);
        const std::string before = Fingerprint(database);
        tablesFingerprinted = CountLines(before, "rows ");

        const RunResult run = RunCatalogue(layout, database, PgCluster::Shared().ConnectionString(database));
        EXPECT_FALSE(run.escaped) << run.escape << " at " << run.progress;
        EXPECT_EQ(run.progress, "Testing complete.");
        EXPECT_NE(run.log.find("Test run finished at "), std::string::npos);

        // The statement rule holds for every statement that reached the server.
        for (const std::string& sql : run.sent) {
            EXPECT_TRUE(IsSingleStatement(sql)) << sql;
        }
        EXPECT_EQ(Fingerprint(database), before);

        if (layout == Layout::Oracle) {
            ExpectHeadlessOutputsAreWritten(database);
        }
        if (IsRefused(name.text)) {
            // Refused probes read like any object that could not be found: the qualified name, then the
            // error list with the refusal as its one entry.
            const std::string lyr = run.DetailsOf("LAYERS entries exist as tables or views");
            const std::string qualified =
                (layout == Layout::Oracle ? "" : UpperCaseAscii(database) + ".") + "GIS." + name.text;
            EXPECT_NE(lyr.find("\r\n\r\nError looking for " + qualified + kRefusedEntry), std::string::npos)
                << lyr;
            for (const char* test : {"TABLE_REGISTRY entries exist as tables or views",
                                     "RASTER_COLUMNS entries exist as tables or views"}) {
                EXPECT_NE(run.DetailsOf(test).find(kRefusedEntry), std::string::npos) << test;
            }
            if (layout == Layout::Oracle) {
                const std::string index =
                    run.DetailsOf("Tessel for Oracle Compressed Binary format complete");
                EXPECT_NE(index.find("\r\n\r\nError looking for index A1_IX1" + kRefusedEntry),
                          std::string::npos)
                    << index;
                EXPECT_NE(index.find("\r\n\r\nError looking for table " + name.text + ".F1" + kRefusedEntry),
                          std::string::npos)
                    << index;
            }
        }
    }
    RecordProperty("tables_fingerprinted_per_database", static_cast<int>(tablesFingerprinted));
    RecordProperty("hostile_names", static_cast<int>(HostileNames().size()));
}

// The statement rule cannot tell a name that calls a function from a name: a single SELECT may still call
// one. The account tabvet runs under is what keeps such a call from writing; with read rights only, the
// calls fail, are reported, and nothing changes.
TEST(HostileCatalogueUnderReadOnlyAccount, NamesThatCallFunctionsChangeNothing) {
    const PgCluster& pg = PgCluster::Shared();
    const std::string database = "hostile_reader";
    pg.CreateDatabase(database, {"tessel_schema.sql", "oracle_dictionary.sql", "hostile/base.sql"});
    pg.Execute(database,
               "CREATE FUNCTION public.fixture_tamper() RETURNS integer LANGUAGE sql VOLATILE AS "
               "'INSERT INTO gis.roads VALUES (99, 99, ''tampered'') RETURNING 1'; "
               "DROP ROLE IF EXISTS hostile_reader; CREATE ROLE hostile_reader LOGIN; "
               "GRANT USAGE ON SCHEMA tsl, gis, public TO hostile_reader; "
               "GRANT SELECT ON ALL TABLES IN SCHEMA tsl, gis, public TO hostile_reader;");
    std::string readerConnection = pg.ConnectionString(database);
    readerConnection.replace(readerConnection.find("UID=tabvet;"), 11, "UID=hostile_reader;");

    for (const std::string name :
         {"SHAPE) + (SELECT nextval('gis.roads_seq')", "SHAPE) + (SELECT fixture_tamper()"}) {
        SCOPED_TRACE(name);
        FillWithHostileName(database, name);
        const std::string before = Fingerprint(database);
        const RunResult run = RunCatalogue(Layout::Oracle, database, readerConnection);
        EXPECT_FALSE(run.escaped) << run.escape;
        EXPECT_EQ(Fingerprint(database), before);
        const std::string lyr = run.DetailsOf("LAYERS entries exist as tables or views");
        EXPECT_NE(
            lyr.find("\r\n\r\nError looking for GIS.ROADS: \r\n>>>> Err#1: ERROR: permission denied for "),
            std::string::npos)
            << lyr;
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, HostileCatalogue,
                         testing::Values(Layout::Oracle, Layout::Db2, Layout::SqlServer),
                         [](const testing::TestParamInfo<Layout>& info) {
                             return std::string(testsupport::LayoutName(info.param));
                         });

}  // namespace
}  // namespace tabvet
