// The referential-integrity checks against PostgreSQL through psqlODBC, in the Oracle, DB2 and SQL Server
// layouts: what the orphaned-entry checks probe and report, where they stop, and the whole headless log.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "app/headless_run.h"
#include "checks/cross_table_checks.h"
#include "checks/keyword_checks.h"
#include "checks/orphaned_entry_checks.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/layouts.h"
#include "support/pg_cluster.h"
#include "support/recording_odbc_connection.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::Layout;
using testsupport::PgCluster;
using testsupport::RecordingOdbcConnection;

constexpr const char* kMissingWells =
    "ERROR: relation \"gis.wells\" does not exist;\nError while executing the query";
constexpr const char* kMissingStreetlights =
    "ERROR: relation \"gis.streetlights\" does not exist;\nError while executing the query";
constexpr const char* kMissingPipes =
    "ERROR: relation \"gis.pipes\" does not exist;\nError while executing the query";
constexpr const char* kNoShapeColumn =
    "ERROR: column a.shape does not exist;\nError while executing the query";
constexpr const char* kNoRowidColumn =
    "ERROR: column a.rowid_x does not exist;\nError while executing the query";
constexpr const char* kNoRasterColumn =
    "ERROR: column a.raster does not exist;\nError while executing the query";

bool UsesDatabaseName(Layout layout) {
    return layout != Layout::Oracle;
}
bool PrefixesSystemTables(Layout layout) {
    return layout == Layout::SqlServer;
}

const Layout kLayouts[] = {Layout::Oracle, Layout::Db2, Layout::SqlServer};

// Situations, one database each per layout. "scratch" is refilled by the tests that need generated rows.
const std::vector<std::pair<std::string, std::vector<std::string>>> kSituations = {
    {"healthy", {"referential/healthy.sql"}},
    {"orphans", {"referential/healthy.sql", "referential/orphans.sql"}},
    {"bare", {}},
    {"scratch", {}},
};

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Database(Layout layout, const std::string& situation) {
    return "refchk_" + situation + "_" + testsupport::LayoutName(layout);
}

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        for (const Layout layout : kLayouts) {
            for (const auto& [situation, files] : kSituations) {
                // An Oracle database always has its dictionary; the index analysis that runs on 9.0 reads it.
                std::vector<std::string> fixtures = {"referential/user_tables.sql"};
                if (layout == Layout::Oracle) {
                    fixtures.insert(fixtures.begin(), "oracle_dictionary.sql");
                }
                fixtures.insert(fixtures.end(), files.begin(), files.end());
                pg.CreateDatabase(Database(layout, situation), testsupport::LayoutFixtures(layout, fixtures));
            }
        }
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

// A system table as psql reaches it in this layout, for refilling the scratch database.
std::string PlainSystemTable(Layout layout, const std::string& table) {
    return std::string("tsl.") + (PrefixesSystemTables(layout) ? "tsl_" : "") + table;
}

// The namer as the window sets it up for this layout: DB2 and SQL Server with the database typed in.
std::unique_ptr<CheckEnvironment> EnvironmentFor(Layout layout, const std::string& database) {
    return std::make_unique<CheckEnvironment>(testsupport::LayoutTypeCode(layout),
                                              UsesDatabaseName(layout) ? Upper(database) : kNoDatabaseName);
}

// How an entry names a user table of schema GIS in this layout.
std::string UserTable(Layout layout, const std::string& database, const std::string& table) {
    return (UsesDatabaseName(layout) ? Upper(database) + "." : std::string()) + "GIS." + table;
}

std::string Entry(Layout layout, const std::string& database, const std::string& table,
                  const std::string& message) {
    return "\r\n\r\nError looking for " + UserTable(layout, database, table) + ": \r\n>>>> Err#1: " + message;
}

std::string ColumnProbe(Layout layout, const std::string& database, const std::string& column,
                        const std::string& table) {
    const std::string name = UserTable(layout, database, table);
    return UsesDatabaseName(layout) ? "SELECT A." + column + " FROM " + name + " A WHERE 1 = 2"
                                    : "SELECT COUNT(A." + column + ") FROM " + name + " A WHERE 1 = 2";
}

