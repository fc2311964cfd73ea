// The checks against a scripted connection: the exact statements they send (DBAs compare them with their
// server traces), the probe order of the index analysis, and the listings that only a fresh cursor past its
// last row (end-of-file without begin-of-file) reaches, a state no real driver gives.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "checks/compressed_binary_index_check.h"
#include "checks/compressed_binary_probes.h"
#include "checks/cross_table_checks.h"
#include "checks/keyword_checks.h"
#include "checks/orphaned_entry_checks.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::Failure;
using testsupport::Rows;
using testsupport::ScriptedAnswer;
using testsupport::ScriptedConnection;

using Factory = std::function<std::unique_ptr<IAdoTest>(const TestEnvironment&)>;

template <typename Check>
Factory Make() {
    return [](const TestEnvironment& environment) { return std::make_unique<Check>(environment); };
}

// Rows as the listing checks need them: end-of-file without begin-of-file right after opening.
ScriptedAnswer AfterLast(std::size_t columns, std::vector<std::vector<FieldValue>> rows) {
    ScriptedAnswer answer = Rows(columns, std::move(rows));
    answer.freshCursorAfterLast = true;
    return answer;
}

// One check run on a scripted connection that gives `answer` to every statement.
struct ScriptedRun {
    ScriptedRun(const Factory& make, const ScriptedAnswer& answer, std::int32_t dbms = dbtype::kOracle,
                const std::string& database = kNoDatabaseName)
        : environment(dbms, database), test(make(environment)) {
        conn.Open("");
        conn.AnswerOthers([answer](const std::string&) { return answer; });
    }
    IAdoTest& Run() {
        test->Run(&conn);
        return *test;
    }
    CheckEnvironment environment;
    ScriptedConnection conn;
    std::unique_ptr<IAdoTest> test;
};

std::vector<std::vector<FieldValue>> RegistryRows(int count) {
    std::vector<std::vector<FieldValue>> rows;
    for (int i = 1; i <= count; ++i) {
        rows.push_back({"T" + std::to_string(i), "GIS", "GISDB"});
    }
    return rows;
}

std::string RegistryEntries(int count) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
        text += ">>>> GISDB:GIS.T" + std::to_string(i) + "\r\n";
    }
    return text;
}

// ---------------------------------------------------------------------------------------------------------
// Exact statements, in both forms of UsesDatabaseName

struct StatementCase {
    const char* label;
    Factory make;
    std::int32_t dbms;
    const char* database;
    const char* statement;
};

TEST(ReferentialStatements, EachCheckSendsItsStatementInTheFormOfTheServerType) {
    const std::vector<StatementCase> cases = {
        {"LAYERS in GEOMETRY_COLUMNS, no database names", Make<clsTst_LyrInGeomCol>(), dbtype::kOracle,
         kNoDatabaseName,
         "SELECT a.table_name, a.owner, NULL FROM TSL.LAYERS a WHERE NOT EXISTS (SELECT 'x' FROM "
         "TSL.GEOMETRY_COLUMNS b WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)"},
        {"LAYERS in GEOMETRY_COLUMNS, database names", Make<clsTst_LyrInGeomCol>(), dbtype::kDb2, "GISDB",
         "SELECT a.table_name, a.owner, a.database_name FROM GISDB.TSL.LAYERS a WHERE NOT EXISTS (SELECT 'x' "
         "FROM GISDB.TSL.GEOMETRY_COLUMNS b WHERE a.database_name = b.f_table_catalog and a.owner = "
         "b.f_table_schema and a.table_name = b.f_table_name)"},
        {"GEOMETRY_COLUMNS in LAYERS, database names", Make<clsTst_GeomColInLyr>(), dbtype::kSqlServer,
         "GISDB",
         "SELECT b.f_table_schema, b.f_table_name, b.f_table_catalog FROM GISDB.TSL.tsl_GEOMETRY_COLUMNS b "
         "WHERE NOT EXISTS (SELECT 'x' FROM GISDB.TSL.tsl_LAYERS a WHERE a.database_name = b.f_table_catalog "
         "and a.owner = b.f_table_schema and a.table_name = b.f_table_name)"},
        {"RASTER_COLUMNS in TABLE_REGISTRY, database names", Make<clsTst_RasColInTblReg>(), dbtype::kDb2,
         "GISDB",
         "SELECT a.table_name, a.owner, a.database_name FROM GISDB.TSL.RASTER_COLUMNS a WHERE NOT EXISTS "
         "(SELECT 'x' FROM GISDB.TSL.TABLE_REGISTRY b WHERE a.table_name = b.table_name and a.owner = "
         "b.owner "
         "and a.database_name = b.database_name)"},
        {"LAYERS keywords, no database names", Make<clsTst_LyrInDbtune>(), dbtype::kOracle, kNoDatabaseName,
         "SELECT a.layer_id, a.layer_config, a.table_name, a.owner, NULL FROM TSL.LAYERS a WHERE NOT EXISTS "
         "(SELECT 'x' FROM TSL.DBTUNE b WHERE a.layer_config = b.keyword)"},
        {"LAYERS rows, no database names", Make<clsTst_OrphLyr>(), dbtype::kOracle, kNoDatabaseName,
         "SELECT a.spatial_column, a.table_name, a.owner  FROM TSL.LAYERS a"},
        {"LAYERS rows, database names", Make<clsTst_OrphLyr>(), dbtype::kSqlServer, "GISDB",
         "SELECT a.spatial_column, a.table_name, a.owner, a.database_name FROM GISDB.TSL.tsl_LAYERS a"},
        {"TABLE_REGISTRY rows, no database names", Make<clsTst_OrphTblReg>(), dbtype::kOracle,
         kNoDatabaseName, "SELECT a.rowid_column, a.table_name, a.owner  FROM TSL.TABLE_REGISTRY a"},
    };
    for (const StatementCase& c : cases) {
        SCOPED_TRACE(c.label);
        ScriptedRun run(c.make, Rows(5, {}), c.dbms, c.database);
        EXPECT_TRUE(run.Run().Pass());
        EXPECT_EQ(run.conn.Sent(), std::vector<std::string>{c.statement});
    }
}

