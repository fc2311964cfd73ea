// The data-access layer's own rules on every real driver configuration, from one table of cases: psqlODBC as
// it comes (whole results buffered, row counts known), psqlODBC fetching through a server cursor two rows at
// a time (row count -1, rows arriving while the result is read), and MariaDB Connector/ODBC. Each case runs
// on one connection per configuration after the cases before it, whatever they did, and must read the same.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "db/value.h"
#include "support/case_file.h"
#include "support/mariadb_server.h"
#include "support/pg_cluster.h"

namespace tabvet {
namespace {

using testsupport::MariaDbServer;
using testsupport::PgCluster;

struct Configuration {
    const char* name;
    bool mariaDb;
    std::function<std::string()> connectionString;
};

const std::vector<Configuration>& Configurations() {
    static const std::vector<Configuration> all{
        {"psqlODBC", false, [] { return PgCluster::Shared().ConnectionString("postgres"); }},
        {"psqlODBC_cursor", false,
         [] { return PgCluster::Shared().ConnectionString("postgres") + "UseDeclareFetch=1;Fetch=2;"; }},
        {"MariaDB", true, [] { return MariaDbServer::Shared().ConnectionString("mysql"); }},
    };
    return all;
}

// How each field of a row is read, one letter a column: t the value as it stands (NULL shown as NULL),
// T ToText, e TextOrEmpty, i ToInt16, I ToInt32. Expected values are written as in the case files.
struct Case {
    const char* name;
    const char* postgreSql;
    const char* mariaDbSql;  // nullptr: the same text
    const char* read;
    const char* expected;  // rows on lines of their own, fields joined by " | "; see Show
};

// clang-format off
const Case kCases[] = {
    {"unknown table", "SELECT * FROM no_such_table", nullptr, "", "failed: 1 entry"},
    {"statement separator", "SELECT 1; SELECT 2", nullptr, "",
     "refused: -2147217900 Statement not sent: it contains a statement separator or a comment"},
    {"no rows", "SELECT 1 WHERE 1 = 2", "SELECT 1 FROM DUAL WHERE 1 = 2", "t", ""},
    {"NULL, empty and blank", "SELECT NULL, '', ' ', NULL, NULL", nullptr, "tttTe",
     "NULL | '' | ' ' | Run-time error '94': Invalid use of Null | ''"},
    {"integers", "SELECT 9, 16777216, -2147483648, 32767, -32768", nullptr, "IIIii",
     "9 | 16777216 | -2147483648 | 32767 | -32768"},
    {"integers beyond the boxes", "SELECT 32768, 2147483648", nullptr, "iI",
     "Run-time error '6': Overflow | Run-time error '6': Overflow"},
    {"BIGINT where an integer is expected", "SELECT CAST(3000000000 AS BIGINT), CAST(12 AS BIGINT)",
     "SELECT CAST(3000000000 AS SIGNED), CAST(12 AS SIGNED)", "tI", "'3000000000' | 12"},
    {"COUNT(*) is a BIGINT", "SELECT COUNT(*), COUNT(*) FROM (SELECT 1 WHERE 1 = 2) s",
     "SELECT COUNT(*), COUNT(*) FROM DUAL WHERE 1 = 2", "tI", "'0' | 0"},
    {"DECIMAL where an integer is expected",
     "SELECT CAST(8.5 AS DECIMAL(10,1)), CAST(8.5 AS DECIMAL(10,1)), CAST(9.5 AS DECIMAL(10,1)), "
     "CAST(-2.5 AS DECIMAL(10,1)), CAST(10101 AS DECIMAL(20,0))", nullptr, "tiiII",
     "'8.5' | 8 | 10 | -2 | 10101"},
    {"DOUBLE where an integer is expected", "SELECT CAST(2.5 AS DOUBLE PRECISION), CAST(3.5 AS DOUBLE PRECISION)",
     "SELECT CAST(2.5 AS DOUBLE), CAST(3.5 AS DOUBLE)", "ti", "'2.5' | 4"},
    {"text that is no number", "SELECT 'nine', ' 12 '", nullptr, "II", "Run-time error '13': Type mismatch | 12"},
    {"many rows", "SELECT g FROM generate_series(1, 5000) AS g", "SELECT seq FROM seq_1_to_5000", "t",
     "5000 rows: '1' .. '5000'"},
    {"long values", "SELECT repeat('a', 100000), repeat('é', 70000), repeat('😀', 40000)", nullptr, "ttt",
     "'{'a' x 100000}' | '{'é' x 70000}' | '{'😀' x 40000}'"},
    {"values at the edges of the read buffer",
     "SELECT repeat('b', 255), repeat('c', 256), concat(repeat('d', 254), '😀'), concat(repeat('e', 255), 'é')",
     nullptr, "tttt", "'{'b' x 255}' | '{'c' x 256}' | '{'d' x 254}😀' | '{'e' x 255}é'"},
    {"values where the read buffer grows", "SELECT repeat('f', 511), repeat('g', 512), concat(repeat('h', 512), 'é')",
     nullptr, "ttt", "'{'f' x 511}' | '{'g' x 512}' | '{'h' x 512}é'"},
    {"a short value after long ones", "SELECT 'x', ''", nullptr, "tt", "'x' | ''"},
    {"line breaks and quotes", "SELECT 'a\r\nb\nc\rd', 'O''Brien \"x\"'", nullptr, "tt",
     "'a\\r\\nb\\nc\\rd' | 'O'Brien \"x\"'"},
};
// clang-format on

std::string Field(const FieldValue& value, char how) {
    try {
        switch (how) {
            case 't':
                return value ? "'" + *value + "'" : "NULL";
            case 'T':
                return "'" + ToText(value) + "'";
            case 'e':
                return "'" + TextOrEmpty(value) + "'";
            case 'i':
                return std::to_string(ToInt16(value));
            case 'I':
                return std::to_string(ToInt32(value));
        }
    } catch (const RuntimeError& e) {
        return DescribeRuntimeError(e);
    }
    return "?";
}

// What one case reads on `conn`, checking the cursor's flags at both ends on the way.
std::string Read(Connection& conn, const std::string& sql, const std::string& read) {
    Recordset rs;
    if (!rs.OpenSuppressed(sql, conn)) {
        const ErrorList& errors = conn.Errors();
        if (errors.Count() == 1 && errors.Item(0).Number == kStatementRefusedNumber) {
            return "refused: " + std::to_string(errors.Item(0).Number) + " " + errors.Item(0).Description;
        }
        // The throwing open gives the first entry of the same list.
        try {
            Recordset again;
            again.Open(sql, conn);
            ADD_FAILURE() << "Open did not throw";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), conn.Errors().Item(0).Number);
            EXPECT_EQ(e.Description(), conn.Errors().Item(0).Description);
            EXPECT_NE(e.Description(), "");
        }
        return "failed: " + std::to_string(errors.Count()) + (errors.Count() == 1 ? " entry" : " entries");
    }
    EXPECT_EQ(conn.Errors().Count(), 0);
    // Every row was read at the open: another statement on the connection leaves this one whole.
    Recordset probe;
    EXPECT_TRUE(probe.OpenSuppressed("SELECT 1", conn));
    EXPECT_EQ(rs.FieldCount(), static_cast<int>(read.size()));
    std::vector<std::string> rows;
    for (; !rs.Eof(); rs.MoveNext()) {
        EXPECT_FALSE(rs.Bof());
        std::string row;
        for (std::size_t i = 0; i < read.size(); ++i) {
            row += (i == 0 ? "" : " | ") + Field(rs.Fields(static_cast<int>(i)), read[i]);
        }
        rows.push_back(row);
    }
    EXPECT_THROW(rs.MoveNext(), RuntimeError);
    if (rows.empty()) {
        EXPECT_TRUE(rs.Bof());
        EXPECT_THROW(rs.MoveLast(), RuntimeError);
        return "";
    }
    rs.MoveLast();
    EXPECT_EQ(Field(rs.Fields(0), read[0]), rows.back().substr(0, rows.back().find(" | ")));
    rs.MoveFirst();
    EXPECT_FALSE(rs.Bof() || rs.Eof());
    if (rows.size() > 3) {
        return std::to_string(rows.size()) + " rows: " + rows.front() + " .. " + rows.back();
    }
    std::string text;
    for (const std::string& row : rows) {
        text += (text.empty() ? "" : "\n") + row;
    }
    return text;
}

