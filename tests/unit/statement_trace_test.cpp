// The statement trace is what the benchmark's floor replays: it must hold exactly the statements that
// reached the driver, in order, each one read back unchanged. Its own executable, because the trace file is
// chosen once per process, at the first statement.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "db/recordset.h"
#include "support/scripted_connection.h"
#include "support/temp_folder.h"
#include "trace_reader.h"

namespace tabvet {
namespace {

using testsupport::ReadBytes;
using testsupport::Rows;
using testsupport::ScriptedConnection;
using testsupport::TempFolder;

std::vector<std::string> ReadTrace(const std::string& path) {
    bench::TraceReader reader(path);
    EXPECT_TRUE(reader.Good()) << path;
    std::vector<std::string> statements;
    std::string statement;
    while (reader.Next(statement)) {
        statements.push_back(statement);
    }
    return statements;
}

class StatementTraceTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        folder_ = new TempFolder();
        ASSERT_EQ(setenv("TABVET_STATEMENT_TRACE", TracePath().c_str(), 1), 0);
    }
    static void TearDownTestSuite() {
        delete folder_;
        folder_ = nullptr;
    }
    static std::string TracePath() { return folder_->File("statements.txt"); }

    static TempFolder* folder_;
};

TempFolder* StatementTraceTest::folder_ = nullptr;

// One test, as the trace only grows: every case appends to the same file, which is then read back whole.
TEST_F(StatementTraceTest, HoldsExactlyTheStatementsSentAndReadsThemBackUnchanged) {
    ScriptedConnection conn;
    conn.AnswerOthers([](const std::string&) { return Rows(1, {{"1"}}); });

    Recordset closedConnection;
    EXPECT_FALSE(closedConnection.OpenSuppressed("SELECT 'before the connection opened'", conn));
    ASSERT_TRUE(conn.Open("scripted"));

    struct Case {
        const char* label;
        std::string sql;
        bool sent;
    };
    const Case cases[] = {
        {"plain", "SELECT major FROM TSL.VERSION", true},
        {"line breaks in a name", "SELECT COUNT(A.SHAPE) FROM GIS.\"RO\r\nADS\" A WHERE 1 = 2", true},
        {"lone line feed and carriage return", "SELECT '\n' FROM DUAL WHERE '\r' = '\r'", true},
        {"backslashes, one before n", "SELECT 'C:\\new\\\\' FROM DUAL", true},
        {"text that looks escaped", "SELECT '\\\\n\\r' FROM DUAL", true},
        {"trailing backslash", "SELECT 1 FROM GIS.T\\", true},
        {"statement separator: refused, never sent", "SELECT 1; DROP TABLE TSL.LAYERS", false},
        {"comment: refused, never sent", "SELECT 1 -- hidden", false},
        {"non-ASCII name",
         "SELECT 1 FROM GIS.\xC3\x9F"
         "ACHE",
         true},
        {"empty", "", true},
    };
    std::vector<std::string> expected;
    for (const Case& c : cases) {
        Recordset rs;
        EXPECT_EQ(rs.OpenSuppressed(c.sql, conn), c.sent) << c.label;
        if (c.sent) {
            expected.push_back(c.sql);
        }
    }
    conn.Close();
    Recordset afterClose;
    EXPECT_FALSE(afterClose.OpenSuppressed("SELECT 'after the connection closed'", conn));

    EXPECT_EQ(ReadTrace(TracePath()), expected);
    EXPECT_EQ(conn.Sent(), expected);
    const std::string bytes = ReadBytes(TracePath());
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), static_cast<long>(expected.size()))
        << "one line per statement";
    EXPECT_EQ(bytes.find('\r'), std::string::npos);
}

TEST(TraceLineTest, UndoesOnlyTheTraceEscapes) {
    struct Case {
        std::string line;
        std::string statement;
    };
    const Case cases[] = {
        {"SELECT 1", "SELECT 1"},
        {"a\\nb\\rc\\\\d", "a\nb\rc\\d"},
        {"\\\\n", "\\n"},
        {"C:\\temp", "C:\\temp"},  // not an escape: kept
        {"ends with \\", "ends with \\"},
        {"", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(bench::UnescapeTraceLine(c.line), c.statement) << c.line;
    }
}

}  // namespace
}  // namespace tabvet
