// The data-access layer against the real PostgreSQL ODBC driver: names of each layout, error lists, cursor
// flags, NULLs, text forms of values, connection-string keywords and refused statements.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "db/odbc_connection.h"
#include "db/qual_db_obj_name.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "db/value.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

// Oracle and DB2 names both resolve in kDatabase (DB2 names carry the connected database); the SQL Server
// layout renames the tables, so it needs a database of its own.
constexpr const char* kDatabase = "dblayer";
constexpr const char* kSqlServerDatabase = "dblayer_mss";
constexpr const char* kVersionSelect = "SELECT major, minor, bugfix, release, description FROM ";
constexpr const char* kVersionText = "Tessel for Oracle 9.0.0 Build 1 Fri Mar 14 2008";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql", "db_layer_rows.sql"});
        pg.CreateDatabase(kSqlServerDatabase,
                          {"tessel_schema.sql", "healthy_version.sql", "layout_sqlserver.sql"});
        // Members of tabvet_password_login must authenticate with a password (see scripts/pg_cluster.sh).
        pg.Execute("postgres",
                   "DROP ROLE IF EXISTS dblayer_login, dblayer_pw, tabvet_password_login;"
                   "CREATE ROLE tabvet_password_login NOLOGIN;"
                   "CREATE ROLE dblayer_login LOGIN;"
                   "CREATE ROLE dblayer_pw LOGIN PASSWORD 's3cret' IN ROLE tabvet_password_login;");
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

std::string ErrorsText(const Connection& conn) {
    std::string text;
    for (std::int32_t i = 0; i < conn.Errors().Count(); ++i) {
        text += "[" + std::to_string(conn.Errors().Item(i).Number) + "] " +
                conn.Errors().Item(i).Description + "\n";
    }
    return text;
}

// The connection string of the cluster without its user and password, for tests that give those themselves.
std::string ServerPart(const std::string& database) {
    return "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(Cluster().Port()) +
           ";Database=" + database + ";";
}

class DbLayerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(conn.Open(Cluster().ConnectionString(kDatabase))) << ErrorsText(conn);
    }

    // Every value of a one-column result, in order; NULL as "<null>".
    std::vector<std::string> Column(const std::string& sql) {
        Recordset rs;
        rs.Open(sql, conn);
        std::vector<std::string> values;
        for (; !rs.Eof(); rs.MoveNext()) {
            values.push_back(rs.Fields(0).value_or("<null>"));
        }
        rs.Close();
        return values;
    }

    OdbcConnection conn;
};

struct LayoutCase {
    const char* label;
    std::int32_t dbmsType;
    const char* database;
    const char* expectedName;
};

class LayoutTest : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(LayoutTest, VersionRowIsReadThroughTheNamersName) {
    const LayoutCase& layout = GetParam();
    testsupport::RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    std::string databaseName = layout.database;
    for (char& c : databaseName) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));  // as the logon dialog passes it
    }
    namer.Setup(layout.dbmsType, databaseName);
    const std::string name = namer.TslSystemTable("VERSION");
    ASSERT_EQ(name, layout.expectedName);

    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(Cluster().ConnectionString(layout.database))) << ErrorsText(conn);
    Recordset rs;
    ASSERT_TRUE(rs.OpenSuppressed(kVersionSelect + name, conn)) << ErrorsText(conn);
    ASSERT_FALSE(rs.Eof());
    EXPECT_EQ(ToInt32(rs.Fields(0)), 9);
    EXPECT_EQ(ToInt32(rs.Fields(1)), 0);
    EXPECT_EQ(ToInt32(rs.Fields(2)), 0);
    EXPECT_EQ(ToInt32(rs.Fields(3)), 90000);
    EXPECT_EQ(ToText(rs.Fields(4)), kVersionText);
    EXPECT_TRUE(ui.shown.empty());
}

INSTANTIATE_TEST_SUITE_P(AllLayouts, LayoutTest,
                         ::testing::Values(LayoutCase{"Oracle", dbtype::kOracle, kDatabase, "TSL.VERSION"},
                                           LayoutCase{"Db2", dbtype::kDb2, kDatabase, "DBLAYER.TSL.VERSION"},
                                           LayoutCase{"SqlServer", dbtype::kSqlServer, kSqlServerDatabase,
                                                      "DBLAYER_MSS.TSL.tsl_VERSION"}),
                         [](const ::testing::TestParamInfo<LayoutCase>& info) {
                             return std::string(info.param.label);
                         });

