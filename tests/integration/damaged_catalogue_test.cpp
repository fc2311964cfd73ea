// Damaged catalogues against the real driver: a NULL in every column the checks read, each system table
// missing, columns of the wrong type, and bytes the server cannot hand over. Each run either finishes or
// ends exactly where an unguarded conversion escapes, and the same model keeps working afterwards: the
// escape repeats identically, the report can be written, and once repaired the catalogue runs clean.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "db/connection_handling.h"
#include "db/runtime_error.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "headless_run.h"
#include "report/report_writer.h"
#include "startup.h"
#include "support/layouts.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Layout;
using testsupport::PgCluster;

constexpr const char* kIsDbmsRunning = "Is database running";
constexpr const char* kOrphLyr = "LAYERS entries exist as tables or views";
constexpr const char* kOrphTblReg = "TABLE_REGISTRY entries exist as tables or views";
constexpr const char* kOrphRasCol = "RASTER_COLUMNS entries exist as tables or views";
constexpr const char* kOrphGeomCol = "GEOMETRY_COLUMNS entries exist as tables or views";
constexpr const char* kLyrInSpatRef = "LAYERS.SRID in SPATIAL_REFERENCES";
constexpr const char* kIndexAnalysis = "Tessel for Oracle Compressed Binary format complete";
constexpr const char* kInvalidUseOfNull = "Run-time error '94': Invalid use of Null";

std::string ReadFixture(const std::string& relative) {
    std::ifstream in(testsupport::FixturePath(relative));
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string DatabaseOf(Layout layout) {
    return std::string("damaged_") + testsupport::LayoutName(layout);
}

// The system tables rebuilt with their healthy rows, then `damage` applied; "{p}" in it stands for the
// layout's table-name prefix. One psql call, so every situation starts from the same catalogue.
void Situation(Layout layout, const std::string& damage) {
    std::string sql = "DROP SCHEMA tsl CASCADE;\n" + ReadFixture("tessel_schema.sql") +
                      ReadFixture("damaged/healthy_rows.sql");
    if (layout == Layout::SqlServer) {
        sql += ReadFixture("layout_sqlserver.sql");
    }
    std::string placed = damage;
    for (std::size_t at = placed.find("{p}"); at != std::string::npos; at = placed.find("{p}")) {
        placed.replace(at, 3, layout == Layout::SqlServer ? "tsl_" : "");
    }
    PgCluster::Shared().Execute(DatabaseOf(layout), sql + placed);
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

struct Outcome {
    std::optional<std::string> escape;  // the escaped error as the window shows it
    std::string progress;               // the progress panel when the run ended
    bool finished = false;              // the closing line was written
};

// One model, connected once per layout and reused for every situation: it must survive them all.
class Model {
  public:
    explicit Model(Layout layout) : state(ui) {
        EXPECT_TRUE(StartUp(state));
        state.now = [] { return std::string("<now>"); };
        SetSystemTableDatabase(state, DatabaseOf(layout));
        ConnectionStringChanged(state, PgCluster::Shared().ConnectionString(DatabaseOf(layout)));
        ConnectToDbms(state);
        EXPECT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        OptionClick(state, OptionOf(layout));
        state.txtMajorVersion = "9";
        state.txtMinorVersion = state.txtBugfix = "0";
    }
    ~Model() { EXPECT_TRUE(DisconnectFromDbms(state)); }

    Outcome Run() {
        ClearRunStatus(state);
        Outcome outcome;
        try {
            ProcessRunTests(state);
        } catch (const RuntimeError& e) {
            outcome.escape = DescribeRuntimeError(e);
        }
        outcome.progress = state.stsRunFeedback;
        outcome.finished = state.rtbStatus.find("Test run finished at <now>") != std::string::npos;
        return outcome;
    }

    const IAdoTest* Test(const std::string& name) const {
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            if (state.g_pTestCollection->Item(i)->Name() == name) {
                return state.g_pTestCollection->Item(i);
            }
        }
        return nullptr;
    }

    // Every test that ran passed.
    void ExpectAllPassed() const {
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            const IAdoTest& test = *state.g_pTestCollection->Item(i);
            EXPECT_TRUE(!test.WasRun() || test.Pass()) << test.Name() << ": " << test.ResultDetails();
        }
    }

    std::string Report() const {
        testsupport::TempFolder folder;
        const std::string path = folder.File("report.txt");
        ReportFile file = ReportFile::Open(path);
        EXPECT_TRUE(CreateReportInFile(state, file));
        file.Close();
        return testsupport::ReadBytes(path);
    }

    testsupport::RecordingInteraction ui;
    MainState state;
};

