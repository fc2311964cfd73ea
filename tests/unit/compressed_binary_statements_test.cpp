// The index analysis's statements and probe order, checked without a server: DBAs compare these texts with
// their server traces, and a probe sent in the wrong order or skipped wrongly changes every verdict.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "checks/compressed_binary_index_check.h"
#include "checks/compressed_binary_probes.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::Rows;
using testsupport::ScriptedAnswer;
using testsupport::ScriptedConnection;

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