TEST_F(DbLayerTest, FailedOpenCarriesTheDriversOwnMessage) {
    struct Case {
        const char* sql;
        const char* message;
    };
    const Case cases[] = {
        {"SELECT * FROM TSL.NO_SUCH_TABLE",
         "ERROR: relation \"tsl.no_such_table\" does not exist;\nError while executing the query"},
        {"SELECT no_such_column FROM TSL.VERSION",
         "ERROR: column \"no_such_column\" does not exist;\nError while executing the query"},
        // A DB2 name typed with the wrong database.
        {"SELECT major FROM OTHERDB.TSL.VERSION",
         "ERROR: cross-database references are not implemented: \"otherdb.tsl.version\";\n"
         "Error while executing the query"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.sql);
        Recordset rs;
        EXPECT_FALSE(rs.OpenSuppressed(c.sql, conn));
        EXPECT_EQ(rs.State(), Connection::kStateClosed);
        ASSERT_EQ(conn.Errors().Count(), 1) << ErrorsText(conn);
        EXPECT_EQ(conn.Errors().Item(0).Number, 1);
        EXPECT_EQ(conn.Errors().Item(0).Description, c.message);

        try {
            rs.Open(c.sql, conn);
            ADD_FAILURE() << "Open did not throw";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), 1);
            EXPECT_EQ(e.Description(), c.message);
        }
        EXPECT_EQ(conn.Errors().Count(), 1);
        EXPECT_EQ(conn.State(), Connection::kStateOpen);  // a failed statement leaves the connection usable
    }
}

TEST_F(DbLayerTest, GoodOpenAfterAFailedOneEmptiesTheErrorList) {
    Recordset bad;
    ASSERT_FALSE(bad.OpenSuppressed("SELECT * FROM TSL.NO_SUCH_TABLE", conn));
    ASSERT_EQ(conn.Errors().Count(), 1);
    Recordset good;
    ASSERT_TRUE(good.OpenSuppressed(std::string(kVersionSelect) + "TSL.VERSION", conn));
    EXPECT_EQ(conn.Errors().Count(), 0);
}

TEST_F(DbLayerTest, EmptyResultIsAtBothEnds) {
    Recordset rs;
    rs.Open("SELECT layer_id FROM TSL.LAYERS WHERE 1 = 2", conn);
    EXPECT_TRUE(rs.Bof());
    EXPECT_TRUE(rs.Eof());
    EXPECT_THROW(rs.MoveNext(), RuntimeError);
}

TEST_F(DbLayerTest, CursorWalksFromFirstRowToEofAndJumpsBothWays) {
    Recordset rs;
    rs.Open("SELECT layer_id FROM TSL.LAYERS ORDER BY layer_id", conn);
    EXPECT_FALSE(rs.Bof());
    EXPECT_FALSE(rs.Eof());
    EXPECT_EQ(rs.Fields(0), "1");
    rs.MoveFirst();  // already on the first row: nothing moves
    EXPECT_EQ(rs.Fields(0), "1");
    rs.MoveNext();
    rs.MoveNext();
    EXPECT_EQ(rs.Fields(0), "3");
    EXPECT_FALSE(rs.Eof());
    rs.MoveNext();
    EXPECT_TRUE(rs.Eof());
    EXPECT_FALSE(rs.Bof());
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields(0), "1");
    rs.MoveLast();
    EXPECT_EQ(rs.Fields(0), "3");
    rs.Close();
    EXPECT_EQ(rs.State(), Connection::kStateClosed);
}

TEST_F(DbLayerTest, NullColumnsArriveAsNull) {
    Recordset rs;
    rs.Open("SELECT description, owner, eflags, srid, layer_config FROM TSL.LAYERS WHERE layer_id = 3", conn);
    ASSERT_FALSE(rs.Eof());
    for (int i = 0; i < rs.FieldCount(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_FALSE(rs.Fields(i).has_value());
        EXPECT_EQ(TextOrEmpty(rs.Fields(i)), "");
        try {
            ToText(rs.Fields(i));
            ADD_FAILURE() << "ToText accepted NULL";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), errnum::kInvalidUseOfNull);
            EXPECT_EQ(e.Description(), "Invalid use of Null");
        }
    }
}