// ---------------------------------------------------------------------------------------------------------
// Listings of the cross-table and keyword checks

struct ListingCase {
    const char* label;
    Factory make;
    std::int32_t dbms;
    const char* database;
    ScriptedAnswer rows;
    std::string details;
};

TEST(MembershipListing, RowsAreListedWithTheEntryFormatOfEachCheck) {
    const std::vector<ListingCase> cases = {
        {"LAYERS in GEOMETRY_COLUMNS names each layer's table", Make<clsTst_LyrInGeomCol>(),
         dbtype::kInformix, "GISDB",
         AfterLast(3, {{"ROADS", "GIS", "GISDB"}, {" RIVERS ", " HYDRO", "OTHERDB "}}),
         "Some LAYERS entries are not in GEOMETRY_COLUMNS\r\n>>>> GISDB:GIS.ROADS\r\n>>>> "
         "OTHERDB:HYDRO.RIVERS\r\n"},
        {"GEOMETRY_COLUMNS in LAYERS names schema and table in each other's place",
         Make<clsTst_GeomColInLyr>(), dbtype::kSqlServer, "GISDB", AfterLast(3, {{"GIS", "ROADS", "GISDB"}}),
         "Some GEOMETRY_COLUMNS entries are not in LAYERS\r\n>>>> GISDB.ROADS.GIS\r\n"},
        {"LAYERS.SRID tolerates NULLs in every piece", Make<clsTst_LyrInSpatRef>(), dbtype::kOracle,
         kNoDatabaseName,
         AfterLast(4, {{"7", "GIS", "ROADS", "4326"},
                       {"8", std::nullopt, "RIVERS", std::nullopt},
                       {std::nullopt, "GIS", std::nullopt, "31467"}}),
         "Some LAYERS.SRID entries are not in SPATIAL_REFERENCES\r\n>>>> SRID = 4326 in layer_id #7 : "
         "GIS.ROADS\r\n>>>> SRID =  in layer_id #8 : .RIVERS\r\n>>>> SRID = 31467 in layer_id # : GIS.\r\n"},
        {"RASTER_COLUMNS.SRID names the raster column id", Make<clsTst_RasColInSpatRef>(), dbtype::kDb2,
         "GISDB", AfterLast(4, {{"3", "IMG", "ORTHO", "26910"}}),
         "Some RASTER_COLUMNS.SRID entries are not in SPATIAL_REFERENCES\r\n>>>> SRID = 26910 in "
         "RASTERCOLUMN_ID #3 : IMG.ORTHO\r\n"},
        {"LAYERS in TABLE_REGISTRY without database names", Make<clsTst_LyrInTblReg>(), dbtype::kOracle,
         kNoDatabaseName, AfterLast(2, {{"ROADS", "GIS"}, {"RIVERS", "HYDRO"}}),
         "Some LAYERS entries are not in TABLE_REGISTRY\r\n>>>> GIS.ROADS\r\n>>>> HYDRO.RIVERS\r\n"},
        {"RASTER_COLUMNS in TABLE_REGISTRY with the row's database", Make<clsTst_RasColInTblReg>(),
         dbtype::kInformix, "GISDB", AfterLast(3, {{"ORTHO", "IMG", "IMGDB"}}),
         "Some RASTER_COLUMNS entries are not in TABLE_REGISTRY\r\n>>>> IMGDB:IMG.ORTHO\r\n"},
        {"LAYERS keywords, NULL keyword and id add nothing", Make<clsTst_LyrInDbtune>(), dbtype::kInformix,
         "GISDB",
         AfterLast(5, {{"7", "ROADS_KW", "ROADS", "GIS", "GISDB"},
                       {std::nullopt, std::nullopt, "RIVERS", "HYDRO", "GISDB"}}),
         "Some LAYERS.CONFIG_KEYWORD entries are not in DBTUNE\r\n>>>> CONFIG_KEYWORD = ROADS_KW in layer_id "
         "#7 : "
         "GISDB:GIS.ROADS\r\n>>>> CONFIG_KEYWORD =  in layer_id # : GISDB:HYDRO.RIVERS\r\n"},
        {"RASTER_COLUMNS keywords", Make<clsTst_RasColInDbtune>(), dbtype::kSqlServer, "GISDB",
         AfterLast(5, {{"3", "RASTER_KW", "ORTHO", "IMG", "GISDB"}}),
         "Some RASTER_COLUMNS.CONFIG_KEYWORD entries are not in DBTUNE\r\n>>>> CONFIG_KEYWORD = RASTER_KW in "
         "rastercolumn_id #3 : GISDB.IMG.ORTHO\r\n"},
        {"TABLE_REGISTRY keywords say reg_id", Make<clsTst_TblRegInDbtune>(), dbtype::kDb2, "GISDB",
         AfterLast(5, {{"12", "DEFAULTS", "PARCELS", "CAD", "GISDB"}}),
         "Some TABLE_REGISTRY.CONFIG_KEYWORD entries are not in DBTUNE\r\n>>>> CONFIG_KEYWORD = DEFAULTS in "
         "reg_id #12 : GISDB.CAD.PARCELS\r\n"},
    };
    for (const ListingCase& c : cases) {
        SCOPED_TRACE(c.label);
        ScriptedRun run(c.make, c.rows, c.dbms, c.database);
        EXPECT_EQ(run.Run().ResultDetails(), c.details);
        EXPECT_FALSE(run.test->Pass());
        EXPECT_EQ(run.conn.Sent().size(), 1u);
    }
}

