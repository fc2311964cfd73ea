// The checks on a scripted connection, printed into tests/fixtures/unit/checks.txt: every statement each
// check sends for each server type, its listings (reached only by a fresh cursor past its last row), limit
// lines, failures, and the probe order of the index analysis.
#include <gtest/gtest.h>

#include "checks/compressed_binary_index_check.h"
#include "checks/compressed_binary_probes.h"
#include "checks/cross_table_checks.h"
#include "checks/keyword_checks.h"
#include "checks/orphaned_entry_checks.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;
using Factory = std::function<std::unique_ptr<IAdoTest>(const TestEnvironment&)>;
using Table = std::vector<std::vector<FieldValue>>;

template <typename Check>
Factory Make() {
    return [](const TestEnvironment& environment) { return std::make_unique<Check>(environment); };
}

ScriptedAnswer AfterLast(std::size_t columns, Table rows) {
    ScriptedAnswer answer = Rows(columns, std::move(rows));
    answer.freshCursorAfterLast = true;
    return answer;
}

// Runs one check and prints what a DBA would see of it.
void Record(Transcript& t, IAdoTest& test, ScriptedConnection* conn, const CheckEnvironment& env) {
    t.Try("raised", [&] { test.Run(conn); });
    if (conn != nullptr) {
        for (const std::string& sql : conn->Sent()) {
            t.Line("sent", sql);
        }
        t.Line("error list", std::to_string(conn->Errors().Count()));
    }
    t.Boxes(env.ui);
    t.Line(test.Pass() ? "pass" : test.WasRun() ? "fail" : "fail, not run", test.ResultDetails());
}

using Answers = std::function<ScriptedAnswer(const std::string&)>;

Answers All(const ScriptedAnswer& answer) {
    return [answer](const std::string&) { return answer; };
}