void PrintTo(const Configuration& configuration, std::ostream* out) {
    *out << configuration.name;
}

class DriverDataAccess : public ::testing::TestWithParam<Configuration> {};

// After a refused connect, which leaves the connection closed with the driver's record in its error list.
TEST_P(DriverDataAccess, EveryCaseReadsAlike) {
    OdbcConnection conn;
    std::string refused = GetParam().connectionString();
    const std::size_t port = refused.find("Port=");
    refused.replace(port, refused.find(';', port) - port, "Port=1");
    EXPECT_FALSE(conn.Open(refused));
    EXPECT_EQ(conn.State(), Connection::kStateClosed);
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_NE(conn.Errors().Item(0).Description, "");
    ASSERT_TRUE(conn.Open(GetParam().connectionString()));
    for (const Case& c : kCases) {
        const std::string sql = GetParam().mariaDb && c.mariaDbSql != nullptr ? c.mariaDbSql : c.postgreSql;
        const std::string read = Read(conn, sql, c.read);
        EXPECT_TRUE(read == testsupport::FromReadable(c.expected))
            << c.name << ": " << testsupport::Readable(read).substr(0, 400);
        EXPECT_EQ(conn.State(), Connection::kStateOpen) << c.name;
    }
}

// A stop cancels the statement that runs: it fails with the driver's error, and later ones are not sent.
TEST_P(DriverDataAccess, CancelEndsTheRunningStatement) {
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(GetParam().connectionString()));
    const std::string endless = GetParam().mariaDb
                                    ? "SELECT SUM(a.seq + b.seq) FROM seq_1_to_1000000 a, seq_1_to_1000000 b"
                                    : "SELECT count(*) FROM generate_series(1, 100000000000)";
    auto running = std::async(std::launch::async, [&] {
        ResultTable rows;
        return conn.Query(endless, rows);
    });
    // Cancel until the statement has ended: a cancel that comes before it starts only refuses later ones.
    while (running.wait_for(std::chrono::milliseconds(200)) != std::future_status::ready) {
        conn.Cancel();
    }
    EXPECT_FALSE(running.get());
    ASSERT_GE(conn.Errors().Count(), 1);
    ResultTable rows;
    EXPECT_FALSE(conn.Query("SELECT 1", rows));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Number, kStatementCancelledNumber);
}

// The statement timeout is an attribute that psqlODBC honours and MariaDB Connector/ODBC 3.1 declines (with a
// warning that the layer does not keep): there the statement runs to its end. docs/drivers.md says so.
TEST_P(DriverDataAccess, StatementTimeoutHonouredOnlyByPsqlOdbc) {
    OdbcConnection conn;
    conn.SetTimeouts({ConnectionTimeouts::kDefaultLoginSeconds, 1});
    ASSERT_TRUE(conn.Open(GetParam().connectionString()));
    ResultTable rows;
    EXPECT_EQ(conn.Query(GetParam().mariaDb ? "SELECT SLEEP(2)" : "SELECT pg_sleep(2)", rows),
              GetParam().mariaDb);
}

INSTANTIATE_TEST_SUITE_P(Drivers, DriverDataAccess, ::testing::ValuesIn(Configurations()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tabvet