std::string TableProbe(Layout layout, const std::string& database, const std::string& table) {
    const std::string name = UserTable(layout, database, table);
    return UsesDatabaseName(layout) ? "SELECT * FROM " + name + " WHERE 1 = 2"
                                    : "SELECT COUNT(*) FROM " + name + " WHERE 1 = 2";
}

std::string SystemTable(Layout layout, const std::string& database, const std::string& table) {
    return (UsesDatabaseName(layout) ? Upper(database) + ".TSL." : std::string("TSL.")) +
           (PrefixesSystemTables(layout) ? "tsl_" : "") + table;
}

using Factory = std::function<std::unique_ptr<IAdoTest>(const TestEnvironment&)>;

template <typename Check>
Factory Make() {
    return [](const TestEnvironment& environment) { return std::make_unique<Check>(environment); };
}

class ReferentialChecks : public ::testing::TestWithParam<Layout> {
  protected:
    Layout layout() const { return GetParam(); }

    // Runs one check on a fresh connection to the layout's database of `situation`.
    std::unique_ptr<IAdoTest> RunCheck(const Factory& make, const std::string& situation) {
        const std::string database = Database(layout(), situation);
        environment = EnvironmentFor(layout(), database);
        conn = std::make_unique<RecordingOdbcConnection>();
        EXPECT_TRUE(conn->Open(Cluster().ConnectionString(database)));
        auto test = make(*environment);
        test->Run(conn.get());
        return test;
    }

    std::unique_ptr<CheckEnvironment> environment;
    std::unique_ptr<RecordingOdbcConnection> conn;
};

// The failure texts of the four orphaned-entry checks on the orphans database.
struct OrphanCase {
    const char* label;
    Factory make;
    std::function<std::string(Layout, const std::string&)> details;
};

std::vector<OrphanCase> OrphanCases() {
    return {
        {"LAYERS: a missing table, then a missing spatial column", Make<clsTst_OrphLyr>(),
         [](Layout l, const std::string& db) {
             return Entry(l, db, "WELLS", kMissingWells) + Entry(l, db, "RIVERS", kNoShapeColumn);
         }},
        {"TABLE_REGISTRY: NULL and blank rowid_column probe the table, a padded one its column",
         Make<clsTst_OrphTblReg>(),
         [](Layout l, const std::string& db) {
             return Entry(l, db, "WELLS", kMissingWells) +
                    Entry(l, db, "STREETLIGHTS", kMissingStreetlights) +
                    Entry(l, db, "RIVERS", kNoRowidColumn);
         }},
        {"RASTER_COLUMNS: a missing raster column", Make<clsTst_OrphRasCol>(),
         [](Layout l, const std::string& db) { return Entry(l, db, "ELEVATION", kNoRasterColumn); }},
        {"GEOMETRY_COLUMNS: a dropped table", Make<clsTst_OrphGeomCol>(),
         [](Layout l, const std::string& db) { return Entry(l, db, "PIPES", kMissingPipes); }},
    };
}

TEST_P(ReferentialChecks, HealthyEntriesPass) {
    const std::vector<std::pair<Factory, std::string>> checks = {
        {Make<clsTst_OrphLyr>(), "All LAYERS entries correspond to real columns in real tables or views"},
        {Make<clsTst_OrphTblReg>(),
         "All TABLE_REGISTRY entries correspond to real columns in real tables or views"},
        {Make<clsTst_OrphRasCol>(),
         "All RASTER_COLUMNS entries correspond to real columns in real tables or views"},
        {Make<clsTst_OrphGeomCol>(),
         "All GEOMETRY_COLUMNS entries correspond to real columns in real tables or views"},
    };
    for (const auto& [make, passText] : checks) {
        SCOPED_TRACE(passText);
        const auto test = RunCheck(make, "healthy");
        EXPECT_TRUE(test->Pass());
        EXPECT_TRUE(test->WasRun());
        EXPECT_EQ(test->ResultDetails(), passText);
    }
}

