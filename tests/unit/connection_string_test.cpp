// Connection strings typed for the classic data-access layer must reach the ODBC driver manager intact, no
// statement text that could carry a second statement may reach the server, and every failure is reported
// with the error-list text (the connect box that shows it is tested with the real driver's messages).
#include <gtest/gtest.h>

#include "db/conn_error_string.h"
#include "db/connection_string.h"
#include "db/statement_guard.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

TEST(ConnectionStringTest, KeywordsOfTheDataAccessLayerAreTranslated) {
    struct Case {
        const char* input;
        const char* expected;
    };
    const Case cases[] = {
        {"Provider=MSDASQL;Driver=X;Server=s;", "Driver=X;Server=s;"},
        {"PROVIDER=MSDASQL;DSN=d;UID=u;PWD=p;", "DSN=d;UID=u;PWD=p;"},
        {"Driver=X;provider=msdasql.1;Database=db", "Driver=X;Database=db"},
        {"User Id=tsl;Password=kqv", "UID=tsl;PWD=kqv"},
        {"User ID=tsl;password=kqv;", "UID=tsl;PWD=kqv;"},
        {" user id =tsl;", "UID=tsl;"},
        {"Data Source=ORCL;", "DSN=ORCL;"},
        // Values are copied as written, braces and odd characters included.
        {"PWD={a;b};UID=u", "PWD={a;b};UID=u"},
        {"Password={x}}y;z};Driver=D", "PWD={x}}y;z};Driver=D"},
        {"Provider={weird;name};Driver=D", "Driver=D"},
        {"Driver={PostgreSQL Unicode};Port=5", "Driver={PostgreSQL Unicode};Port=5"},
        // Pieces that are not pairs pass through untouched.
        {";;Driver=D;junk;", ";;Driver=D;junk;"},
        {"", ""},
        {"Provider=MSDASQL", ""},
        {"PWD={unbalanced;UID=u", "PWD={unbalanced;UID=u"},
        // The canned example string, whose last pair has no closing semicolon.
        {"Provider=MSDASQL;Driver=Oracle in OraHome90;Server=GISPROD;User Id=tsl;Password=kqv",
         "Driver=Oracle in OraHome90;Server=GISPROD;UID=tsl;PWD=kqv"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TranslateConnectionString(c.input), c.expected) << c.input;
    }
}

TEST(StatementGuardTest, OnlySingleStatementsWithoutCommentsAreSent) {
    EXPECT_TRUE(IsSingleStatement("SELECT COUNT(A.SHAPE) FROM GIS.ROADS A WHERE 1 = 2"));
    EXPECT_TRUE(IsSingleStatement("SELECT 'x' - 1 FROM T"));  // a single minus is harmless
    EXPECT_TRUE(IsSingleStatement("SELECT a/b, c*d FROM T"));
    for (const char* refused : {"SELECT 1; DROP TABLE x", "SELECT 1;", "SELECT 1 -- rest", "SELECT /* x */ 1",
                                "SELECT 'it;s' FROM T", "SELECT * FROM GIS.a--b"}) {
        EXPECT_FALSE(IsSingleStatement(refused)) << refused;
    }
}

using testsupport::RecordingInteraction;
using testsupport::ScriptedConnection;

// A connection whose error list holds exactly `errors` (a failed scripted statement fills it).
void FillErrors(ScriptedConnection& conn, std::vector<AdoError> errors) {
    conn.Open("");
    conn.Answer("SELECT fail", testsupport::Failure(std::move(errors)));
    ResultTable ignored;
    conn.Query("SELECT fail", ignored);
}

TEST(ConnErrorStringTest, TextForEmptyOneAndTwoErrors) {
    struct Case {
        std::vector<AdoError> errors;
        std::string expected;
    };
    const Case cases[] = {
        {{}, ">>>> No errors found on connection handle"},
        {{{3709, "abc"}}, "\r\n>>>> Err#3709: abc"},
        {{{1, "ERROR: relation \"tsl.version\" does not exist;\nError while executing the query"},
          {-2147217900, "x"}},
         "\r\n>>>> Err#1: ERROR: relation \"tsl.version\" does not exist;\nError while executing the query"
         "\r\n>>>> Err#-2147217900: x"},
    };
    for (const Case& c : cases) {
        RecordingInteraction ui;
        ScriptedConnection conn;
        FillErrors(conn, c.errors);
        clsConnErrorString formatter(ui);
        EXPECT_EQ(formatter.Build(&conn), c.expected);
        EXPECT_EQ(formatter.Value(), c.expected);
        EXPECT_TRUE(ui.shown.empty());
    }
}

TEST(ConnErrorStringTest, SecondBuildAppendsButAnEmptyListReplaces) {
    RecordingInteraction ui;
    ScriptedConnection conn;
    clsConnErrorString formatter(ui);
    FillErrors(conn, {{1, "first"}});
    formatter.Build(&conn);
    FillErrors(conn, {{2, "second"}});
    EXPECT_EQ(formatter.Build(&conn), "\r\n>>>> Err#1: first\r\n>>>> Err#2: second");
    conn.Errors().Clear();
    EXPECT_EQ(formatter.Build(&conn), ">>>> No errors found on connection handle");
}

TEST(ConnErrorStringTest, NullConnectionShowsTheUnexpectedConditionBox) {
    RecordingInteraction ui;
    clsConnErrorString formatter(ui);
    EXPECT_EQ(formatter.Build(nullptr), "");
    ASSERT_EQ(ui.Lines(),
              std::vector<std::string>{"Unexpected condition: clsConnErrorString.Build got NULL connection"});
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::Ok);
}

}  // namespace
}  // namespace tabvet