std::vector<std::vector<FieldValue>> KeywordRows(int count) {
    std::vector<std::vector<FieldValue>> rows;
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i);
        rows.push_back({id, "KW" + id, "R" + id, "IMG", "GISDB"});
    }
    return rows;
}

TEST(MembershipListing, ListingsStopAtFiveWithTheLimitLineOfTheirLoopAlsoWhenTheFifthRowIsTheLast) {
    const std::string countedFirst = "\r\n(Report limit (5) reached. There may be more errors.)";
    const std::string countedAfter = ">>>> (Report limit reached. There may be others...)\r\n";
    std::string keywords = "Some RASTER_COLUMNS.CONFIG_KEYWORD entries are not in DBTUNE\r\n";
    for (int i = 1; i <= 5; ++i) {
        const std::string id = std::to_string(i);
        keywords +=
            ">>>> CONFIG_KEYWORD = KW" + id + " in rastercolumn_id #" + id + " : GISDB:IMG.R" + id + "\r\n";
    }
    const std::string lyr = "Some LAYERS entries are not in TABLE_REGISTRY\r\n";
    const std::string ras = "Some RASTER_COLUMNS entries are not in TABLE_REGISTRY\r\n";
    const struct {
        Factory make;
        ScriptedAnswer rows;
        std::string details;
    } cases[] = {
        {Make<clsTst_LyrInTblReg>(), AfterLast(3, RegistryRows(4)), lyr + RegistryEntries(4)},
        {Make<clsTst_LyrInTblReg>(), AfterLast(3, RegistryRows(5)), lyr + RegistryEntries(5) + countedFirst},
        {Make<clsTst_RasColInTblReg>(), AfterLast(3, RegistryRows(5)),
         ras + RegistryEntries(5) + countedAfter},
        {Make<clsTst_RasColInDbtune>(), AfterLast(5, KeywordRows(5)), keywords + countedAfter},
        {Make<clsTst_RasColInDbtune>(), AfterLast(5, KeywordRows(6)), keywords + countedAfter},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.details);
        ScriptedRun run(c.make, c.rows, dbtype::kInformix, "GISDB");
        EXPECT_EQ(run.Run().ResultDetails(), c.details);
        EXPECT_FALSE(run.test->Pass());
    }
}