void ExpectEndsAt(const Outcome& outcome, const char* escapingTest, const std::string& escapeText) {
    if (escapingTest == nullptr) {
        EXPECT_FALSE(outcome.escape) << *outcome.escape << " at " << outcome.progress;
        EXPECT_TRUE(outcome.finished);
        EXPECT_EQ(outcome.progress, "Testing complete.");
        return;
    }
    ASSERT_TRUE(outcome.escape) << "the run went past " << escapingTest;
    EXPECT_EQ(*outcome.escape, escapeText);
    EXPECT_FALSE(outcome.finished);
    const std::string tail = std::string(": ") + escapingTest;
    EXPECT_TRUE(outcome.progress.size() > tail.size() &&
                outcome.progress.compare(outcome.progress.size() - tail.size(), tail.size(), tail) == 0)
        << outcome.progress;
}

class DamagedCatalogue : public ::testing::TestWithParam<Layout> {
  protected:
    static void SetUpTestSuite() {
        for (Layout layout : {Layout::Oracle, Layout::Db2, Layout::SqlServer}) {
            PgCluster::Shared().CreateDatabase(
                DatabaseOf(layout),
                testsupport::LayoutFixtures(layout,
                                            {"oracle_dictionary.sql", "compressed_binary/layer_builder.sql",
                                             "damaged/user_objects.sql", "damaged/healthy_rows.sql"}));
        }
    }
};

// Where a NULL in each column ends the run, per layout; null means it runs to the end. Only the
// orphaned-entry checks and the index analysis convert names and numbers outside their trapped regions; the
// membership checks never list rows from a real driver's fresh cursor, so they never convert.
struct NullCase {
    const char* table;
    const char* column;
    const char* oracle;
    const char* db2;
    const char* sqlServer;
};

const NullCase kNullCases[] = {
    {"version", "major", nullptr, nullptr, nullptr},
    {"version", "minor", nullptr, nullptr, nullptr},
    {"version", "bugfix", nullptr, nullptr, nullptr},
    {"version", "release", nullptr, nullptr, nullptr},
    {"version", "description", nullptr, nullptr, nullptr},
    {"layers", "layer_id", kIndexAnalysis, nullptr, nullptr},
    {"layers", "database_name", nullptr, kOrphLyr, kOrphLyr},
    {"layers", "owner", kOrphLyr, kOrphLyr, kOrphLyr},
    {"layers", "table_name", kOrphLyr, kOrphLyr, kOrphLyr},
    {"layers", "spatial_column", kOrphLyr, kOrphLyr, kOrphLyr},
    {"layers", "eflags", nullptr, nullptr, nullptr},
    {"layers", "srid", nullptr, nullptr, nullptr},
    {"layers", "layer_config", nullptr, nullptr, nullptr},
    {"table_registry", "registration_id", kIndexAnalysis, nullptr, nullptr},
    {"table_registry", "table_name", kOrphTblReg, kOrphTblReg, kOrphTblReg},
    {"table_registry", "owner", kOrphTblReg, kOrphTblReg, kOrphTblReg},
    {"table_registry", "database_name", nullptr, kOrphTblReg, kOrphTblReg},
    {"table_registry", "rowid_column", nullptr, nullptr, nullptr},
    {"table_registry", "object_flags", kIndexAnalysis, nullptr, nullptr},
    {"table_registry", "config_keyword", nullptr, nullptr, nullptr},
    {"raster_columns", "rastercolumn_id", nullptr, nullptr, nullptr},
    {"raster_columns", "database_name", nullptr, kOrphRasCol, kOrphRasCol},
    {"raster_columns", "owner", kOrphRasCol, kOrphRasCol, kOrphRasCol},
    {"raster_columns", "table_name", kOrphRasCol, kOrphRasCol, kOrphRasCol},
    {"raster_columns", "raster_column", kOrphRasCol, kOrphRasCol, kOrphRasCol},
    {"raster_columns", "config_keyword", nullptr, nullptr, nullptr},
    {"raster_columns", "srid", nullptr, nullptr, nullptr},
    {"geometry_columns", "f_table_catalog", nullptr, nullptr, kOrphGeomCol},
    {"geometry_columns", "f_table_schema", kOrphGeomCol, nullptr, kOrphGeomCol},
    {"geometry_columns", "f_table_name", kOrphGeomCol, nullptr, kOrphGeomCol},
    {"geometry_columns", "f_geometry_column", kOrphGeomCol, nullptr, kOrphGeomCol},
    {"spatial_references", "srid", nullptr, nullptr, nullptr},
    {"dbtune", "keyword", nullptr, nullptr, nullptr},
};

