// The index analysis against real PostgreSQL with the Oracle dictionary stand-ins, one database per situation
// (tests/fixtures/compressed_binary/*.sql), compared with the exact result text a DBA would read.
#include <gtest/gtest.h>

#include "checks/compressed_binary_index_check.h"
#include "db/odbc_connection.h"
#include "db/runtime_error.h"
#include "support/check_environment.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

const std::vector<std::string> kBase = {"tessel_schema.sql", "oracle_dictionary.sql",
                                        "compressed_binary/layer_builder.sql"};

// The database of a situation: `base`, then the situation's own fixture.
void CreateSituation(const std::string& database, const std::string& situation,
                     std::vector<std::string> base = kBase) {
    base.push_back("compressed_binary/" + situation + ".sql");
    PgCluster::Shared().CreateDatabase("cbidx_" + database, base);
}

// psqlODBC's message for a missing relation, as the connection's error list holds it.
std::string NoRelation(const std::string& relation) {
    return "\r\n>>>> Err#1: ERROR: relation \"" + relation +
           "\" does not exist;\nError while executing the query";
}

std::string Footer(const std::string& label) {
    return "\r\n(The previous errors were for layer " + label + ")";
}

// One finding of the analysis, as the result text lists it.
std::string Found(const std::string& finding) {
    return "\r\n\r\nError: " + finding;
}

const std::string kRoads = Footer("GIS.ROADS.SHAPE (#12)");
const std::string kParcels = Footer("GIS.PARCELS.SHAPE (#13)");
const std::string kPassText =
    "\r\n\r\nAll tables and indexes that make up each compressed binary layer exist";

const struct Situation {
    const char* name;
    bool pass;
    std::string details;
} kSituations[] = {
    {"healthy_layers", true, kPassText},
    {"missing_feature_table", false,
     "\r\n\r\nError looking for table GIS.F12: " + NoRelation("gis.f12") + kRoads},
    {"wrong_column_order", false, Found("Incorrectly configured index S12_IX1") + kRoads},
    {"not_unique", false, Found("Incorrectly configured index F12_UK1") + kRoads},
    {"descending_column", false, Found("Incorrectly configured index F12_AREA_IX2") + kRoads},
    {"extra_column", false, Found("Incorrectly configured index F12_LEN_IX3") + kRoads},
    {"load_only_without_spatial_index", true, kPassText},
    {"load_only_versioned", false, Found("Missing index D41_IDX2") + kParcels},
    {"versioned_missing_adds", false,
     "\r\n\r\nError looking for table GIS.A41: " + NoRelation("gis.a41") + Found("Missing index D41_IDX2") +
         kParcels},
    {"null_rowid_column", false,
     "\r\n\r\nError looking for table GIS.A41: \r\n>>>> Err#1: ERROR: syntax error at or near \"FROM\";\n"
     "Error while executing the query" +
         kParcels},
    {"lower_case_names", false,
     Found("Missing index A12_IX1") + Found("Missing index R40_TSL_ROWID_UK") +
         Found("Missing index F12_AREA_IX2") + Found("Missing index F12_LEN_IX3") +
         Found("Missing index F12_UK1") + Found("Missing index S12_IX1") + Found("Missing index S12_IX2") +
         Found("Missing index A12_IX1_A") + Found("Missing index A40_PK") +
         Found("Missing index A40_ROWID_IX1") + Found("Missing index A40_STATE_IX2") +
         Found("Missing index D40_PK") + Found("Missing index D40_IDX1") + Found("Missing index D40_IDX2") +
         Footer("gis.roads.shape (#12)")},
    {"two_failing_layers", false,
     Found("Missing index F12_UK1") + kRoads + Found("Missing index S14_IX2") +
         Footer("GIS.STREAMS.SHAPE (#14)")},
    {"no_compressed_binary_layers", true, "No rows match in LAYERS and TABLE_REGISTRY table"},
};

class CompressedBinaryCheckTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        for (const Situation& situation : kSituations) {
            CreateSituation(situation.name, situation.name);
        }
        CreateSituation("null_layer_id", "null_layer_id");
        // Without the stand-ins the walk itself cannot run.
        CreateSituation("no_dictionary", "healthy_layers",
                        {"tessel_schema.sql", "compressed_binary/layer_builder.sql"});
    }

    void Connect(const std::string& situation) {
        ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString("cbidx_" + situation))) << situation;
    }

    testsupport::CheckEnvironment env{dbtype::kOracle};
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
        EXPECT_EQ(e.Description(), "Invalid use of Null");
    }
    EXPECT_EQ(test.ResultDetails(), "");  // the state of the moment the error escaped
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

}  // namespace
}  // namespace tabvet
