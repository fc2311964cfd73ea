// The data-access layer without a server: connection strings reach the driver manager intact, no text that
// could carry a second statement is sent, every failure is reported with the error-list text (the connect box
// that shows it is tested with the real driver's messages), system-table names and probe statements for
// every server type, cursor flags the checks' begin/end-of-file tests depend on, and the conversions that
// decide whether a check reads a value or ends the run.
#include <gtest/gtest.h>

#include "db/conn_error_string.h"
#include "db/connection_string.h"
#include "db/qual_db_obj_name.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "db/value.h"
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

TEST(NamerTest, SystemTablesAreQualifiedForEveryServerType) {
    const struct {
        std::int32_t code;
        const char* table;
        const char* expected;
    } cases[] = {
        {dbtype::kDb2, "VERSION", "TSL.TSL.VERSION"},
        {dbtype::kOracle, "VERSION", "TSL.VERSION"},
        {dbtype::kInformix, "VERSION", "TSL:TSL.VERSION"},
        {dbtype::kSqlServer, "VERSION", "TSL.TSL.tsl_VERSION"},
        // Only names that really end in GDB keep their bare name on SQL Server.
        {dbtype::kSqlServer, "GDB_RELEASE", "TSL.TSL.tsl_GDB_RELEASE"},
        {dbtype::kSqlServer, "xgdb", "TSL.TSL.xgdb"},
        // The end of the untrimmed name decides; the table part is trimmed afterwards.
        {dbtype::kSqlServer, " LAYERS ", "TSL.TSL.tsl_LAYERS"},
        {dbtype::kSqlServer, "XGDB ", "TSL.TSL.tsl_XGDB"},
        {dbtype::kOracle, "  LAYERS ", "TSL.LAYERS"},
    };
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    for (const auto& c : cases) {
        namer.Setup(c.code);
        EXPECT_EQ(namer.TslSystemTable(c.table), c.expected) << c.code << " '" << c.table << "'";
    }
    EXPECT_TRUE(ui.shown.empty());
}

TEST(NamerTest, FreshNamerIsNotSetUpAndSaysSoUnlessTheProbeInputIsEmpty) {
    RecordingInteraction ui;
    const clsQualDbObjName namer(ui);
    // Emptiness is checked before the set-up: no message.
    EXPECT_EQ(namer.SqlToFindTable(""), "");
    EXPECT_EQ(namer.SqlToFindColumn("", "O.T"), "");
    EXPECT_EQ(namer.SqlToFindColumn("C", ""), "");
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_FALSE(namer.UsesDatabaseName());
    EXPECT_EQ(namer.DbmsTypeCode(), dbtype::kNotSetUp);
    EXPECT_EQ(namer.TslSystemTable("LAYERS"), "");
    EXPECT_EQ(namer.UserTable("T", "O"), "");
    EXPECT_EQ(namer.SqlToFindTable("O.T"), "");
    EXPECT_EQ(namer.SqlToFindColumn("C", "O.T"), "");
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>(4, "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"));
}

TEST(NamerTest, UserTableTrimsPartsAndUsesTheRightDatabase) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kInformix, "mydb");
    EXPECT_EQ(namer.UserTable("t", "o"), "mydb:o.t");
    EXPECT_EQ(namer.UserTable(" t ", " o ", " d "), "d:o.t");
    EXPECT_EQ(namer.UserTable("t", "o", "12345"), "mydb:o.t");  // "12345" means "not given"
    namer.Setup(dbtype::kOracle);
    EXPECT_EQ(namer.UserTable("T", "O", "D"), "O.T");  // Oracle names carry no database
    EXPECT_EQ(namer.UserTable("", ""), ".");           // empty parts are not checked
}

TEST(NamerTest, SetupKeepsOrReplacesTheSystemDatabaseName) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kDb2, "GIS");
    namer.Setup(dbtype::kDb2, "12345");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "GIS.TSL.VERSION");
    namer.Setup(dbtype::kDb2, " padded ");  // stored unchanged, trimmed only when a name is built
    EXPECT_EQ(namer.SystemDatabaseName(), " padded ");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "padded.TSL.VERSION");
    // What the window passes when no database was entered in the logon dialog.
    namer.Setup(dbtype::kSqlServer, "");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), ".TSL.tsl_VERSION");
}

