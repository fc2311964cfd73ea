// The index analysis against real PostgreSQL with the Oracle dictionary stand-ins, one database per situation
// (tests/fixtures/compressed_binary/*.sql), compared with the exact result text a DBA would read.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "checks/compressed_binary_index_check.h"
#include "db/odbc_connection.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::PgCluster;

const std::vector<std::string> kBase = {"tessel_schema.sql", "oracle_dictionary.sql",
                                        "compressed_binary/layer_builder.sql"};

std::string DatabaseFor(const std::string& situation) {
    return "cbidx_" + situation;
}

// The database of a situation: `base`, then the situation's own fixture.
void CreateSituation(const std::string& database, const std::string& situation,
                     std::vector<std::string> base = kBase) {
    base.push_back("compressed_binary/" + situation + ".sql");
    PgCluster::Shared().CreateDatabase(DatabaseFor(database), base);
}

// psqlODBC's message for a missing relation, as the connection's error list holds it.
std::string NoRelation(const std::string& relation) {
    return "\r\n>>>> Err#1: ERROR: relation \"" + relation +
           "\" does not exist;\nError while executing the query";
}

std::string Footer(const std::string& label) {
    return "\r\n(The previous errors were for layer " + label + ")";
}

struct Situation {
    const char* name;
    bool pass;
    std::string details;
};

const std::string kPassText =
    "\r\n\r\nAll tables and indexes that make up each compressed binary layer exist";

const std::vector<Situation> kSituations = {
    {"healthy_layers", true, kPassText},
    {"missing_feature_table", false,
     "\r\n\r\nError looking for table GIS.F12: " + NoRelation("gis.f12") + Footer("GIS.ROADS.SHAPE (#12)")},
    {"wrong_column_order", false,
     "\r\n\r\nError: Incorrectly configured index S12_IX1" + Footer("GIS.ROADS.SHAPE (#12)")},
    {"not_unique", false,
     "\r\n\r\nError: Incorrectly configured index F12_UK1" + Footer("GIS.ROADS.SHAPE (#12)")},
    {"descending_column", false,
     "\r\n\r\nError: Incorrectly configured index F12_AREA_IX2" + Footer("GIS.ROADS.SHAPE (#12)")},
    {"extra_column", false,
     "\r\n\r\nError: Incorrectly configured index F12_LEN_IX3" + Footer("GIS.ROADS.SHAPE (#12)")},
    {"load_only_without_spatial_index", true, kPassText},
    {"load_only_versioned", false,
     "\r\n\r\nError: Missing index D41_IDX2" + Footer("GIS.PARCELS.SHAPE (#13)")},
    {"versioned_missing_adds", false,
     "\r\n\r\nError looking for table GIS.A41: " + NoRelation("gis.a41") +
         "\r\n\r\nError: Missing index D41_IDX2" + Footer("GIS.PARCELS.SHAPE (#13)")},
    {"null_rowid_column", false,
     "\r\n\r\nError looking for table GIS.A41: \r\n>>>> Err#1: ERROR: syntax error at or near \"FROM\";\n"
     "Error while executing the query" +
         Footer("GIS.PARCELS.SHAPE (#13)")},
    {"lower_case_names", false,
     "\r\n\r\nError: Missing index A12_IX1\r\n\r\nError: Missing index R40_TSL_ROWID_UK"
     "\r\n\r\nError: Missing index F12_AREA_IX2\r\n\r\nError: Missing index F12_LEN_IX3"
     "\r\n\r\nError: Missing index F12_UK1\r\n\r\nError: Missing index S12_IX1\r\n\r\nError: Missing index "
     "S12_IX2"
     "\r\n\r\nError: Missing index A12_IX1_A\r\n\r\nError: Missing index A40_PK"
     "\r\n\r\nError: Missing index A40_ROWID_IX1\r\n\r\nError: Missing index A40_STATE_IX2"
     "\r\n\r\nError: Missing index D40_PK\r\n\r\nError: Missing index D40_IDX1\r\n\r\nError: Missing index "
     "D40_IDX2" +
         Footer("gis.roads.shape (#12)")},
    {"two_failing_layers", false,
     "\r\n\r\nError: Missing index F12_UK1" + Footer("GIS.ROADS.SHAPE (#12)") +
         "\r\n\r\nError: Missing index S14_IX2" + Footer("GIS.STREAMS.SHAPE (#14)")},
    {"no_compressed_binary_layers", true, "No rows match in LAYERS and TABLE_REGISTRY table"},
};

class CompressedBinaryCheckTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        for (const Situation& situation : kSituations) {
            CreateSituation(situation.name, situation.name);
        }
        CreateSituation("null_layer_id", "null_layer_id");
        // Without the stand-ins the walk itself cannot run; with only the views gone every index lookup
        // fails.
        CreateSituation("no_dictionary", "healthy_layers",
                        {"tessel_schema.sql", "compressed_binary/layer_builder.sql"});
        CreateSituation("no_views", "healthy_layers");
        PgCluster::Shared().Execute(DatabaseFor("no_views"),
                                    "DROP VIEW public.all_ind_columns; DROP VIEW public.all_indexes;");
    }

    void Connect(const std::string& situation) {
        ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString(DatabaseFor(situation)))) << situation;
    }

    CheckEnvironment env{dbtype::kOracle};
    clsTst_IdxLyrBinOra test{env};
    OdbcConnection conn;
};

TEST_F(CompressedBinaryCheckTest, EachSituationGivesItsExactResult) {
    for (const Situation& situation : kSituations) {
        SCOPED_TRACE(situation.name);
        Connect(situation.name);
        // A second run rebuilds the text rather than adding to it.
        for (int run = 0; run < 2; ++run) {
            test.Run(&conn);
            EXPECT_TRUE(test.WasRun());
            EXPECT_EQ(test.Pass(), situation.pass);
            EXPECT_EQ(test.ResultDetails(), situation.details);
        }
        EXPECT_TRUE(env.ui.shown.empty());
        conn.Close();
    }
}

TEST_F(CompressedBinaryCheckTest, NullLayerIdEndsTheRunWithTheConversionError) {
    Connect("null_layer_id");
    try {
        test.Run(&conn);
        FAIL() << "the NULL layer id was converted";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), errnum::kInvalidUseOfNull);
        EXPECT_EQ(e.Description(), "Invalid use of Null");
    }
    // The state of the moment the error escaped.
    EXPECT_TRUE(test.WasRun());
    EXPECT_TRUE(test.Pass());
    EXPECT_EQ(test.ResultDetails(), "");
}

TEST_F(CompressedBinaryCheckTest, FailedWalkIsReportedOnceAndClearsTheErrorList) {
    Connect("no_dictionary");
    test.Run(&conn);
    EXPECT_FALSE(test.Pass());
    EXPECT_EQ(
        test.ResultDetails(),
        "Errors selecting rows from LAYERS and TABLE_REGISTRY tables: \r\n\r\n>>>> Err#1: ERROR: function "
        "bitand(integer, integer) does not exist;\nError while executing the query");
    EXPECT_EQ(conn.Errors().Count(), 0);
}

TEST_F(CompressedBinaryCheckTest, UnreadableDictionaryFailsEveryIndexLookupButNotTheTables) {
    Connect("no_views");
    test.Run(&conn);
    EXPECT_FALSE(test.Pass());
    const std::string lookup = NoRelation("all_ind_columns");
    std::string expected;
    for (const char* index :
         {"A12_IX1", "R40_TSL_ROWID_UK", "F12_AREA_IX2", "F12_LEN_IX3", "F12_UK1", "S12_IX1", "S12_IX2"}) {
        expected += std::string("\r\n\r\nError looking for index ") + index + ": " + lookup;
    }
    expected += Footer("GIS.ROADS.SHAPE (#12)");
    for (const char* index :
         {"A13_IX1", "R41_TSL_ROWID_UK", "F13_AREA_IX2", "F13_LEN_IX3", "F13_UK1", "S13_IX1", "S13_IX2",
          "A13_IX1_A", "A41_PK", "A41_ROWID_IX1", "A41_STATE_IX2", "D41_PK", "D41_IDX1", "D41_IDX2"}) {
        expected += std::string("\r\n\r\nError looking for index ") + index + ": " + lookup;
    }
    expected += Footer("GIS.PARCELS.SHAPE (#13)");
    EXPECT_EQ(test.ResultDetails(), expected);
    // Probes leave the last error in the list; only a failed walk clears it.
    EXPECT_EQ(conn.Errors().Count(), 1);
}

}  // namespace
}  // namespace tabvet