// ---------------------------------------------------------------------------------------------------------
// The verdict rule of the fresh cursor, failures and the untrapped conversions

std::vector<std::pair<Factory, std::string>> MembershipChecksWithPassTexts() {
    return {
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
}

TEST(MembershipVerdict, EachCheckPassesFailsAndRefusesLikeTheOthers) {
    const std::string error =
        "ERROR: relation \"tsl.tsl_dbtune\" does not exist;\nError while executing the query";
    for (const auto& [make, passText] : MembershipChecksWithPassTexts()) {
        SCOPED_TRACE(passText);
        // Rows with the first row current, or no rows: both pass.
        for (const ScriptedAnswer& cursor :
             {Rows(5, {{"1", "2", "3", "4", "5"}, {"1", "2", "3", "4", "5"}}), Rows(5, {})}) {
            ScriptedRun run(make, cursor);
            EXPECT_TRUE(run.Run().Pass());
            EXPECT_EQ(run.test->ResultDetails(), passText);
        }

        // A failing statement is reported once, and its errors stay in the list.
        ScriptedRun failing(make, Failure({{1, error}, {-2147217900, "second"}}), dbtype::kSqlServer,
                            "GISDB");
        EXPECT_FALSE(failing.Run().Pass());
        EXPECT_EQ(failing.test->ResultDetails(),
                  "Errors: \r\n>>>> Err#1: " + error + "\r\n>>>> Err#-2147217900: second");
        EXPECT_EQ(failing.conn.Errors().Count(), 2);

        // Untranslatable names send nothing.
        const CheckEnvironment unset;
        ScriptedConnection conn;
        conn.Open("");
        auto untranslated = make(unset);
        untranslated->Run(&conn);
        EXPECT_FALSE(untranslated->Pass());
        EXPECT_TRUE(untranslated->WasRun());
        EXPECT_EQ(untranslated->ResultDetails(), "Cannot translate system table names");
        EXPECT_TRUE(conn.Sent().empty());
        EXPECT_EQ(unset.ui.Lines(),
                  (std::vector<std::string>{"Call Out Of Sequence: Must call clsQualDbObjName.Setup first",
                                            "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"}));

        // No connection: a failure, but WasRun is left as it was.
        ScriptedRun passed(make, Rows(5, {}));
        for (const bool ranBefore : {false, true}) {
            if (ranBefore) {
                ASSERT_TRUE(passed.Run().Pass());
            }
            passed.test->Run(nullptr);
            EXPECT_EQ(passed.test->WasRun(), ranBefore);
            EXPECT_FALSE(passed.test->Pass());
            EXPECT_EQ(passed.test->ResultDetails(), "No ADO connection passed to test");
        }
    }
}

struct EscapeCase {
    const char* label;
    Factory make;
    std::int32_t dbms;
    ScriptedAnswer rows;
};

TEST(MembershipVerdict, NullsConvertedWhileListingEndTheRun) {
    const std::vector<EscapeCase> cases = {
        {"LAYERS in GEOMETRY_COLUMNS: the literal NULL without database names", Make<clsTst_LyrInGeomCol>(),
         dbtype::kOracle, AfterLast(3, {{"ROADS", "GIS", std::nullopt}})},
        {"TABLE_REGISTRY keywords: a NULL owner", Make<clsTst_TblRegInDbtune>(), dbtype::kDb2,
         AfterLast(5, {{"7", "KW", "ROADS", std::nullopt, "GISDB"}})},
        {"RASTER_COLUMNS in TABLE_REGISTRY: a NULL table name", Make<clsTst_RasColInTblReg>(), dbtype::kDb2,
         AfterLast(3, {{std::nullopt, "IMG", "GISDB"}})},
    };
    for (const EscapeCase& c : cases) {
        SCOPED_TRACE(c.label);
        ScriptedRun run(c.make, c.rows, c.dbms, "GISDB");
        try {
            run.Run();
            ADD_FAILURE() << "the conversion error did not leave Run";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), errnum::kInvalidUseOfNull);
            EXPECT_STREQ(e.what(), "Invalid use of Null");
        }
        EXPECT_TRUE(run.test->WasRun());
        EXPECT_FALSE(run.test->Pass());
    }
}

