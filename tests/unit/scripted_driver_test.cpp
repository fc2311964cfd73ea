// The data-access layer over a scripted ODBC driver (tests/support/scripted_odbc_driver.cpp) loaded by the
// real driver manager, for states that neither real driver of the tests produces (docs/drivers.md): several
// diagnostic records for one failure, a message longer than the first buffer, lengths the driver cannot tell
// (SQL_NO_TOTAL, up to the last piece), warnings on complete reads, a fetch that fails after the first row.
// What the real drivers do is tested in tests/integration/driver_data_access_test.cpp.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "db/odbc_connection.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

constexpr const char* kConnect = "Driver=Tabvet Scripted;";

// unixODBC keeps the system folder it first reads, so this executable registers the driver for the whole
// process before any connection.
class ScriptedDriver : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        static const testsupport::TempFolder folder;
        testsupport::WriteBytes(folder.File("odbcinst.ini"),
                                std::string("[Tabvet Scripted]\nDriver=") + TABVET_SCRIPTED_DRIVER + "\n");
        testsupport::WriteBytes(folder.File("odbc.ini"), "");
        ::setenv("ODBCSYSINI", folder.Path().c_str(), 1);
        ::setenv("ODBCINI", folder.File("odbc.ini").c_str(), 1);
    }
};

// The rows of a statement, or its error list: a value of more than three a's shown as a*N, any other long
// value by its length.
std::string Read(Connection& conn, const std::string& script) {
    ResultTable rows;
    std::string shown;
    if (!conn.Query(script, rows)) {
        for (std::int32_t i = 0; i < conn.Errors().Count(); ++i) {
            shown +=
                std::to_string(conn.Errors().Item(i).Number) + " " + conn.Errors().Item(i).Description + "; ";
        }
        return shown;
    }
    EXPECT_EQ(conn.Errors().Count(), 0);
    for (const FieldValue& cell : rows.cells) {
        const bool as = cell && cell->find_first_not_of('a') == std::string::npos;
        shown += !cell                    ? "NULL; "
                 : as && cell->size() > 3 ? "a*" + std::to_string(cell->size()) + "; "
                 : cell->size() > 8       ? std::to_string(cell->size()) + " characters, not all a; "
                                          : *cell + "; ";
    }
    return shown;
}

TEST_F(ScriptedDriver, EveryRecordOfAFailureAndEveryPieceOfAValue) {
    struct Case {
        const char* script;
        const char* expected;
    };
    const Case cases[] = {
        {"FAIL 3", "101 record 1 of 3; 102 record 2 of 3; 103 record 3 of 3; "},
        {"FETCHFAIL 2", "101 record 1 of 2; 102 record 2 of 2; "},
        {"TEXT 100000", "a*100000; "},
        {"TEXT 1", "a; "},
        {"NOTOTAL 0", "; "},
        {"NOTOTAL 1", "a; "},
        {"NOTOTAL 254", "a*254; "},
        {"NOTOTAL 255", "a*255; "},
        {"NOTOTAL 256", "a*256; "},
        {"NOTOTAL 513", "a*513; "},
        {"NOTOTAL 100000", "a*100000; "},
        {"NOTOTAL 2", "aa; "},
        {"WARN 0", "; "},
        {"WARN 300", "a*300; "},
        {"NULL", "NULL; "},
        {"ROWS 3", "1; 2; 3; "},
    };
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(kConnect));
    for (const Case& c : cases) {
        EXPECT_EQ(Read(conn, c.script), c.expected) << c.script;
    }
}

// A row count of -1 reserves nothing and loses nothing.
TEST_F(ScriptedDriver, UnknownRowCount) {
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(kConnect));
    Recordset rs;
    rs.Open("ROWS 5000", conn);
    rs.MoveLast();
    EXPECT_EQ(rs.Fields(0), "5000");
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields(0), "1");
}

// A message longer than the first buffer the error list reads it with arrives whole.
TEST_F(ScriptedDriver, LongMessage) {
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(kConnect));
    ResultTable rows;
    EXPECT_FALSE(conn.Query("LONGFAIL 3000", rows));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Description, std::string(3000, 'm'));
}

TEST_F(ScriptedDriver, OpenRaisesTheFirstOfSeveralRecords) {
    OdbcConnection conn;
    ASSERT_TRUE(conn.Open(kConnect));
    Recordset rs;
    try {
        rs.Open("FAIL 2", conn);
        FAIL() << "Open did not throw";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), 101);
        EXPECT_EQ(e.Description(), "record 1 of 2");
    }
    EXPECT_EQ(conn.Errors().Count(), 2);
}

TEST_F(ScriptedDriver, AFailedConnectKeepsEveryRecord) {
    OdbcConnection conn;
    EXPECT_FALSE(conn.Open(std::string(kConnect) + "FAIL=2;"));
    EXPECT_EQ(conn.State(), Connection::kStateClosed);
    ASSERT_EQ(conn.Errors().Count(), 2);
    EXPECT_EQ(conn.Errors().Item(1).Number, 102);
    EXPECT_EQ(conn.Errors().Item(1).Description, "record 2 of 2");
}

}  // namespace
}  // namespace tabvet
