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
#include "support/case_file.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::Readable;

// The error list of a connection, readable.
std::string Errors(Connection& conn) {
    std::string shown;
    for (std::int32_t i = 0; i < conn.Errors().Count(); ++i) {
        shown += std::to_string(conn.Errors().Item(i).Number) + " " +
                 Readable(conn.Errors().Item(i).Description) + "; ";
    }
    return shown;
}

TEST(ScriptedDriver, EveryRecordOfAFailureAndEveryPieceOfAValue) {
    // unixODBC keeps the system folder it first reads: the driver is registered before any connection.
    const testsupport::TempFolder folder;
    testsupport::WriteBytes(folder.File("odbcinst.ini"),
                            std::string("[Tabvet Scripted]\nDriver=") + TABVET_SCRIPTED_DRIVER + "\n");
    testsupport::WriteBytes(folder.File("odbc.ini"), "");
    ::setenv("ODBCSYSINI", folder.Path().c_str(), 1);
    ::setenv("ODBCINI", folder.File("odbc.ini").c_str(), 1);

    OdbcConnection refused;
    EXPECT_FALSE(refused.Open("Driver=Tabvet Scripted;FAIL=2;"));
    EXPECT_EQ(refused.State(), Connection::kStateClosed);
    EXPECT_EQ(Errors(refused), "101 record 1 of 2; 102 record 2 of 2; ");

    OdbcConnection conn;
    ASSERT_TRUE(conn.Open("Driver=Tabvet Scripted;"));
    const struct {
        const char* script;
        const char* expected;  // the value, or the error list
    } cases[] = {
        {"FAIL 3", "101 record 1 of 3; 102 record 2 of 3; 103 record 3 of 3; "},
        {"FETCHFAIL 2", "101 record 1 of 2; 102 record 2 of 2; "},
        {"LONG 3000", "7 {'m' x 3000}; "},
        {"NOTOTAL 0", ""},
        {"NOTOTAL 2", "aa"},
        {"NOTOTAL 255", "{'a' x 255}"},
        {"NOTOTAL 256", "{'a' x 256}"},
        {"NOTOTAL 513", "{'a' x 513}"},
        {"NOTOTAL 100000", "{'a' x 100000}"},
        {"WARN 0", ""},
        {"WARN 300", "{'a' x 300}"},
    };
    for (const auto& c : cases) {
        ResultTable rows;
        const bool read = conn.Query(c.script, rows);
        EXPECT_EQ(read ? Readable(rows.cells.at(0).value()) + Errors(conn) : Errors(conn), c.expected)
            << c.script;
    }
    try {
        Recordset().Open("FAIL 2", conn);
        ADD_FAILURE() << "Open did not raise";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(DescribeRuntimeError(e), "Run-time error '101': record 1 of 2");
    }
}

}  // namespace
}  // namespace tabvet