TEST_P(DamagedCatalogue, NullInEveryColumnEndsTheRunOnlyWhereAConversionIsUnguarded) {
    const Layout layout = GetParam();
    Situation(layout, "");
    Model model(layout);
    ExpectEndsAt(model.Run(), nullptr, "");
    model.ExpectAllPassed();

    int escapes = 0;
    for (const NullCase& c : kNullCases) {
        SCOPED_TRACE(std::string(c.table) + "." + c.column);
        Situation(layout, std::string("UPDATE tsl.{p}") + c.table + " SET " + c.column + " = NULL;");
        const char* escapingTest =
            layout == Layout::Oracle ? c.oracle : (layout == Layout::Db2 ? c.db2 : c.sqlServer);
        const Outcome first = model.Run();
        ExpectEndsAt(first, escapingTest, kInvalidUseOfNull);
        if (escapingTest != nullptr) {
            ++escapes;
            // The model is not left half-way: the same run ends the same way again, and what the first run
            // learnt before the escape can still be reported.
            const Outcome second = model.Run();
            EXPECT_EQ(second.escape, first.escape);
            EXPECT_EQ(second.progress, first.progress);
            const std::string report = model.Report();
            EXPECT_NE(report.find("Test Passed: " + std::string(kIsDbmsRunning) + "\r\n"), std::string::npos);
            EXPECT_NE(report.find("Test Summary\r\n"), std::string::npos);
        }
    }
    EXPECT_GT(escapes, 0);

    // Repaired, the same model runs clean.
    Situation(layout, "");
    ExpectEndsAt(model.Run(), nullptr, "");
    model.ExpectAllPassed();
}

// Which tests read each system table; every one of them that runs fails when the table is missing.
struct MissingTableCase {
    const char* table;
    std::vector<const char*> readers;
};

