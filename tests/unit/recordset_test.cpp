// Cursor flags and errors of a result set, as the checks' begin/end-of-file tests depend on them.
#include <gtest/gtest.h>

#include "db/recordset.h"
#include "db/runtime_error.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::Rows;
using testsupport::ScriptedConnection;

TEST(RecordsetTest, FlagsAndErrorsThroughAWalkAndOnAnEmptyResult) {
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer("SELECT two", Rows(2, {{"a", std::nullopt}, {"b", "2"}}));
    conn.Answer("SELECT none", Rows(1, {}));
    Recordset rs;
    rs.Open("SELECT two", conn);
    EXPECT_FALSE(rs.Bof());
    EXPECT_FALSE(rs.Eof());
    EXPECT_EQ(rs.Fields(1), std::nullopt);
    EXPECT_THROW((void)rs.Fields(2), RuntimeError);
    rs.MoveNext();
    rs.MoveNext();
    EXPECT_TRUE(rs.Eof());
    EXPECT_THROW(rs.MoveNext(), RuntimeError);
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields(0), FieldValue{"a"});
    rs.Close();
    EXPECT_THROW(rs.Close(), RuntimeError);
    EXPECT_THROW((void)rs.Eof(), RuntimeError);

    ASSERT_TRUE(rs.OpenSuppressed("SELECT none", conn));
    EXPECT_TRUE(rs.Bof());
    EXPECT_TRUE(rs.Eof());
    try {
        (void)rs.Fields(0);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), errnum::kNoCurrentRecord);
    }
    EXPECT_THROW(rs.MoveLast(), RuntimeError);
}

// No real driver gives this state; it is scripted so that the checks' rule for it can be exercised.
TEST(RecordsetTest, ScriptedFreshCursorPastTheLastRow) {
    ScriptedConnection conn;
    conn.Open("");
    auto answer = Rows(1, {{"x"}, {"y"}});
    answer.freshCursorAfterLast = true;
    conn.Answer("SELECT odd", answer);
    Recordset rs;
    rs.Open("SELECT odd", conn);
    EXPECT_FALSE(rs.Bof());
    EXPECT_TRUE(rs.Eof());
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields(0), FieldValue{"x"});
}

TEST(RecordsetTest, FailedOpensFillTheErrorListOrRaise) {
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer("SELECT bad", testsupport::Failure({{1, "first"}, {2, "second"}}));
    Recordset rs;
    EXPECT_FALSE(rs.OpenSuppressed("SELECT bad", conn));
    EXPECT_EQ(rs.State(), Connection::kStateClosed);
    EXPECT_EQ(conn.Errors().Count(), 2);
    try {
        rs.Open("SELECT bad", conn);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number(), 1);
        EXPECT_EQ(e.Description(), "first");
    }
    conn.Answer("SELECT good", Rows(1, {{"1"}}));
    EXPECT_TRUE(rs.OpenSuppressed("SELECT good", conn));
    EXPECT_EQ(conn.Errors().Count(), 0);  // every open starts with an empty list
}

TEST(RecordsetTest, RefusedAndClosedConnectionStatementsNeverReachTheDriver) {
    ScriptedConnection conn;
    Recordset rs;
    EXPECT_FALSE(rs.OpenSuppressed("SELECT 1", conn));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Number, errnum::kConnectionNotUsable);
    conn.Open("");
    EXPECT_FALSE(rs.OpenSuppressed("SELECT 1; DROP TABLE t", conn));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_EQ(conn.Errors().Item(0).Number, -2147217900);
    EXPECT_EQ(conn.Errors().Item(0).Description,
              "Statement not sent: it contains a statement separator or a comment");
    EXPECT_TRUE(conn.Sent().empty());
    EXPECT_THROW((void)conn.Errors().Item(1), RuntimeError);
}

}  // namespace
}  // namespace tabvet