TEST(NamerTest, InvalidTypeRaisesAndKeepsThePreviousSetup) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kOracle);
    for (const std::int32_t bad : {1, 6}) {
        try {
            namer.Setup(bad, "OTHER");
            FAIL() << "code " << bad << " was accepted";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), -2147189392);
            EXPECT_EQ(e.Description(), "Invalid database type");
        }
    }
    EXPECT_EQ(namer.DbmsTypeCode(), dbtype::kOracle);
    EXPECT_EQ(namer.SystemDatabaseName(), "TSL");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "TSL.VERSION");
}

TEST(NamerTest, ProbeStatementsPerServerType) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kOracle);
    EXPECT_EQ(namer.SqlToFindTable("GIS.ROADS"), "SELECT COUNT(*) FROM GIS.ROADS WHERE 1 = 2");
    EXPECT_EQ(namer.SqlToFindColumn("SHAPE", "GIS.ROADS"),
              "SELECT COUNT(A.SHAPE) FROM GIS.ROADS A WHERE 1 = 2");
    for (const std::int32_t code : {dbtype::kDb2, dbtype::kInformix, dbtype::kSqlServer}) {
        namer.Setup(code);
        EXPECT_EQ(namer.SqlToFindTable("D.GIS.ROADS"), "SELECT * FROM D.GIS.ROADS WHERE 1 = 2");
        EXPECT_EQ(namer.SqlToFindColumn("SHAPE", "D.GIS.ROADS"),
                  "SELECT A.SHAPE FROM D.GIS.ROADS A WHERE 1 = 2");
    }
    EXPECT_TRUE(ui.shown.empty());
}

using testsupport::Rows;

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

// Number of the error a conversion raises, or 0 when it succeeds.
template <typename F>
std::int32_t RaisedNumber(F convert) {
    try {
        convert();
        return 0;
    } catch (const RuntimeError& e) {
        return e.Number();
    }
}

TEST(ValueConversionTest, IntegerConversions) {
    struct Case {
        FieldValue input;
        std::int32_t as16;  // expected value when no error
        std::int32_t error16;
        std::int32_t as32;
        std::int32_t error32;
    };
    const Case cases[] = {
        {"9", 9, 0, 9, 0},
        {" 42 ", 42, 0, 42, 0},
        {"2.5", 2, 0, 2, 0},  // halves go to the even neighbour
        {"-2.5", -2, 0, -2, 0},
        {"32767", 32767, 0, 32767, 0},
        {"32768", 0, errnum::kOverflow, 32768, 0},
        {"16777216", 0, errnum::kOverflow, 16777216, 0},
        {"2147483648", 0, errnum::kOverflow, 0, errnum::kOverflow},
        {"1e3", 1000, 0, 1000, 0},
        {std::nullopt, 0, errnum::kInvalidUseOfNull, 0, errnum::kInvalidUseOfNull},
        {"", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
        {"abc", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
        {"inf", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
    };
    for (const Case& c : cases) {
        const std::string label = c.input ? "'" + *c.input + "'" : "NULL";
        EXPECT_EQ(RaisedNumber([&] { (void)ToInt16(c.input); }), c.error16) << label;
        EXPECT_EQ(RaisedNumber([&] { (void)ToInt32(c.input); }), c.error32) << label;
        if (c.error16 == 0) {
            EXPECT_EQ(ToInt16(c.input), c.as16) << label;
        }
        if (c.error32 == 0) {
            EXPECT_EQ(ToInt32(c.input), c.as32) << label;
        }
    }
}

TEST(ValueConversionTest, NullToTextRaisesButConcatenationToleratesIt) {
    EXPECT_EQ(RaisedNumber([] { (void)ToText(std::nullopt); }), errnum::kInvalidUseOfNull);
    EXPECT_EQ(ToText(FieldValue{""}), "");
    EXPECT_EQ(TextOrEmpty(std::nullopt), "");
    EXPECT_EQ(TextOrEmpty(FieldValue{"x"}), "x");
}

TEST(ValueConversionTest, LeadingNumberOfTypedText) {
    struct Case {
        const char* text;
        double expected;
    };
    const Case cases[] = {
        {"", 0},    {"9.1", 9.1}, {"  8 ", 8},    {"1 2", 12},      {"12abc", 12}, {"abc12", 0},
        {"-3", -3}, {".5", 0.5},  {"1e", 1},      {"2d1", 20},      {"&H1F", 31},  {"&O17", 15},
        {"-", 0},   {"9.0.0", 9}, {"1.2.3", 1.2}, {"99999", 99999},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(LeadingNumber(c.text), c.expected) << "'" << c.text << "'";
    }
}

}  // namespace
}  // namespace tabvet