// ---------------------------------------------------------------------------------------------------------
// Orphaned entries: Informix naming and the cursor states no real driver gives

TEST(OrphanedEntries, InformixProbesQualifyTablesWithDatabaseAndColon) {
    const CheckEnvironment environment(dbtype::kInformix, "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer("SELECT a.spatial_column, a.table_name, a.owner, a.database_name FROM GISDB:TSL.LAYERS a",
                Rows(4, {{"SHAPE", "ROADS", "GIS", "GISDB"}, {"GEOM", " RIVERS ", " HYDRO ", " OTHERDB "}}));
    conn.Answer("SELECT A.SHAPE FROM GISDB:GIS.ROADS A WHERE 1 = 2", Rows(1, {}));
    conn.Answer("SELECT A.GEOM FROM OTHERDB:HYDRO.RIVERS A WHERE 1 = 2",
                Failure({{-206, "The specified table (rivers) is not in the database."}}));
    clsTst_OrphLyr test(environment);
    test.Run(&conn);
    EXPECT_EQ(conn.Sent().size(), 3u);
    EXPECT_FALSE(test.Pass());
    EXPECT_EQ(
        test.ResultDetails(),
        "\r\n\r\nError looking for OTHERDB:HYDRO.RIVERS: \r\n>>>> Err#-206: The specified table (rivers) is "
        "not in the database.");
    EXPECT_EQ(conn.Errors().Count(), 0);
}

TEST(OrphanedEntries, AFreshCursorPastItsLastRowCountsAsAnEmptyTable) {
    ScriptedRun run(Make<clsTst_OrphGeomCol>(), AfterLast(3, {{"SHAPE", "ROADS", "GIS"}}));
    EXPECT_TRUE(run.Run().Pass());
    EXPECT_EQ(run.test->ResultDetails(), "No rows in GEOMETRY_COLUMNS table");
    EXPECT_EQ(run.conn.Sent().size(), 1u);
}

TEST(OrphanedEntries, UntranslatableNameSendsNothingAndSaysSo) {
    const std::vector<Factory> checks = {Make<clsTst_OrphLyr>(), Make<clsTst_OrphTblReg>(),
                                         Make<clsTst_OrphRasCol>(), Make<clsTst_OrphGeomCol>()};
    for (const Factory& make : checks) {
        const CheckEnvironment environment;
        ScriptedConnection conn;
        conn.Open("");
        auto test = make(environment);
        test->Run(&conn);
        SCOPED_TRACE(test->Name());
        EXPECT_FALSE(test->Pass());
        EXPECT_TRUE(test->WasRun());
        EXPECT_EQ(test->ResultDetails(), "Cannot translate system table name");
        EXPECT_TRUE(conn.Sent().empty());
        EXPECT_EQ(environment.ui.shown.size(), 1u);
    }
}

const LayerValues kRoads{.owner = "GIS",
                         .tableName = "ROADS",
                         .spatialColumn = "SHAPE",
                         .rowIdColumn = "OBJECTID",
                         .layerId = 12,
                         .registrationId = 40};

const ExpectedIndex& IndexNamed(const std::string& name, const LayerValues& layer) {
    for (const ExpectedIndex& index : ExpectedIndexes()) {
        if (IndexName(index, layer) == name) {
            return index;
        }
    }
    throw std::runtime_error("no expected index " + name);
}

TEST(CompressedBinaryStatementsTest, WalkStatementKeepsItsTwoBlanksAndNoTrailingBlank) {
    EXPECT_EQ(
        CompressedBinaryWalkStatement("TSL.LAYERS", "TSL.TABLE_REGISTRY"),
        "SELECT l.spatial_column, l.table_name, l.owner, l.layer_id,  l.eflags, t.registration_id, "
        "t.object_flags, t.rowid_column FROM TSL.LAYERS l, TSL.TABLE_REGISTRY t where l.owner = t.owner "
        "and l.table_name = t.table_name and bitand(l.eflags,16777216)+0 <> 0");
}