// Starts a case and runs one check on it. Oracle names carry no database; the others use GISDB.
void RunCheck(Transcript& t, const std::string& label, const Factory& make, Answers answers,
              std::int32_t dbms = dbtype::kOracle) {
    t.Case(label);
    const CheckEnvironment env(dbms, dbms == dbtype::kOracle ? kNoDatabaseName : "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.AnswerOthers(std::move(answers));
    Record(t, *make(env), &conn, env);
}

const LayerValues kRoads{.owner = "GIS",
                         .tableName = "ROADS",
                         .spatialColumn = "SHAPE",
                         .rowIdColumn = "OBJECTID",
                         .layerId = 12,
                         .registrationId = 40};
const std::string kWalk = CompressedBinaryWalkStatement("TSL.LAYERS", "TSL.TABLE_REGISTRY");

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

struct Check {
    const char* name;
    Factory make;
    ScriptedAnswer listing;  // rows a failing check lists
};

std::vector<Check> Checks() {
    return {
        {"LAYERS in GEOMETRY_COLUMNS", Make<clsTst_LyrInGeomCol>(),
         AfterLast(3, {{"ROADS", "GIS", "GISDB"}, {" RIVERS ", " HYDRO", "OTHERDB "}})},
        {"GEOMETRY_COLUMNS in LAYERS (schema and table exchanged)", Make<clsTst_GeomColInLyr>(),
         AfterLast(3, {{"GIS", "ROADS", "GISDB"}})},
        {"LAYERS.SRID (NULLs in every piece)", Make<clsTst_LyrInSpatRef>(),
         AfterLast(4, {{"7", "GIS", "ROADS", "4326"},
                       {"8", std::nullopt, "RIVERS", std::nullopt},
                       {std::nullopt, "GIS", std::nullopt, "31467"}})},
        {"RASTER_COLUMNS.SRID", Make<clsTst_RasColInSpatRef>(),
         AfterLast(4, {{"3", "IMG", "ORTHO", "26910"}})},
        {"LAYERS in TABLE_REGISTRY", Make<clsTst_LyrInTblReg>(),
         AfterLast(3, {{"ROADS", "GIS", "GISDB"}, {"RIVERS", "HYDRO", "IMGDB"}})},
        {"RASTER_COLUMNS in TABLE_REGISTRY", Make<clsTst_RasColInTblReg>(),
         AfterLast(3, {{"ORTHO", "IMG", "IMGDB"}})},
        {"LAYERS keywords (NULL keyword and id add nothing)", Make<clsTst_LyrInDbtune>(),
         AfterLast(5, {{"7", "ROADS_KW", "ROADS", "GIS", "GISDB"},
                       {std::nullopt, std::nullopt, "RIVERS", "HYDRO", "GISDB"}})},
        {"RASTER_COLUMNS keywords", Make<clsTst_RasColInDbtune>(),
         AfterLast(5, {{"3", "RASTER_KW", "ORTHO", "IMG", "GISDB"}})},
        {"TABLE_REGISTRY keywords", Make<clsTst_TblRegInDbtune>(),
         AfterLast(5, {{"12", "DEFAULTS", "PARCELS", "CAD", "GISDB"}})},
        {"orphaned LAYERS", Make<clsTst_OrphLyr>(), AfterLast(4, {{"SHAPE", "ROADS", "GIS", "GISDB"}})},
        {"orphaned TABLE_REGISTRY", Make<clsTst_OrphTblReg>(),
         AfterLast(4, {{"OID", "ROADS", "GIS", "GISDB"}})},
        {"orphaned RASTER_COLUMNS", Make<clsTst_OrphRasCol>(),
         AfterLast(4, {{"R", "ORTHO", "IMG", "GISDB"}})},
        {"orphaned GEOMETRY_COLUMNS (fresh cursor at end: an empty table)", Make<clsTst_OrphGeomCol>(),
         AfterLast(4, {{"SHAPE", "ROADS", "GIS", "GISDB"}})},
        {"compressed-binary index analysis (fresh cursor at end: no layers)", Make<clsTst_IdxLyrBinOra>(),
         AfterLast(8, {WalkRow(kRoads, 16777216, 0)})},
    };
}

const std::pair<std::int32_t, const char*> kServerTypes[] = {{dbtype::kOracle, "Oracle"},
                                                             {dbtype::kDb2, "DB2"},
                                                             {dbtype::kSqlServer, "SQL Server"},
                                                             {dbtype::kInformix, "Informix"}};

TEST(Checks, StatementsListingsAndFailuresOfEveryCheckOnEveryServerType) {
    Transcript t("checks");
    for (const Check& check : Checks()) {
        for (const auto& [dbms, server] : kServerTypes) {
            RunCheck(t, std::string(check.name) + ", " + server + ", no rows", check.make, All(Rows(5, {})),
                     dbms);
            RunCheck(t, std::string(check.name) + ", " + server + ", listing", check.make, All(check.listing),
                     dbms);
        }
        RunCheck(t, std::string(check.name) + ", rows with the first one current", check.make,
                 All(Rows(5, {{"1", "2", "3", "4", "5"}, {"1", "2", "3", "4", "5"}})));
        RunCheck(
            t, std::string(check.name) + ", failing statement", check.make,
            All(Failure(
                {{1, "ERROR: relation \"tsl.tsl_dbtune\" does not exist;\nError while executing the query"},
                 {-2147217900, "second"}})),
            dbtype::kSqlServer);
        t.Case(std::string(check.name) + ", namer not set up");
        const CheckEnvironment unset;
        ScriptedConnection conn;
        conn.Open("");
        Record(t, *check.make(unset), &conn, unset);
        t.Case(std::string(check.name) + ", no connection, before and after a run");
        const CheckEnvironment env(dbtype::kOracle);
        auto test = check.make(env);
        Record(t, *test, nullptr, env);
        Record(t, *test, &conn, env);
        Record(t, *test, nullptr, env);
    }
}

Table Numbered(int count, int columns) {
    Table rows;
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i);
        rows.push_back(columns == 3 ? std::vector<FieldValue>{"T" + id, "GIS", "GISDB"}
                                    : std::vector<FieldValue>{id, "KW" + id, "R" + id, "IMG", "GISDB"});
    }
    return rows;
}