TEST_P(ReferentialChecks, RowidColumnIsTrimmedAndATableProbeStandsInWhenItIsNullOrBlank) {
    const std::string db = Database(layout(), "healthy");
    const auto test = RunCheck(Make<clsTst_OrphTblReg>(), "healthy");
    ASSERT_TRUE(test->Pass()) << test->ResultDetails();
    const std::string select = UsesDatabaseName(layout())
                                   ? "SELECT a.rowid_column, a.table_name, a.owner, a.database_name FROM "
                                   : "SELECT a.rowid_column, a.table_name, a.owner  FROM ";
    const std::vector<std::string> expected = {
        select + SystemTable(layout(), db, "TABLE_REGISTRY") + " a",
        ColumnProbe(layout(), db, "OBJECTID", "ROADS"),       // 'OBJECTID'
        TableProbe(layout(), db, "PARCELS"),                  // NULL
        TableProbe(layout(), db, "MAIN_ROADS"),               // blank
        ColumnProbe(layout(), db, "OBJECTID", "ORTHOPHOTO"),  // padded
    };
    EXPECT_EQ(conn->Sent(), expected);
}

TEST_P(ReferentialChecks, OrphanedEntriesNameTheTableWithTheDriversMessage) {
    const std::string db = Database(layout(), "orphans");
    for (const OrphanCase& c : OrphanCases()) {
        SCOPED_TRACE(c.label);
        const auto test = RunCheck(c.make, "orphans");
        EXPECT_FALSE(test->Pass());
        EXPECT_TRUE(test->WasRun());
        EXPECT_EQ(test->ResultDetails(), c.details(layout(), db));
        // Cleared after every counted error below the limit.
        EXPECT_EQ(conn->Errors().Count(), 0);
    }
}

TEST_P(ReferentialChecks, EmptySystemTablesPassWithNoRows) {
    const std::vector<std::pair<Factory, std::string>> checks = {
        {Make<clsTst_OrphLyr>(), "No rows in LAYERS table"},
        {Make<clsTst_OrphTblReg>(), "No rows in TABLE_REGISTRY table"},
        {Make<clsTst_OrphRasCol>(), "No rows in RASTER_COLUMNS table"},
        {Make<clsTst_OrphGeomCol>(), "No rows in GEOMETRY_COLUMNS table"},
    };
    for (const auto& [make, text] : checks) {
        SCOPED_TRACE(text);
        const auto test = RunCheck(make, "bare");
        EXPECT_TRUE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), text);
        EXPECT_EQ(conn->Sent().size(), 1u);
    }
}

TEST_P(ReferentialChecks, AMissingSystemTableIsReportedAsAFailedSelect) {
    const std::string db = Database(layout(), "scratch");
    Cluster().Execute(db,
                      "ALTER TABLE " + PlainSystemTable(layout(), "geometry_columns") + " RENAME TO gone");
    const auto test = RunCheck(Make<clsTst_OrphGeomCol>(), "scratch");
    Cluster().Execute(db, "ALTER TABLE tsl.gone RENAME TO " +
                              std::string(PrefixesSystemTables(layout()) ? "tsl_" : "") + "geometry_columns");
    EXPECT_FALSE(test->Pass());
    const std::string relation =
        std::string("tsl.") + (PrefixesSystemTables(layout()) ? "tsl_" : "") + "geometry_columns";
    EXPECT_EQ(test->ResultDetails(),
              "Errors selecting rows from GEOMETRY_COLUMNS table: \r\n\r\n>>>> Err#1: "
              "ERROR: relation \"" +
                  relation + "\" does not exist;\nError while executing the query");
    EXPECT_EQ(conn->Errors().Count(), 0);
}