TEST(CompressedBinaryStatementsTest, EachQueryFormIsSpeltExactly) {
    struct Case {
        const char* index;
        const char* sql;
        std::int32_t expectedScore;
    };
    const Case cases[] = {
        // Spaced with uniqueness term: the worked example of the layer's spatial-column index.
        {"A12_IX1",
         "SELECT (SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'A12_IX1' "
         "AND "
         "TABLE_NAME = 'ROADS' AND COLUMN_NAME = 'SHAPE' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "
         "((SELECT "
         "COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'A12_IX1' AND TABLE_NAME "
         "= "
         "'ROADS') * 100) + ((SELECT COUNT(*) FROM ALL_INDEXES  WHERE OWNER = 'GIS' AND INDEX_NAME = "
         "'A12_IX1' "
         "AND TABLE_NAME = 'ROADS' AND UNIQUENESS = 'UNIQUE') * 10000 ) FROM DUAL",
         10101},
        // Spaced without uniqueness term: two blanks before FROM DUAL.
        {"F12_AREA_IX2",
         "SELECT (SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = "
         "'F12_AREA_IX2' "
         "AND TABLE_NAME = 'F12' AND COLUMN_NAME = 'AREA' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "
         "((SELECT "
         "COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'F12_AREA_IX2' AND "
         "TABLE_NAME "
         "= 'F12') * 100)  FROM DUAL",
         101},
        // Compact, with the row-id column in its condition and the column term in the spaced style.
        {"A40_PK",
         "SELECT (SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER='GIS' AND INDEX_NAME='A40_PK' AND "
         "TABLE_NAME='A40' AND ( (COLUMN_NAME='TSL_STATE_ID' AND COLUMN_POSITION=1 AND DESCEND='ASC')  OR  "
         "(COLUMN_NAME='OBJECTID' AND COLUMN_POSITION=2 AND DESCEND='ASC') )) + ((SELECT COUNT(*) FROM "
         "ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'A40_PK' AND TABLE_NAME = 'A40') * 100) "
         " + "
         "((SELECT COUNT(*) FROM ALL_INDEXES  WHERE OWNER='GIS' AND INDEX_NAME='A40_PK' AND TABLE_NAME='A40' "
         "AND "
         "UNIQUENESS='UNIQUE') * 10000 ) FROM DUAL",
         10202},
    };
    for (const Case& c : cases) {
        const ExpectedIndex& index = IndexNamed(c.index, kRoads);
        EXPECT_EQ(IndexScoreQuery(index, kRoads), c.sql) << c.index;
        EXPECT_EQ(index.expectedScore, c.expectedScore) << c.index;
    }
}

TEST(CompressedBinaryStatementsTest, ExistenceProbesSelectTheColumnsTheFormatNeeds) {
    LayerValues noRowId = kRoads;
    noRowId.rowIdColumn.clear();
    struct Case {
        ExistenceStep step;
        const LayerValues& layer;
        const char* sql;
    };
    const Case cases[] = {
        {ExistenceStep::FeatureTableExists, kRoads,
         "SELECT A.FID, A.NUMOFPTS, A.ENTITY, A.EMINX, A.EMINY, A.EMAXX, A.EMAXY, A.EMINZ, A.EMAXZ, "
         "A.MIN_MEASURE, A.MAX_MEASURE, A.AREA, A.LEN, A.POINTS FROM GIS.F12 A WHERE 1 = 2"},
        {ExistenceStep::AddsTableExists, kRoads, "SELECT TSL_STATE_ID, OBJECTID FROM GIS.A40 WHERE 1 = 2"},
        // Without a row-id column the statement cannot parse; that failure is the report.
        {ExistenceStep::AddsTableExists, noRowId, "SELECT TSL_STATE_ID,  FROM GIS.A40 WHERE 1 = 2"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ExistenceQuery(ExistenceProbeFor(c.step), c.layer), c.sql);
    }
}

// A walk row in the order of the walk's select list.
std::vector<FieldValue> WalkRow(const LayerValues& layer, std::int32_t eflags, std::int32_t objectFlags) {
    return {layer.spatialColumn,
            layer.tableName,
            layer.owner,
            std::to_string(layer.layerId),
            std::to_string(eflags),
            std::to_string(layer.registrationId),
            std::to_string(objectFlags),
            layer.rowIdColumn.empty() ? FieldValue{} : FieldValue{layer.rowIdColumn}};
}