TEST_P(DamagedCatalogue, MissingSystemTableFailsExactlyItsReaders) {
    const Layout layout = GetParam();
    const std::vector<MissingTableCase> cases{
        {"version", {kIsDbmsRunning}},
        {"layers",
         {"LAYERS table existence", "LAYERS in TABLE_REGISTRY", "LAYERS in GEOMETRY_COLUMNS", kLyrInSpatRef,
          "LAYERS.LAYER_CONFIG in DBTUNE", kOrphLyr, "GEOMETRY_COLUMNS in LAYERS", kIndexAnalysis}},
        {"table_registry",
         {"TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE", kOrphTblReg, "LAYERS in TABLE_REGISTRY",
          "RASTER_COLUMNS in TABLE_REGISTRY", kIndexAnalysis}},
        {"geometry_columns", {"LAYERS in GEOMETRY_COLUMNS", "GEOMETRY_COLUMNS in LAYERS", kOrphGeomCol}},
        {"spatial_references", {kLyrInSpatRef, "RASTER_COLUMNS.SRID in SPATIAL_REFERENCES"}},
        {"raster_columns",
         {"RASTER_COLUMNS in TABLE_REGISTRY", "RASTER_COLUMNS.SRID in SPATIAL_REFERENCES",
          "RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE", kOrphRasCol}},
        {"dbtune",
         {"TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE", "LAYERS.LAYER_CONFIG in DBTUNE",
          "RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE"}},
    };
    Situation(layout, "");
    Model model(layout);
    for (const MissingTableCase& c : cases) {
        SCOPED_TRACE(c.table);
        Situation(layout, std::string("DROP TABLE tsl.{p}") + c.table + ";");
        ExpectEndsAt(model.Run(), nullptr, "");
        for (std::int16_t i = 1; i <= model.state.g_pTestCollection->Count(); ++i) {
            const IAdoTest& test = *model.state.g_pTestCollection->Item(i);
            if (!test.WasRun()) {
                continue;
            }
            bool reads = false;
            for (const char* reader : c.readers) {
                reads = reads || test.Name() == reader;
            }
            EXPECT_EQ(test.Pass(), !reads) << test.Name() << ": " << test.ResultDetails();
            if (reads) {
                EXPECT_NE(test.ResultDetails().find("does not exist"), std::string::npos)
                    << test.ResultDetails();
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, DamagedCatalogue,
                         testing::Values(Layout::Oracle, Layout::Db2, Layout::SqlServer),
                         [](const testing::TestParamInfo<Layout>& info) {
                             return std::string(testsupport::LayoutName(info.param));
                         });

// Columns of the wrong type, in the Oracle layout where every check runs. A value that cannot be converted
// outside a trapped region escapes with the classic error; a type the server cannot compare fails the
// statement, which is reported.
struct TypeCase {
    const char* label;
    const char* damage;
    const char* escapingTest;  // null: the run finishes
    const char* escapeText;
    const char* failingTest;  // with a run that finishes: the test that reports the server's error
    const char* errorPart;
};

TEST(DamagedCatalogueTypes, WrongColumnTypesEscapeOrAreReported) {
    PgCluster::Shared().CreateDatabase(
        DatabaseOf(Layout::Oracle),
        {"tessel_schema.sql", "oracle_dictionary.sql", "compressed_binary/layer_builder.sql",
         "damaged/user_objects.sql", "damaged/healthy_rows.sql"});
    const TypeCase cases[] = {
        {"layer id as text", "ALTER TABLE tsl.layers ALTER COLUMN layer_id TYPE text USING 'L' || layer_id;",
         kIndexAnalysis, "Run-time error '13': Type mismatch", nullptr, nullptr},
        {"layer id beyond 32 bits",
         "ALTER TABLE tsl.layers ALTER COLUMN layer_id TYPE bigint; UPDATE tsl.layers SET layer_id = "
         "3000000000;",
         kIndexAnalysis, "Run-time error '6': Overflow", nullptr, nullptr},
        {"registration id beyond 32 bits",
         "ALTER TABLE tsl.table_registry ALTER COLUMN registration_id TYPE numeric; "
         "UPDATE tsl.table_registry SET registration_id = 1e30;",
         kIndexAnalysis, "Run-time error '6': Overflow", nullptr, nullptr},
        {"object flags with a fraction",
         "ALTER TABLE tsl.table_registry ALTER COLUMN object_flags TYPE numeric; "
         "UPDATE tsl.table_registry SET object_flags = 8.5;",
         nullptr, nullptr, nullptr, nullptr},
        {"flags as text", "ALTER TABLE tsl.layers ALTER COLUMN eflags TYPE text;", nullptr, nullptr,
         kIndexAnalysis, "function bitand(text, integer) does not exist"},
        {"srid as text", "ALTER TABLE tsl.layers ALTER COLUMN srid TYPE text;", nullptr, nullptr,
         kLyrInSpatRef, "operator does not exist: text = integer"},
        {"owner as bytes", "ALTER TABLE tsl.layers ALTER COLUMN owner TYPE bytea USING owner::bytea;",
         nullptr, nullptr, kOrphLyr, "Error looking for 474953.ROADS: "},
        {"keyword as an array",
         "ALTER TABLE tsl.dbtune ALTER COLUMN keyword TYPE text[] USING ARRAY[keyword];", nullptr, nullptr,
         "LAYERS.LAYER_CONFIG in DBTUNE", "operator does not exist"},
        {"version as words", "ALTER TABLE tsl.version ALTER COLUMN major TYPE text USING 'nine';", nullptr,
         nullptr, nullptr, nullptr},
    };
    Model model(Layout::Oracle);
    for (const TypeCase& c : cases) {
        SCOPED_TRACE(c.label);
        Situation(Layout::Oracle, c.damage);
        const Outcome outcome = model.Run();
        ExpectEndsAt(outcome, c.escapingTest, c.escapeText ? c.escapeText : "");
        if (c.failingTest != nullptr) {
            const IAdoTest* test = model.Test(c.failingTest);
            ASSERT_NE(test, nullptr);
            EXPECT_FALSE(test->Pass());
            EXPECT_NE(test->ResultDetails().find(c.errorPart), std::string::npos) << test->ResultDetails();
        } else if (c.escapingTest == nullptr) {
            model.ExpectAllPassed();
        }
    }
}

// The headless mode reads the server type from a damaged VERSION table, or meets an escape: one clear line
// on standard error and the exit status a scheduler acts on, never an abort.
TEST(DamagedCatalogueHeadless, DamagedVersionOrEscapeGivesOneClearLine) {
    PgCluster::Shared().CreateDatabase(
        DatabaseOf(Layout::Oracle),
        {"tessel_schema.sql", "oracle_dictionary.sql", "compressed_binary/layer_builder.sql",
         "damaged/user_objects.sql", "damaged/healthy_rows.sql"});
    struct Case {
        const char* damage;
        std::vector<std::string> options;  // after --connect
        int status;
        const char* message;
    };
    const Case cases[] = {
        {"UPDATE tsl.version SET major = 99999;",
         {},
         exit_code::kCannotStart,
         "tabvet: the run could not start: Run-time error '6': Overflow (Tessel version 99999.0.0)\n"},
        {"UPDATE tsl.version SET minor = -40000;",
         {},
         exit_code::kCannotStart,
         "tabvet: the run could not start: Run-time error '6': Overflow (Tessel version 9.-40000.0)\n"},
        {"ALTER TABLE tsl.version ALTER COLUMN major TYPE text USING 'nine';",
         {},
         exit_code::kCannotStart,
         "Need Server Type: Please Select Server Type (DBMS type and Tessel version)\n"},
        {"UPDATE tsl.version SET major = NULL;",
         {},
         exit_code::kCannotStart,
         "Unexpected Condition: Unable to determine type of database. Sorry.\n"},
        {"UPDATE tsl.layers SET owner = NULL;",
         {"--dbms", "oracle", "--tessel-version", "9.0.0"},
         exit_code::kEscapedError,
         "Running test 9 of 16: LAYERS entries exist as tables or views\n"
         "tabvet: a test ended the run with an unexpected error: Run-time error '94': Invalid use of Null\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.damage);
        Situation(Layout::Oracle, c.damage);
        std::vector<std::string> args{"--connect",
                                      PgCluster::Shared().ConnectionString(DatabaseOf(Layout::Oracle))};
        args.insert(args.end(), c.options.begin(), c.options.end());
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunHeadless(args, out, err), c.status) << err.str();
        // The message is the last line on standard error.
        const std::string text = err.str();
        EXPECT_TRUE(text.size() >= std::strlen(c.message) &&
                    text.compare(text.size() - std::strlen(c.message), std::string::npos, c.message) == 0)
            << text;
    }
}

// A SQL_ASCII database may hold bytes that are not UTF-8; the server refuses to hand them over, and the
// statements that would read them fail with its message instead.
TEST(DamagedCatalogueEncoding, BytesThatAreNotUtf8FailTheirStatements) {
    const PgCluster& pg = PgCluster::Shared();
    const std::string database = "damaged_ascii";
    pg.Execute("postgres", "DROP DATABASE IF EXISTS damaged_ascii WITH (FORCE)");
    pg.Execute(
        "postgres",
        "CREATE DATABASE damaged_ascii TEMPLATE template0 ENCODING 'SQL_ASCII' LC_COLLATE 'C' LC_CTYPE 'C'");
    pg.Execute(
        database,
        ReadFixture("tessel_schema.sql") + ReadFixture("oracle_dictionary.sql") +
            ReadFixture("compressed_binary/layer_builder.sql") + ReadFixture("damaged/user_objects.sql") +
            ReadFixture("damaged/healthy_rows.sql") +
            "UPDATE tsl.layers SET owner = convert_from(decode('4749ff53', 'hex'), 'SQL_ASCII');"
            "UPDATE tsl.table_registry SET owner = convert_from(decode('4749ff53', 'hex'), 'SQL_ASCII');");

    testsupport::RecordingInteraction ui;
    MainState state(ui);
    ASSERT_TRUE(StartUp(state));
    ConnectionStringChanged(state, pg.ConnectionString(database));
    ConnectToDbms(state);
    ASSERT_NE(state.g_pAdoConn, nullptr);
    OptionClick(state, DbmsOption::Oracle);
    state.txtMajorVersion = "9";
    state.txtMinorVersion = state.txtBugfix = "0";
    ASSERT_NO_THROW(ProcessRunTests(state));
    EXPECT_EQ(state.stsRunFeedback, "Testing complete.");
    for (const char* name : {kOrphLyr, kOrphTblReg, kIndexAnalysis}) {
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            const IAdoTest& test = *state.g_pTestCollection->Item(i);
            if (test.Name() == name) {
                EXPECT_FALSE(test.Pass());
                EXPECT_NE(test.ResultDetails().find("invalid byte sequence for encoding \"UTF8\": 0xff"),
                          std::string::npos)
                    << test.ResultDetails();
            }
        }
    }
    EXPECT_TRUE(DisconnectFromDbms(state));
}

}  // namespace
}  // namespace tabvet