// The checks compare and convert these texts, so the driver's exact forms matter.
TEST_F(DbLayerTest, ValuesArriveInTheDriversTextForm) {
    struct Case {
        const char* expression;
        const char* text;
    };
    const Case cases[] = {
        {"eflags FROM TSL.LAYERS WHERE layer_id = 1", "16777216"},
        {"CAST(-7 AS smallint)", "-7"},
        {"CAST(-2147483648 AS integer)", "-2147483648"},
        {"9007199254740993", "9007199254740993"},
        {"CAST(2.50 AS numeric(5, 2))", "2.50"},
        {"CAST(1.5 AS float8)", "1.5"},
        {"true", "1"},
        {"DATE '2008-03-14'", "2008-03-14"},
        {"CAST('x' AS char(3))", "x  "},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Column(std::string("SELECT ") + c.expression), std::vector<std::string>{c.text})
            << c.expression;
    }
}

TEST_F(DbLayerTest, ProbesMayOpenWhileARowWalkIsOpen) {
    Recordset walk;
    walk.Open("SELECT layer_id FROM TSL.LAYERS WHERE layer_id < 3 ORDER BY layer_id", conn);
    std::vector<std::string> seen;
    for (; !walk.Eof(); walk.MoveNext()) {
        Recordset probe;
        probe.Open("SELECT description FROM TSL.LAYERS WHERE layer_id = " + ToText(walk.Fields(0)), conn);
        seen.push_back(ToText(walk.Fields(0)) + ":" + ToText(probe.Fields(0)));
        probe.Close();
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"1:Road centre lines", "2:Straßen – Zürich Nord"}));
}

TEST_F(DbLayerTest, NonAsciiNamesAndValuesRoundTrip) {
    EXPECT_EQ(Column("SELECT name FROM gis.städte ORDER BY einwohner"),
              (std::vector<std::string>{"Genève", "Zürich"}));
    EXPECT_EQ(Column("SELECT layer_id FROM TSL.LAYERS WHERE description = 'Straßen – Zürich Nord'"),
              std::vector<std::string>{"2"});
}

// Values are read in pieces through a buffer that the connection keeps and grows: every length around its
// size, a character of two units split at its edge, and short values after long ones must arrive whole.
TEST_F(DbLayerTest, ValuesOfEveryLengthArriveWhole) {
    const std::string smiley = "\xF0\x9F\x98\x80";  // two UTF-16 units
    const int lengths[] = {0, 1, 254, 255, 256, 257, 511, 512, 513, 4000, 257, 255, 1, 0};
    for (const int n : lengths) {
        for (const std::string& tail : {std::string(), std::string("\xC3\xA9"), smiley}) {
            const std::string sql = "SELECT repeat('a', " + std::to_string(n) + ") || '" + tail + "'";
            EXPECT_EQ(Column(sql),
                      std::vector<std::string>{std::string(static_cast<std::size_t>(n), 'a') + tail})
                << n << " units and a tail of " << tail.size() << " bytes";
        }
    }
}

// The connection runs one statement after another whatever the previous one did: failed, refused, long,
// with many rows or none.
TEST_F(DbLayerTest, EachStatementStartsAfreshWhateverThePreviousOneDid) {
    struct Step {
        const char* label;
        std::string sql;
        bool opens;
        std::size_t rows;
    };
    const Step steps[] = {
        {"many rows", "SELECT g FROM generate_series(1, 5000) AS g", true, 5000},
        {"syntax error", "SELECT FROM WHERE", false, 0},
        {"missing table", "SELECT * FROM TSL.NO_SUCH_TABLE", false, 0},
        {"one long row", "SELECT repeat('b', 3000), 1", true, 1},
        {"refused", "SELECT 1; SELECT 2", false, 0},
        {"no rows", "SELECT layer_id FROM TSL.LAYERS WHERE 1 = 2", true, 0},
        {"division by zero while executing", "SELECT 1 / 0", false, 0},
        {"rows again", "SELECT layer_id FROM TSL.LAYERS ORDER BY layer_id", true, 3},
    };
    for (const Step& step : steps) {
        Recordset rs;
        EXPECT_EQ(rs.OpenSuppressed(step.sql, conn), step.opens) << step.label;
        EXPECT_EQ(conn.Errors().Count() == 0, step.opens) << step.label << "\n" << ErrorsText(conn);
        if (!step.opens) {
            continue;
        }
        std::size_t rows = 0;
        for (; !rs.Eof(); rs.MoveNext()) {
            ++rows;
        }
        EXPECT_EQ(rows, step.rows) << step.label;
        rs.Close();
    }
}