const std::string kWalk = CompressedBinaryWalkStatement("TSL.LAYERS", "TSL.TABLE_REGISTRY");

// What a statement probed: "exists GIS.F12" for an existence probe, the index name for an index probe.
std::string ProbeTag(const std::string& sql) {
    if (sql == kWalk) {
        return "walk";
    }
    const std::string indexMarker = "INDEX_NAME = '";
    if (const auto at = sql.find(indexMarker); at != std::string::npos && sql.ends_with("FROM DUAL")) {
        const auto start = at + indexMarker.size();
        return sql.substr(start, sql.find('\'', start) - start);
    }
    const auto from = sql.rfind("FROM ");
    const auto end = sql.find(' ', from + 5);
    return "exists " + sql.substr(from + 5, end - from - 5);
}

// Probes sent for one layer, with every side table present and every index scored 0 (missing).
std::vector<std::string> ProbesFor(const LayerValues& layer, std::int32_t eflags, std::int32_t objectFlags) {
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer(kWalk, Rows(8, {WalkRow(layer, eflags, objectFlags)}));
    conn.AnswerOthers(
        [](const std::string& sql) { return sql.ends_with("FROM DUAL") ? Rows(1, {{"0"}}) : Rows(1, {}); });
    CheckEnvironment env(dbtype::kOracle);
    clsTst_IdxLyrBinOra test(env);
    test.Run(&conn);
    std::vector<std::string> tags;
    for (const std::string& sql : conn.Sent()) {
        tags.push_back(ProbeTag(sql));
    }
    return tags;
}

TEST(CompressedBinaryProbeOrder, PerLayerStepsFollowTheFlagsAndTheRowIdColumn) {
    const std::vector<std::string> business = {"A12_IX1", "R40_TSL_ROWID_UK"};
    const std::vector<std::string> feature = {"exists GIS.F12", "F12_AREA_IX2", "F12_LEN_IX3", "F12_UK1"};
    const std::vector<std::string> spatial = {"exists GIS.S12", "S12_IX1", "S12_IX2"};
    const std::vector<std::string> versions = {"exists GIS.A40", "A12_IX1_A",     "A40_PK",
                                               "A40_ROWID_IX1",  "A40_STATE_IX2", "exists GIS.D40",
                                               "D40_PK",         "D40_IDX1",      "D40_IDX2"};
    auto join = [](std::initializer_list<std::vector<std::string>> parts) {
        std::vector<std::string> all{"walk"};
        for (const auto& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    };
    LayerValues noRowId = kRoads;
    noRowId.rowIdColumn.clear();
    const struct {
        const char* label;
        const LayerValues& layer;
        std::int32_t eflags, objectFlags;
        std::vector<std::string> probes;
    } cases[] = {
        {"plain", kRoads, 16777216, 0, join({business, feature, spatial})},
        {"versioned", kRoads, 16777216, 8, join({business, feature, spatial, versions})},
        {"load-only", kRoads, 16777216 | 1048576, 0, join({{"exists GIS.F12"}})},
        {"load-only versioned", kRoads, 16777216 | 1048576, 8, join({{"exists GIS.F12"}, versions})},
        {"no row-id column", noRowId, 16777216, 0, join({{"A12_IX1"}, feature, spatial})},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ProbesFor(c.layer, c.eflags, c.objectFlags), c.probes) << c.label;
    }
}

TEST(CompressedBinaryRunTest, WithoutConnectionOrServerTypeNothingIsSent) {
    CheckEnvironment env(dbtype::kOracle);
    clsTst_IdxLyrBinOra test(env);
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer(kWalk, Rows(8, {}));
    for (const bool ranBefore : {false, true}) {
        if (ranBefore) {
            test.Run(&conn);
            ASSERT_TRUE(test.Pass());
        }
        test.Run(nullptr);
        EXPECT_EQ(test.WasRun(), ranBefore);
        EXPECT_FALSE(test.Pass());
        EXPECT_EQ(test.ResultDetails(), "No ADO connection passed to test");
    }

    CheckEnvironment unset;
    ScriptedConnection silent;
    silent.Open("");
    clsTst_IdxLyrBinOra untranslated(unset);
    untranslated.Run(&silent);
    EXPECT_TRUE(untranslated.WasRun());
    EXPECT_FALSE(untranslated.Pass());
    EXPECT_EQ(untranslated.ResultDetails(), "Cannot translate system table name for LAYERS");
    EXPECT_TRUE(silent.Sent().empty());
    EXPECT_EQ(unset.ui.Lines(),
              (std::vector<std::string>{"Call Out Of Sequence: Must call clsQualDbObjName.Setup first"}));
}

