// The benchmark's generated schema must be what its measurements claim: every kind of entry, side tables
// with their indexes, and each of its ten breakages visible where it should be and nowhere else. Built at
// 500 layers, the smallest size that holds all ten.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "headless_run.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "bench_schema_500";

class BenchSchemaTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(
            kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "compressed_binary/layer_builder.sql",
                        TABVET_BENCH_SQL_DIR "/bench_schema.sql"});
        pg.Execute(kDatabase, "CALL bench_build(500)");
        pg.Execute(kDatabase, "\\i " TABVET_BENCH_SQL_DIR "/dictionary_snapshot.sql");
        std::ostringstream out;
        std::ostringstream err;
        status_ = RunHeadless({"--connect", pg.ConnectionString(kDatabase)}, out, err);
        log_ = new std::string(out.str());
    }
    static void TearDownTestSuite() {
        delete log_;
        log_ = nullptr;
    }

    static std::string Value(const std::string& sql) {
        return PgCluster::Shared().QueryValue(kDatabase, sql);
    }
    // The part of the log that one failed test wrote, or "" when it did not fail.
    static std::string FailureBlock(const std::string& testName) {
        const std::string head = "TEST FAILED: " + testName + "\n";
        const auto start = log_->find(head);
        if (start == std::string::npos) {
            return "";
        }
        const auto end = log_->find("TEST FAILED: ", start + head.size());
        return log_->substr(start, end == std::string::npos ? std::string::npos : end - start);
    }

    static int status_;
    static std::string* log_;
};

int BenchSchemaTest::status_ = -1;
std::string* BenchSchemaTest::log_ = nullptr;

TEST_F(BenchSchemaTest, HoldsEveryKindOfEntry) {
    struct Case {
        const char* what;
        const char* sql;
        const char* expected;
    };
    const Case cases[] = {
        {"layers", "SELECT count(*) FROM tsl.layers", "500"},
        {"compressed-binary layers", "SELECT count(*) FROM tsl.layers WHERE eflags & 16777216 <> 0", "450"},
        {"load-only layers", "SELECT count(*) FROM tsl.layers WHERE eflags & 1048576 <> 0", "20"},
        {"registrations", "SELECT count(*) FROM tsl.table_registry", "500"},
        {"versioned registrations", "SELECT count(*) FROM tsl.table_registry WHERE object_flags & 8 <> 0",
         "200"},
        {"geometry columns, one lost", "SELECT count(*) FROM tsl.geometry_columns", "499"},
        {"raster columns, one lost", "SELECT count(*) FROM tsl.raster_columns", "51"},
        {"spatial references", "SELECT count(*) FROM tsl.spatial_references", "8"},
        {"configuration keywords", "SELECT count(DISTINCT keyword) FROM tsl.dbtune", "6"},
        {"version", "SELECT major || '.' || minor || '.' || bugfix FROM tsl.version", "9.0.0"},
        {"feature tables, one lost", "SELECT count(*) FROM pg_tables WHERE tablename ~ '^f[0-9]+$'", "449"},
        {"spatial-index tables", "SELECT count(*) FROM pg_tables WHERE tablename ~ '^s[0-9]+$'", "450"},
        {"adds tables, one lost", "SELECT count(*) FROM pg_tables WHERE tablename ~ '^a[0-9]+$'", "199"},
        {"deletes tables", "SELECT count(*) FROM pg_tables WHERE tablename ~ '^d[0-9]+$'", "200"},
        {"dictionary snapshot of a healthy layer",
         "SELECT string_agg(index_name, ' ' ORDER BY index_name) FROM all_indexes WHERE table_name = 'F1'",
         "F1_AREA_IX2 F1_LEN_IX3 F1_UK1"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Value(c.sql), c.expected) << c.what;
    }
}

