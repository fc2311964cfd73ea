// A server that goes away under an open connection: the layer must report it through the error list, never
// crash, and a fresh connection must work once the server is back.
#include <gtest/gtest.h>

#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "dbfault";

TEST(DbServerFaultTest, LostServerGivesErrorEntriesAndAFreshConnectionRecovers) {
    const PgCluster& pg = PgCluster::Shared();
    pg.CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql"});
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(pg.ConnectionString(kDatabase)));

    pg.StopServer();
    Recordset rs;
    EXPECT_FALSE(rs.OpenSuppressed("SELECT major FROM TSL.VERSION", conn));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Number, 35);
    EXPECT_NE(conn.Errors().Item(0).Description.find("The connection has been lost"), std::string::npos)
        << conn.Errors().Item(0).Description;
    // The driver does not close the handle, so the connection still reports itself open.
    EXPECT_EQ(conn.State(), Connection::kStateOpen);

    pg.StartServer();
    EXPECT_FALSE(rs.OpenSuppressed("SELECT major FROM TSL.VERSION", conn));  // a lost connection stays lost
    EXPECT_EQ(conn.Errors().Count(), 1);
    OdbcConnection fresh;
    ASSERT_TRUE(fresh.Open(pg.ConnectionString(kDatabase)));
    rs.Open("SELECT major FROM TSL.VERSION", fresh);
    EXPECT_EQ(rs.Fields(0), "9");
}

}  // namespace
}  // namespace tabvet
