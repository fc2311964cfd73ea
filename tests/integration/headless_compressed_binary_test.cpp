// A whole headless Oracle-layout run over broken compressed-binary layers: the index analysis's failure block
// is what a scheduled job's log shows, so it is compared line for line.
#include <gtest/gtest.h>

#include <sstream>

#include "headless_run.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "cbidx_headless";

class HeadlessCompressedBinaryTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        PgCluster::Shared().CreateDatabase(
            kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "healthy_version.sql",
                        "compressed_binary/layer_builder.sql", "compressed_binary/broken_layers.sql"});
    }

    int Run(const std::string& version) {
        return RunHeadless({"--connect", PgCluster::Shared().ConnectionString(kDatabase), "--dbms", "oracle",
                            "--tessel-version", version},
                           out, err);
    }

    std::ostringstream out;
    std::ostringstream err;
};

// Layers come in the server's order; the fixture stores them so that every join order agrees.
const std::string kFailureBlock =
    "\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\n"
    "TEST FAILED: Tessel for Oracle Compressed Binary format complete\n"
    "Details: \n"
    "\n"
    "Error looking for table GIS.A41: \n"
    ">>>> Err#1: ERROR: relation \"gis.a41\" does not exist;\n"
    "Error while executing the query\n"
    "\n"
    "Error: Missing index D41_IDX2\n"
    "(The previous errors were for layer GIS.PARCELS.SHAPE (#13))\n"
    "\n"
    "Error looking for table GIS.F12: \n"
    ">>>> Err#1: ERROR: relation \"gis.f12\" does not exist;\n"
    "Error while executing the query\n"
    "(The previous errors were for layer GIS.ROADS.SHAPE (#12))\n"
    "\n"
    "Error: Incorrectly configured index S14_IX1\n"
    "(The previous errors were for layer GIS.STREAMS.SHAPE (#14))\n";

TEST_F(HeadlessCompressedBinaryTest, OracleNineZeroRunPrintsTheIndexAnalysisBlock) {
    EXPECT_EQ(Run("9.0.0"), 1) << err.str();
    const std::string log = out.str();
    const auto at = log.find(kFailureBlock);
    ASSERT_NE(at, std::string::npos) << log;
    EXPECT_EQ(log.find(kFailureBlock, at + 1), std::string::npos);
    EXPECT_NE(err.str().find(": Tessel for Oracle Compressed Binary format complete"), std::string::npos);
}

TEST_F(HeadlessCompressedBinaryTest, OracleNineOneRunSkipsTheIndexAnalysis) {
    Run("9.1.0");
    EXPECT_EQ(out.str().find("Compressed Binary"), std::string::npos) << out.str();
    EXPECT_EQ(err.str().find("Compressed Binary"), std::string::npos) << err.str();
}

}  // namespace
}  // namespace tabvet