// Old providers could hand out a fresh cursor past its last row; no driver of ours does.
TEST(CompressedBinaryRunTest, FreshCursorAtEndCountsAsNoLayers) {
    CheckEnvironment env(dbtype::kOracle);
    ScriptedConnection conn;
    conn.Open("");
    ScriptedAnswer atEnd = Rows(8, {WalkRow(kRoads, 16777216, 0)});
    atEnd.freshCursorAfterLast = true;
    conn.Answer(kWalk, atEnd);
    clsTst_IdxLyrBinOra test(env);
    test.Run(&conn);
    EXPECT_TRUE(test.Pass());
    EXPECT_EQ(test.ResultDetails(), "No rows match in LAYERS and TABLE_REGISTRY table");
    EXPECT_EQ(conn.Sent().size(), 1u);
}

// psqlODBC reports one record per failure; the formatter must still list every entry a driver gives.
TEST(CompressedBinaryRunTest, LookupErrorsListEveryEntryOfTheErrorList) {
    CheckEnvironment env(dbtype::kOracle);
    ScriptedConnection conn;
    conn.Open("");
    LayerValues layer = kRoads;
    conn.Answer(kWalk, Rows(8, {WalkRow(layer, 16777216 | 1048576, 0)}));
    conn.AnswerOthers([](const std::string&) {
        return testsupport::Failure({{942, "table or view does not exist"}, {-2147217865, "second entry"}});
    });
    clsTst_IdxLyrBinOra test(env);
    test.Run(&conn);
    EXPECT_FALSE(test.Pass());
    EXPECT_EQ(
        test.ResultDetails(),
        "\r\n\r\nError looking for table GIS.F12: \r\n>>>> Err#942: table or view does not exist\r\n"
        ">>>> Err#-2147217865: second entry\r\n(The previous errors were for layer GIS.ROADS.SHAPE (#12))");
    EXPECT_TRUE(env.ui.shown.empty());
}

// A server without the dictionary views: every index probe of a plain layer is a lookup error, in probe
// order, while the side tables themselves are found.
TEST(CompressedBinaryRunTest, UnreadableDictionaryGivesOneLookupErrorPerIndex) {
    CheckEnvironment env(dbtype::kOracle);
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer(kWalk, Rows(8, {WalkRow(kRoads, 16777216, 0)}));
    conn.AnswerOthers([](const std::string& sql) {
        return sql.find("ALL_IND_COLUMNS") != std::string::npos ? testsupport::Failure({{942, "no view"}})
                                                                : Rows(1, {});
    });
    clsTst_IdxLyrBinOra test(env);
    test.Run(&conn);
    std::string expected;
    for (const char* index :
         {"A12_IX1", "R40_TSL_ROWID_UK", "F12_AREA_IX2", "F12_LEN_IX3", "F12_UK1", "S12_IX1", "S12_IX2"}) {
        expected += std::string("\r\n\r\nError looking for index ") + index + ": \r\n>>>> Err#942: no view";
    }
    expected += "\r\n(The previous errors were for layer GIS.ROADS.SHAPE (#12))";
    EXPECT_FALSE(test.Pass());
    EXPECT_EQ(test.ResultDetails(), expected);
}

// Building 32768 real layers would take minutes; the count is the same whatever answers the probes.
TEST(CompressedBinaryRunTest, MoreLayersThanTheSixteenBitCountEndTheRunWithOverflow) {
    CheckEnvironment env(dbtype::kOracle);
    ScriptedConnection conn;
    conn.Open("");
    std::vector<std::vector<FieldValue>> rows;
    for (std::int32_t id = 1; id <= 32768; ++id) {
        LayerValues layer = kRoads;
        layer.layerId = id;
        rows.push_back(WalkRow(layer, 16777216 | 1048576, 0));  // load-only: one probe per layer
    }
    conn.Answer(kWalk, Rows(8, std::move(rows)));
    conn.AnswerOthers([](const std::string&) { return Rows(1, {}); });
    clsTst_IdxLyrBinOra test(env);
    try {
        test.Run(&conn);
        FAIL() << "the walk's count did not overflow";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), errnum::kOverflow);
    }
    EXPECT_EQ(conn.Sent().size(), 1u + 32767u);
}

}  // namespace
}  // namespace tabvet
