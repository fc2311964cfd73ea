// Connection strings typed for the classic data-access layer must reach the ODBC driver manager intact,
// and no statement text that could carry a second statement may reach the server.
#include <gtest/gtest.h>

#include "db/connection_string.h"
#include "db/statement_guard.h"

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

}  // namespace
}  // namespace tabvet