TEST_P(ReferentialChecks, ListingStopsAtTheTwentyFifthOrphanAndProbesNothingAfterIt) {
    const std::string db = Database(layout(), "scratch");
    for (const int orphans : {24, 25, 30}) {
        SCOPED_TRACE(orphans);
        Cluster().Execute(db,
                          "DELETE FROM " + PlainSystemTable(layout(), "layers") + "; INSERT INTO " +
                              PlainSystemTable(layout(), "layers") +
                              " (layer_id, database_name, owner, table_name, spatial_column) "
                              "SELECT i, upper(current_database()), 'GIS', 'LOST_' || lpad(i::text, 2, '0'), "
                              "'SHAPE' FROM generate_series(1, " +
                              std::to_string(orphans) + ") AS i");
        const auto test = RunCheck(Make<clsTst_OrphLyr>(), "scratch");
        const int listed = std::min(orphans, 25);
        std::string expected;
        for (int i = 1; i <= listed; ++i) {
            const std::string table = std::string("LOST_") + (i < 10 ? "0" : "") + std::to_string(i);
            expected += Entry(layout(), db, table,
                              "ERROR: relation \"gis." + std::string("lost_") + (i < 10 ? "0" : "") +
                                  std::to_string(i) + "\" does not exist;\nError while executing the query");
        }
        if (orphans >= 25) {
            expected += "\r\n(Report limit (25) reached. There may be more errors.)";
        }
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), expected);
        // The row select and one probe per listed row; the last probe is the limit's own row.
        ASSERT_EQ(conn->Sent().size(), static_cast<std::size_t>(1 + listed));
        EXPECT_EQ(conn->Sent().back(), ColumnProbe(layout(), db, "SHAPE", "LOST_" + std::to_string(listed)));
        // The errors of the probe that reached the limit stay in the connection's list.
        EXPECT_EQ(conn->Errors().Count(), orphans >= 25 ? 1 : 0);
    }
}

TEST_P(ReferentialChecks, ANullNameEndsTheRunButANullRowidColumnDoesNot) {
    const std::string db = Database(layout(), "scratch");
    struct NullCase {
        const char* label;
        const char* table;
        const char* rows;  // values for (id, owner, table_name, column)
        const char* columns;
        Factory make;
        bool escapes;
    };
    const std::vector<NullCase> cases = {
        {"LAYERS row with a NULL owner", "layers",
         "(1, 'GIS', 'ROADS', 'SHAPE'), (2, NULL, 'PARCELS', 'SHAPE')",
         "layer_id, owner, table_name, spatial_column", Make<clsTst_OrphLyr>(), true},
        {"RASTER_COLUMNS row with a NULL raster column", "raster_columns",
         "(1, 'GIS', 'ORTHOPHOTO', 'RASTER'), (2, 'GIS', 'ELEVATION', NULL)",
         "rastercolumn_id, owner, table_name, raster_column", Make<clsTst_OrphRasCol>(), true},
        {"TABLE_REGISTRY row with a NULL rowid column", "table_registry",
         "(1, 'GIS', 'ROADS', 'OBJECTID'), (2, 'GIS', 'PARCELS', NULL)",
         "registration_id, owner, table_name, rowid_column", Make<clsTst_OrphTblReg>(), false},
    };
    for (const NullCase& c : cases) {
        SCOPED_TRACE(c.label);
        const std::string table = PlainSystemTable(layout(), c.table);
        Cluster().Execute(db, "DELETE FROM " + table + "; INSERT INTO " + table + " (" + c.columns +
                                  ") VALUES " + c.rows + "; UPDATE " + table +
                                  " SET database_name = upper(current_database())");
        const std::string database = Database(layout(), "scratch");
        environment = EnvironmentFor(layout(), database);
        conn = std::make_unique<RecordingOdbcConnection>();
        ASSERT_TRUE(conn->Open(Cluster().ConnectionString(database)));
        auto test = c.make(*environment);
        if (c.escapes) {
            try {
                test->Run(conn.get());
                ADD_FAILURE() << "the NULL did not end the run";
            } catch (const RuntimeError& e) {
                EXPECT_EQ(DescribeRuntimeError(e), "Run-time error '94': Invalid use of Null");
            }
            // The first row was probed; nothing after the NULL.
            EXPECT_EQ(conn->Sent().size(), 2u);
        } else {
            test->Run(conn.get());
            EXPECT_TRUE(test->Pass()) << test->ResultDetails();
            EXPECT_EQ(conn->Sent().size(), 3u);
        }
        Cluster().Execute(db, "DELETE FROM " + table);
    }
}

