// The data-access layer against the real PostgreSQL ODBC driver: error lists, cursor flags, NULLs, text forms
// of values and refused statements. Connection-string keywords:
// tests/fixtures/scenarios/connection_keywords.txt.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "db/value.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "dblayer";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql", "db_layer_rows.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

class DbLayerTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(conn.Open(Cluster().ConnectionString(kDatabase))); }

    OdbcConnection conn;
};

TEST_F(DbLayerTest, CursorFlagsAtBothEndsAndTwoResultsOpenAtOnce) {
    Recordset empty;
    empty.Open("SELECT layer_id FROM TSL.LAYERS WHERE 1 = 2", conn);
    EXPECT_TRUE(empty.Bof());
    EXPECT_TRUE(empty.Eof());
    EXPECT_THROW(empty.MoveNext(), RuntimeError);

    // A probe opens while the walk is open, as the checks do for each row.
    Recordset walk;
    walk.Open("SELECT layer_id FROM TSL.LAYERS ORDER BY layer_id", conn);
    EXPECT_FALSE(walk.Bof());
    std::vector<std::string> seen;
    for (; !walk.Eof(); walk.MoveNext()) {
        Recordset probe;
        probe.Open("SELECT description FROM TSL.LAYERS WHERE layer_id = " + ToText(walk.Fields(0)), conn);
        seen.push_back(ToText(walk.Fields(0)) + ":" + TextOrEmpty(probe.Fields(0)));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"1:Road centre lines", "2:Straßen – Zürich Nord", "3:"}));
    EXPECT_FALSE(walk.Bof());
    walk.MoveFirst();
    EXPECT_EQ(walk.Fields(0), "1");
}

// Every value of a one-column result, in order; NULL as "<null>".
std::vector<std::string> Column(Connection& conn, const std::string& sql) {
    Recordset rs;
    rs.Open(sql, conn);
    std::vector<std::string> values;
    for (; !rs.Eof(); rs.MoveNext()) {
        values.push_back(rs.Fields(0).value_or("<null>"));
    }
    return values;
}

// Values are read in pieces through a buffer that the connection keeps and grows: every length around its
// size, a character of two units split at its edge, and short values after long ones must arrive whole.
TEST_F(DbLayerTest, ValuesOfEveryLengthArriveWhole) {
    const std::string smiley = "\xF0\x9F\x98\x80";  // two UTF-16 units
    const int lengths[] = {0, 1, 254, 255, 256, 257, 511, 512, 513, 4000, 257, 255, 1, 0};
    for (const int n : lengths) {
        for (const std::string& tail : {std::string(), std::string("\xC3\xA9"), smiley}) {
            const std::string sql = "SELECT repeat('a', " + std::to_string(n) + ") || '" + tail + "'";
            EXPECT_EQ(Column(conn, sql),
                      std::vector<std::string>{std::string(static_cast<std::size_t>(n), 'a') + tail})
                << n << " units and a tail of " << tail.size() << " bytes";
        }
    }
}

// The connection runs one statement after another whatever the previous one did: failed, refused, long,
// with many rows or none. A failure carries the driver's own message, in the error list and in what Open
// throws, until the next statement; the connection stays open.
TEST_F(DbLayerTest, EachStatementStartsAfreshWhateverThePreviousOneDid) {
    const struct {
        std::string sql;
        int rows;  // -1: fails with `error`
        std::int32_t error;
        std::string message;
    } steps[] = {
        {"SELECT g FROM generate_series(1, 5000) AS g", 5000, 0, ""},
        {"SELECT FROM WHERE", -1, 1, ""},
        {"SELECT * FROM TSL.NO_SUCH_TABLE", -1, 1,
         "ERROR: relation \"tsl.no_such_table\" does not exist;\nError while executing the query"},
        {"SELECT repeat('b', 3000), 1", 1, 0, ""},
        {"SELECT 1; DROP TABLE gis.victim", -1, kStatementRefusedNumber, ""},
        {"SELECT layer_id FROM TSL.LAYERS WHERE 1 = 2", 0, 0, ""},
        {"SELECT 1 / 0", -1, 1, ""},  // fails while executing
        {"SELECT layer_id FROM TSL.LAYERS ORDER BY layer_id", 3, 0, ""},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.sql);
        Recordset rs;
        EXPECT_EQ(rs.OpenSuppressed(step.sql, conn), step.rows >= 0);
        EXPECT_EQ(conn.State(), Connection::kStateOpen);
        if (step.rows < 0) {
            EXPECT_EQ(rs.State(), Connection::kStateClosed);
            ASSERT_EQ(conn.Errors().Count(), 1);
            const AdoError error = conn.Errors().Item(0);
            EXPECT_EQ(error.Number, step.error);
            EXPECT_TRUE(step.message.empty() || error.Description == step.message) << error.Description;
            try {
                rs.Open(step.sql, conn);
                ADD_FAILURE() << "Open did not throw";
            } catch (const RuntimeError& e) {
                EXPECT_EQ(e.Number(), error.Number);
                EXPECT_EQ(e.Description(), error.Description);
            }
            continue;
        }
        EXPECT_EQ(conn.Errors().Count(), 0);
        int rows = 0;
        for (; !rs.Eof(); rs.MoveNext()) {
            ++rows;
        }
        EXPECT_EQ(rows, step.rows);
    }
    EXPECT_EQ(Cluster().QueryValue(kDatabase, "SELECT count(*) FROM gis.victim"), "1");  // never sent
}

}  // namespace
}  // namespace tabvet