TEST_F(DbLayerTest, StatementWithASeparatorIsNeverSent) {
    Recordset rs;
    EXPECT_FALSE(rs.OpenSuppressed("SELECT 1; DROP TABLE gis.victim", conn));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Number, kStatementRefusedNumber);
    EXPECT_EQ(conn.Errors().Item(0).Description, kStatementRefusedText);
    EXPECT_EQ(Cluster().QueryValue(kDatabase, "SELECT count(*) FROM gis.victim"), "1");
}

// psqlODBC ignores "User Id" and would log on as the operating-system user, so only the layer's own mapping
// to UID makes these log on as the named role; the password role fails without the right password.
TEST(DbConnectionStringTest, LayerKeywordsReachTheDriver) {
    struct Case {
        std::string connectionString;
        const char* user;  // nullptr: the logon must fail
    };
    const std::string server = ServerPart(kDatabase);
    const Case cases[] = {
        {"Provider=MSDASQL;" + server + "User Id=dblayer_login;Password=;", "dblayer_login"},
        {"provider=MSDASQL.1;" + server + "User ID=dblayer_pw;Password=s3cret", "dblayer_pw"},
        {server + "Provider=MSDASQL;User Id=dblayer_pw;Password={s3cret}", "dblayer_pw"},
        {server + "User Id=dblayer_pw;Password=wrong;", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.connectionString);
        OdbcConnection conn;
        const bool opened = conn.Open(c.connectionString);
        if (c.user == nullptr) {
            EXPECT_FALSE(opened);
            ASSERT_EQ(conn.Errors().Count(), 1);
            EXPECT_EQ(conn.Errors().Item(0).Number, 101);
            EXPECT_NE(conn.Errors().Item(0).Description.find("password authentication failed"),
                      std::string::npos);
            continue;
        }
        ASSERT_TRUE(opened) << ErrorsText(conn);
        Recordset rs;
        rs.Open("SELECT current_user", conn);
        EXPECT_EQ(rs.Fields(0), c.user);
    }
}

TEST(DbConnectionStringTest, FailedConnectFillsTheErrorListAndStaysClosed) {
    struct Case {
        std::string connectionString;
        std::int32_t number;
        const char* fragment;
    };
    const Case cases[] = {
        {"Driver=No Such Driver;Servername=127.0.0.1;", 0,
         "[unixODBC][Driver Manager]Can't open lib 'No Such Driver' : file not found"},
        {"DSN=tabvet_no_such_dsn;", 0, "Data source name not found"},
        {"Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=dblayer;UID=tabvet;", 101,
         "port 1 failed: Connection refused"},
        {ServerPart("no_such_database") + "UID=tabvet;", 101, "database \"no_such_database\" does not exist"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.connectionString);
        OdbcConnection conn;
        EXPECT_FALSE(conn.Open(c.connectionString));
        EXPECT_EQ(conn.State(), Connection::kStateClosed);
        ASSERT_EQ(conn.Errors().Count(), 1) << ErrorsText(conn);
        EXPECT_EQ(conn.Errors().Item(0).Number, c.number);
        EXPECT_NE(conn.Errors().Item(0).Description.find(c.fragment), std::string::npos) << ErrorsText(conn);
    }
}

TEST(DbConnectionStringTest, ReopeningAfterAFailureEmptiesTheErrorList) {
    OdbcConnection conn;
    ASSERT_FALSE(conn.Open("Driver=No Such Driver;"));
    ASSERT_TRUE(conn.Open(Cluster().ConnectionString(kDatabase))) << ErrorsText(conn);
    EXPECT_EQ(conn.Errors().Count(), 0);
    EXPECT_EQ(conn.State(), Connection::kStateOpen);
}

TEST(DbConnectionStringTest, CloseOnAClosedConnectionDoesNothing) {
    OdbcConnection conn;
    conn.Close();
    EXPECT_EQ(conn.State(), Connection::kStateClosed);
    ASSERT_TRUE(conn.Open(Cluster().ConnectionString(kDatabase))) << ErrorsText(conn);
    conn.Close();
    conn.Close();
    EXPECT_EQ(conn.State(), Connection::kStateClosed);
    EXPECT_EQ(conn.Errors().Count(), 0);
}

}  // namespace
}  // namespace tabvet