TEST_P(ReferentialChecks, MembershipStatementsAllSucceedSoTheChecksPass) {
    // Only a fresh cursor that reports end-of-file without begin-of-file is listed, and psqlODBC never gives
    // one: every check passes, although the orphans database has rows without partners.
    const std::vector<std::pair<Factory, std::string>> checks = {
        {Make<clsTst_LyrInGeomCol>(), "All LAYERS entries have matching entries in GEOMETRY_COLUMNS"},
        {Make<clsTst_GeomColInLyr>(), "All GEOMETRY_COLUMNS entries have matching entries in LAYERS"},
        {Make<clsTst_LyrInSpatRef>(), "All LAYERS.SRID entries have matching entries in SPATIAL_REFERENCES"},
        {Make<clsTst_RasColInSpatRef>(),
         "All RASTER_COLUMNS.SRID entries have matching entries in SPATIAL_REFERENCES"},
        {Make<clsTst_LyrInTblReg>(), "All LAYERS entries have matching entries in TABLE_REGISTRY"},
        {Make<clsTst_RasColInTblReg>(), "All RASTER_COLUMNS entries have matching entries in TABLE_REGISTRY"},
        {Make<clsTst_LyrInDbtune>(), "All LAYERS.CONFIG_KEYWORD entries have matching entries in DBTUNE"},
        {Make<clsTst_RasColInDbtune>(),
         "All RASTER_COLUMNS.CONFIG_KEYWORD entries have matching entries in DBTUNE"},
        {Make<clsTst_TblRegInDbtune>(),
         "All TABLE_REGISTRY.CONFIG_KEYWORD entries have matching entries in DBTUNE"},
    };
    for (const auto& [make, passText] : checks) {
        SCOPED_TRACE(passText);
        const auto test = RunCheck(make, "orphans");
        EXPECT_TRUE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), passText);
        EXPECT_EQ(conn->Sent().size(), 1u);
        EXPECT_EQ(conn->Errors().Count(), 0);
    }
}

// The console form of a failure block of the status log.
std::string FailureBlock(const std::string& name, const std::string& details) {
    std::string text =
        "\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\nTEST FAILED: " + name + "\nDetails: " + details + "\n";
    std::string console;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) {
            console.push_back(text[i]);
        }
    }
    return console;
}

TEST_P(ReferentialChecks, HeadlessRunPrintsTheFailureBlocksOfTheOrphanedEntries) {
    const std::string db = Database(layout(), "orphans");
    std::vector<std::string> args = {"--connect",        Cluster().ConnectionString(db),
                                     "--dbms",           testsupport::LayoutName(layout()),
                                     "--tessel-version", "9.0.0"};
    if (UsesDatabaseName(layout())) {
        args.insert(args.end(), {"--database", db});
    }
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(args, out, err);
    EXPECT_EQ(status, exit_code::kTestFailed) << err.str();

    const std::vector<OrphanCase> cases = OrphanCases();
    std::string expected = "\nNew Test Run started at <now>\n";
    expected +=
        FailureBlock("TABLE_REGISTRY entries exist as tables or views", cases[1].details(layout(), db));
    expected += FailureBlock("LAYERS entries exist as tables or views", cases[0].details(layout(), db));
    expected +=
        FailureBlock("RASTER_COLUMNS entries exist as tables or views", cases[2].details(layout(), db));
    if (layout() != Layout::Db2) {  // the GEOMETRY_COLUMNS check does not run on DB2
        expected +=
            FailureBlock("GEOMETRY_COLUMNS entries exist as tables or views", cases[3].details(layout(), db));
    }
    expected += "\nTest run finished at <now>\n";

    std::string log = out.str();
    log = std::regex_replace(log, std::regex("started at [^\n]+\n"), "started at <now>\n");
    log = std::regex_replace(log, std::regex("finished at [^\n]+\n"), "finished at <now>\n");
    EXPECT_EQ(log, expected);
}

INSTANTIATE_TEST_SUITE_P(Layouts, ReferentialChecks, ::testing::ValuesIn(kLayouts),
                         [](const ::testing::TestParamInfo<Layout>& info) {
                             return std::string(testsupport::LayoutName(info.param));
                         });

}  // namespace
}  // namespace tabvet