TEST(Checks, ListingsStopAtFiveWithTheLimitLineOfTheirLoopAndNullsEndTheRun) {
    Transcript t("checks_limits");
    for (const int count : {4, 5, 6}) {
        for (const auto& [name, make, columns] :
             {std::tuple{"LAYERS in TABLE_REGISTRY", Make<clsTst_LyrInTblReg>(), 3},
              {"RASTER_COLUMNS in TABLE_REGISTRY", Make<clsTst_RasColInTblReg>(), 3},
              {"RASTER_COLUMNS keywords", Make<clsTst_RasColInDbtune>(), 5}}) {
            RunCheck(t, std::string(name) + ", " + std::to_string(count) + " rows", make,
                     All(AfterLast(columns, Numbered(count, columns))), dbtype::kInformix);
        }
    }
    RunCheck(t, "NULL database name converted while listing, Oracle", Make<clsTst_LyrInGeomCol>(),
             All(AfterLast(3, {{"ROADS", "GIS", std::nullopt}})));
    RunCheck(t, "NULL owner in a keyword listing", Make<clsTst_TblRegInDbtune>(),
             All(AfterLast(5, {{"7", "KW", "ROADS", std::nullopt, "GISDB"}})), dbtype::kDb2);
    RunCheck(t, "NULL table name in a registry listing", Make<clsTst_RasColInTblReg>(),
             All(AfterLast(3, {{std::nullopt, "IMG", "GISDB"}})), dbtype::kDb2);

    t.Case("orphaned LAYERS, Informix: probes qualified with database and colon");
    const CheckEnvironment env(dbtype::kInformix, "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer("SELECT a.spatial_column, a.table_name, a.owner, a.database_name FROM GISDB:TSL.LAYERS a",
                Rows(4, {{"SHAPE", "ROADS", "GIS", "GISDB"}, {"GEOM", " RIVERS ", " HYDRO ", " OTHERDB "}}));
    conn.Answer("SELECT A.SHAPE FROM GISDB:GIS.ROADS A WHERE 1 = 2", Rows(1, {}));
    conn.AnswerOthers([](const std::string&) {
        return Failure({{-206, "The specified table (rivers) is not in the database."}});
    });
    clsTst_OrphLyr orphans(env);
    Record(t, orphans, &conn, env);
}

// The walk answered with `walk`, every probe with `others`.
Answers Walk(const ScriptedAnswer& walk, Answers others) {
    return [walk, others](const std::string& sql) { return sql == kWalk ? walk : others(sql); };
}

TEST(IndexAnalysis, ExpectedIndexesAndProbesFollowTheFlagsAndTheRowIdColumn) {
    Transcript t("index_analysis");
    for (const ExpectedIndex& index : ExpectedIndexes()) {
        t.Case(IndexName(index, kRoads) + " expects " + std::to_string(index.expectedScore));
        t.Line("query", IndexScoreQuery(index, kRoads));
    }
    LayerValues noRowId = kRoads;
    noRowId.rowIdColumn.clear();
    const auto missing = [](const std::string& sql) {
        return sql.ends_with("FROM DUAL") ? Rows(1, {{"0"}}) : Rows(1, {});
    };
    const struct {
        const char* label;
        const LayerValues& layer;
        std::int32_t eflags, objectFlags;
    } layers[] = {
        {"plain", kRoads, 16777216, 0},
        {"versioned", kRoads, 16777216, 8},
        {"load-only", kRoads, 16777216 | 1048576, 0},
        {"load-only versioned", kRoads, 16777216 | 1048576, 8},
        {"no row-id column", noRowId, 16777216, 0},
        {"versioned, no row-id column", noRowId, 16777216, 8},
    };
    for (const auto& c : layers) {
        RunCheck(t, std::string("probes of a ") + c.label + " layer, every index missing",
                 Make<clsTst_IdxLyrBinOra>(),
                 Walk(Rows(8, {WalkRow(c.layer, c.eflags, c.objectFlags)}), missing));
    }
    RunCheck(t, "lookup errors list every entry of the error list", Make<clsTst_IdxLyrBinOra>(),
             Walk(Rows(8, {WalkRow(kRoads, 16777216 | 1048576, 0)}),
                  All(Failure({{942, "table or view does not exist"}, {-2147217865, "second entry"}}))));
    RunCheck(t, "unreadable dictionary: one lookup error per index", Make<clsTst_IdxLyrBinOra>(),
             Walk(Rows(8, {WalkRow(kRoads, 16777216, 0)}), [](const std::string& sql) {
                 return sql.find("ALL_IND_COLUMNS") != std::string::npos ? Failure({{942, "no view"}})
                                                                         : Rows(1, {});
             }));
}

// Building 32768 real layers would take minutes; the count is the same whatever answers the probes.
TEST(IndexAnalysis, MoreLayersThanTheSixteenBitCountEndTheRunWithOverflow) {
    const CheckEnvironment env(dbtype::kOracle);
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
