// The statement trace is what the benchmark's floor replays: it must hold exactly the statements that
// reached the driver, in order, each one read back unchanged. Its own executable, because the trace file is
// chosen once per process, at the first statement.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "db/recordset.h"
#include "support/scripted_connection.h"
#include "support/temp_folder.h"
#include "trace_reader.h"

namespace tabvet {
namespace {

using namespace testsupport;

TEST(StatementTrace, HoldsExactlyTheStatementsSentAndReadsThemBackUnchanged) {
    TempFolder folder;
    const std::string trace = folder.File("statements.txt");
    ASSERT_EQ(setenv("TABVET_STATEMENT_TRACE", trace.c_str(), 1), 0);
    ScriptedConnection conn;
    conn.AnswerOthers([](const std::string&) { return Rows(1, {{"1"}}); });
    EXPECT_FALSE(Recordset().OpenSuppressed("SELECT 'before the connection opened'", conn));
    ASSERT_TRUE(conn.Open("scripted"));
    const std::vector<std::string> sent = {"SELECT COUNT(A.SHAPE) FROM GIS.\"RO\r\nADS\" A WHERE 1 = 2",
                                           "SELECT '\n' FROM DUAL WHERE '\r' = '\r'",
                                           "SELECT 'C:\\new\\\\' FROM DUAL",
                                           "SELECT '\\\\n\\r' FROM DUAL",
                                           "SELECT 1 FROM GIS.T\\",
                                           "SELECT 1 FROM GIS.\xC3\x9F"
                                           "ACHE",
                                           ""};
    for (const std::string& sql : sent) {
        EXPECT_TRUE(Recordset().OpenSuppressed(sql, conn)) << sql;
        // Refused statements are never sent, so never traced.
        EXPECT_FALSE(Recordset().OpenSuppressed("SELECT 1; DROP TABLE TSL.LAYERS", conn));
    }
    conn.Close();
    EXPECT_FALSE(Recordset().OpenSuppressed("SELECT 'after the connection closed'", conn));

    bench::TraceReader reader(trace);
    ASSERT_TRUE(reader.Good());
    std::vector<std::string> read;
    for (std::string statement; reader.Next(statement);) {
        read.push_back(statement);
    }
    EXPECT_EQ(read, sent);
    EXPECT_EQ(conn.Sent(), sent);
    const std::string bytes = ReadBytes(trace);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), static_cast<long>(sent.size()))
        << "one line each";
    EXPECT_EQ(bytes.find('\r'), std::string::npos);
}

}  // namespace
}  // namespace tabvet
