// The Oracle stand-ins of the test fixtures, read through the layer as the index analysis reads them: DUAL,
// BITAND and the two index views must answer like Oracle's, or every index verdict built on them is wrong.
#include <gtest/gtest.h>

#include <string>

#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "dbdictionary";

class OracleDictionaryTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "demo/demo_schema.sql"});
        pg.Execute(kDatabase, "CREATE INDEX hydrants_desc_ix ON gis.hydrants (objectid DESC, hydrant_no)");
    }

    void SetUp() override { ASSERT_TRUE(conn.Open(PgCluster::Shared().ConnectionString(kDatabase))); }

    std::string Value(const std::string& sql) {
        Recordset rs;
        if (!rs.OpenSuppressed(sql, conn)) {
            return "error: " + conn.Errors().Item(0).Description;
        }
        return rs.Eof() ? "no row" : rs.Fields(0).value_or("NULL");
    }

    OdbcConnection conn;
};

TEST_F(OracleDictionaryTest, StandInsAnswerLikeOracle) {
    struct Case {
        const char* sql;
        const char* value;
    };
    const Case cases[] = {
        {"SELECT COUNT(*) FROM DUAL", "1"},
        {"SELECT bitand(17825792, 16777216) FROM DUAL", "16777216"},
        {"SELECT bitand(1048576, 16777216)+0 FROM DUAL", "0"},
        {"SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'S12_IX1' "
         "AND TABLE_NAME = 'S12'",
         "7"},
        {"SELECT COLUMN_NAME FROM ALL_IND_COLUMNS WHERE INDEX_NAME = 'S12_IX1' AND COLUMN_POSITION = 3",
         "EMAXX"},
        {"SELECT DESCEND FROM ALL_IND_COLUMNS WHERE INDEX_NAME = 'S12_IX1' AND COLUMN_POSITION = 7", "ASC"},
        {"SELECT DESCEND FROM ALL_IND_COLUMNS WHERE INDEX_NAME = 'HYDRANTS_DESC_IX' AND COLUMN_POSITION = 1",
         "DESC"},
        {"SELECT DESCEND FROM ALL_IND_COLUMNS WHERE INDEX_NAME = 'HYDRANTS_DESC_IX' AND COLUMN_POSITION = 2",
         "ASC"},
        {"SELECT UNIQUENESS FROM ALL_INDEXES WHERE OWNER = 'GIS' AND INDEX_NAME = 'F12_UK1' AND TABLE_NAME = "
         "'F12'",
         "UNIQUE"},
        {"SELECT UNIQUENESS FROM ALL_INDEXES WHERE INDEX_NAME = 'F12_AREA_IX2'", "NONUNIQUE"},
        {"SELECT COUNT(*) FROM ALL_INDEXES WHERE INDEX_NAME = 'S13_IX2'", "0"},  // the demo's missing index
        // A whole index probe as the analysis builds it: right index, expected score 10101.
        {"SELECT (SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'A12_IX1' "
         "AND TABLE_NAME = 'ROADS' AND COLUMN_NAME = 'SHAPE' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "
         "((SELECT COUNT(*) FROM ALL_IND_COLUMNS WHERE TABLE_OWNER = 'GIS' AND INDEX_NAME = 'A12_IX1' "
         "AND TABLE_NAME = 'ROADS') * 100) + ((SELECT COUNT(*) FROM ALL_INDEXES  WHERE OWNER = 'GIS' "
         "AND INDEX_NAME = 'A12_IX1' AND TABLE_NAME = 'ROADS' AND UNIQUENESS = 'UNIQUE') * 10000 ) FROM DUAL",
         "10101"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Value(c.sql), c.value) << c.sql;
    }
}

TEST_F(OracleDictionaryTest, LayerWalkFindsOnlyRegisteredCompressedBinaryLayers) {
    Recordset rs;
    rs.Open(
        "SELECT l.layer_id FROM TSL.LAYERS l, TSL.TABLE_REGISTRY t where l.owner = t.owner and "
        "l.table_name = t.table_name and bitand(l.eflags,16777216)+0 <> 0 ORDER BY l.layer_id",
        conn);
    std::string ids;
    for (; !rs.Eof(); rs.MoveNext()) {
        ids += rs.Fields(0).value_or("NULL") + " ";
    }
    EXPECT_EQ(ids, "12 13 16 17 18 ");  // 14 is stored plainly, 15 is not registered
}

}  // namespace
}  // namespace tabvet