// Breakages whose checks list nothing with a real driver still change what the checks' statements return.
TEST_F(BenchSchemaTest, CrossTableBreakagesAreInTheRowsTheChecksSelect) {
    struct Case {
        const char* what;
        const char* sql;
        const char* expected;
    };
    const Case cases[] = {
        {"layer with an unknown reference system",
         "SELECT string_agg(layer_id::text, ' ') FROM tsl.layers a WHERE NOT EXISTS "
         "(SELECT 'x' FROM tsl.spatial_references b WHERE a.srid = b.srid)",
         "168"},
        {"raster column with an unknown reference system",
         "SELECT string_agg(rastercolumn_id::text, ' ') FROM tsl.raster_columns a WHERE NOT EXISTS "
         "(SELECT 'x' FROM tsl.spatial_references b WHERE a.srid = b.srid)",
         "417"},
        {"layer keyword missing from DBTUNE",
         "SELECT string_agg(layer_id::text, ' ') FROM tsl.layers a WHERE NOT EXISTS "
         "(SELECT 'x' FROM tsl.dbtune b WHERE a.layer_config = b.keyword)",
         "268"},
        {"registration keyword missing from DBTUNE",
         "SELECT string_agg(registration_id::text, ' ') FROM tsl.table_registry a WHERE NOT EXISTS "
         "(SELECT 'x' FROM tsl.dbtune b WHERE a.config_keyword = b.keyword)",
         "100268"},
        {"layer missing from GEOMETRY_COLUMNS",
         "SELECT string_agg(layer_id::text, ' ') FROM tsl.layers a WHERE NOT EXISTS (SELECT 'x' FROM "
         "tsl.geometry_columns b WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)",
         "368"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Value(c.sql), c.expected) << c.what;
    }
}

TEST_F(BenchSchemaTest, RunReportsEachBreakageWhereItBelongs) {
    EXPECT_EQ(status_, 1);
    struct Case {
        const char* test;
        std::vector<const char*> lines;  // each once, in the server's order, and no other entry
        const char* entry;               // what every entry of the block starts with
    };
    const Case cases[] = {
        {"LAYERS entries exist as tables or views",
         {"Error looking for CADASTRE.FEATURE_00017: "},
         "Error looking for "},
        {"GEOMETRY_COLUMNS entries exist as tables or views",
         {"Error looking for CADASTRE.FEATURE_00017: "},
         "Error looking for "},
        {"TABLE_REGISTRY entries exist as tables or views",
         {"Error looking for CADASTRE.FEATURE_00117: "},
         "Error looking for "},
        {"RASTER_COLUMNS entries exist as tables or views",
         {"Error looking for CADASTRE.FEATURE_00417: "},
         "Error looking for "},
        {"Tessel for Oracle Compressed Binary format complete",
         {"Error: Incorrectly configured index A17_IX1",
          "Error looking for table GIS.A100068: ", "Error: Incorrectly configured index R100117_TSL_ROWID_UK",
          "Error looking for table GIS.F168: ", "Error: Incorrectly configured index S217_IX1",
          "Error: Incorrectly configured index F317_UK1", "Error: Missing index D100468_IDX2"},
         "(The previous errors were for layer "},
    };
    for (const Case& c : cases) {
        const std::string block = FailureBlock(c.test);
        ASSERT_FALSE(block.empty()) << c.test << "\n" << *log_;
        for (const char* line : c.lines) {
            EXPECT_NE(block.find(std::string("\n") + line), std::string::npos)
                << c.test << ": " << line << "\n"
                << block;
        }
        std::size_t entries = 0;
        for (auto i = block.find(c.entry); i != std::string::npos; i = block.find(c.entry, i + 1)) {
            ++entries;
        }
        EXPECT_EQ(entries, c.lines.size()) << c.test << "\n" << block;
    }
    std::size_t failed = 0;
    for (auto i = log_->find("TEST FAILED: "); i != std::string::npos;
         i = log_->find("TEST FAILED: ", i + 1)) {
        ++failed;
    }
    EXPECT_EQ(failed, std::size(cases)) << *log_;
}

}  // namespace
}  // namespace tabvet
