// The data-access layer without a server: connection-string keywords, the single-statement rule, the
// error-list text, system-table names and probes for every server type, cursor flags the checks depend on,
// and the conversions that decide whether a check reads a value or ends the run.
#include <gtest/gtest.h>

#include "db/conn_error_string.h"
#include "db/connection_string.h"
#include "db/qual_db_obj_name.h"
#include "db/recordset.h"
#include "db/runtime_error.h"
#include "db/statement_guard.h"
#include "db/utf16.h"
#include "db/value.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

using testsupport::Failure;
using testsupport::RecordingInteraction;
using testsupport::Rows;
using testsupport::ScriptedConnection;

TEST(ConnectionString, KeywordsOfTheDataAccessLayerAreTranslatedAndValuesCopiedAsWritten) {
    const std::pair<const char*, const char*> cases[] = {
        {"Provider=MSDASQL;Driver=X;Server=s;", "Driver=X;Server=s;"},
        {"Driver=X;provider=msdasql.1;Database=db", "Driver=X;Database=db"},
        {"User ID=tsl;password=kqv;", "UID=tsl;PWD=kqv;"},
        {" user id =tsl;Data Source=ORCL;", "UID=tsl;DSN=ORCL;"},
        {"Password={x}}y;z};Driver=D", "PWD={x}}y;z};Driver=D"},
        {"Provider={weird;name};Driver=D", "Driver=D"},
        {";;Driver=D;junk;", ";;Driver=D;junk;"},
        {"Provider=MSDASQL", ""},
        {"PWD={unbalanced;UID=u", "PWD={unbalanced;UID=u"},
        {"Provider=MSDASQL;Driver=Oracle in OraHome90;Server=GISPROD;User Id=tsl;Password=kqv",
         "Driver=Oracle in OraHome90;Server=GISPROD;UID=tsl;PWD=kqv"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(TranslateConnectionString(input), expected) << input;
    }
}

TEST(StatementGuard, OnlySingleStatementsWithoutCommentsAreSent) {
    for (const char* sent : {"SELECT 'x' - 1 FROM T", "SELECT a/b, c*d FROM T"}) {
        EXPECT_TRUE(IsSingleStatement(sent)) << sent;
    }
    for (const char* refused : {"SELECT 1; DROP TABLE x", "SELECT 1;", "SELECT 1 -- rest", "SELECT /* x */ 1",
                                "SELECT 'it;s' FROM T", "SELECT * FROM GIS.a--b"}) {
        EXPECT_FALSE(IsSingleStatement(refused)) << refused;
    }
}

TEST(Namer, SystemTablesUserTablesAndProbesForEveryServerType) {
    const struct {
        std::int32_t code;
        const char* database;
        const char* table;
        const char* systemTable;
        const char* userTable;  // of " t " and " o " in the default database
        const char* findTable;  // of "D.GIS.ROADS"
        const char* findColumn;
    } cases[] = {
        {dbtype::kDb2, kNoDatabaseName, "VERSION", "TSL.TSL.VERSION", "TSL.o.t",
         "SELECT * FROM D.GIS.ROADS WHERE 1 = 2", "SELECT A.SHAPE FROM D.GIS.ROADS A WHERE 1 = 2"},
        {dbtype::kOracle, "D", "  LAYERS ", "TSL.LAYERS", "o.t",
         "SELECT COUNT(*) FROM D.GIS.ROADS WHERE 1 = 2",
         "SELECT COUNT(A.SHAPE) FROM D.GIS.ROADS A WHERE 1 = 2"},
        {dbtype::kInformix, "mydb", "VERSION", "mydb:TSL.VERSION", "mydb:o.t",
         "SELECT * FROM D.GIS.ROADS WHERE 1 = 2", "SELECT A.SHAPE FROM D.GIS.ROADS A WHERE 1 = 2"},
        {dbtype::kSqlServer, " padded ", "VERSION", "padded.TSL.tsl_VERSION", "padded.o.t",
         "SELECT * FROM D.GIS.ROADS WHERE 1 = 2", "SELECT A.SHAPE FROM D.GIS.ROADS A WHERE 1 = 2"},
        // Only names that really end in GDB keep their bare name; the untrimmed end decides.
        {dbtype::kSqlServer, "", "GDB_RELEASE", ".TSL.tsl_GDB_RELEASE", ".o.t", nullptr, nullptr},
        {dbtype::kSqlServer, "", "xgdb", ".TSL.xgdb", ".o.t", nullptr, nullptr},
        {dbtype::kSqlServer, "", "XGDB ", ".TSL.tsl_XGDB", ".o.t", nullptr, nullptr},
    };
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    for (const auto& c : cases) {
        namer.Setup(c.code, c.database);
        SCOPED_TRACE(std::string(c.systemTable));
        EXPECT_EQ(namer.TslSystemTable(c.table), c.systemTable);
        EXPECT_EQ(namer.UserTable(" t ", " o "), c.userTable);
        if (c.findTable != nullptr) {
            EXPECT_EQ(namer.SqlToFindTable("D.GIS.ROADS"), c.findTable);
            EXPECT_EQ(namer.SqlToFindColumn("SHAPE", "D.GIS.ROADS"), c.findColumn);
        }
    }
    EXPECT_EQ(namer.SystemDatabaseName(), "");
    namer.Setup(dbtype::kInformix, "mydb");
    EXPECT_EQ(namer.UserTable("t", "o", " d "), "d:o.t");
    EXPECT_EQ(namer.UserTable("t", "o", "12345"), "mydb:o.t");  // "12345" means "not given"
    namer.Setup(dbtype::kInformix, "12345");                    // keeps the previous name
    EXPECT_EQ(namer.UserTable("", ""), "mydb:.");
    EXPECT_TRUE(ui.shown.empty());
}

TEST(Namer, WithoutSetUpNamesAreEmptyAndInvalidTypesRaiseKeepingThePreviousSetUp) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    // Emptiness is checked before the set-up: no message.
    EXPECT_EQ(namer.SqlToFindTable("") + namer.SqlToFindColumn("", "O.T") + namer.SqlToFindColumn("C", ""),
              "");
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_FALSE(namer.UsesDatabaseName());
    EXPECT_EQ(namer.DbmsTypeCode(), dbtype::kNotSetUp);
    EXPECT_EQ(namer.TslSystemTable("LAYERS") + namer.UserTable("T", "O") + namer.SqlToFindTable("O.T") +
                  namer.SqlToFindColumn("C", "O.T"),
              "");
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>(4, "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"));
    namer.Setup(dbtype::kOracle);
    for (const std::int32_t bad : {1, 6}) {
        try {
            namer.Setup(bad, "OTHER");
            ADD_FAILURE() << "code " << bad << " was accepted";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(std::to_string(e.Number()) + " " + e.Description(),
                      "-2147189392 Invalid database type");
        }
    }
    EXPECT_EQ(namer.SystemDatabaseName() + " " + namer.TslSystemTable("VERSION"), "TSL TSL.VERSION");
}

// Runs `step` and prints its value, or the number of the error it raises.
template <typename F>
void Try(testsupport::Transcript& t, const std::string& label, F step) {
    try {
        t.Line(label, step());
    } catch (const RuntimeError& e) {
        t.Line(label, "raised " + std::to_string(e.Number()) + " " + e.Description());
    }
}

std::string Text(const FieldValue& value) {
    return value ? "'" + *value + "'" : "NULL";
}

TEST(DataAccess, ErrorTextsCursorFlagsAndRefusedStatements) {
    testsupport::Transcript t("data_access");
    ScriptedConnection conn;
    RecordingInteraction ui;
    clsConnErrorString formatter(ui);
    Recordset rs;
    t.Case("closed connection: nothing reaches the driver");
    Try(t, "open", [&] { return std::to_string(rs.OpenSuppressed("SELECT 1", conn)); });
    Try(t, "errors", [&] { return formatter.Build(&conn); });
    conn.Open("");
    t.Case("a second statement or a comment is refused");
    Try(t, "open", [&] { return std::to_string(rs.OpenSuppressed("SELECT 1; DROP TABLE t", conn)); });
    Try(t, "errors", [&] { return formatter.Build(&conn); });
    Try(t, "second entry", [&] { return conn.Errors().Item(1).Description; });
    t.Case("two errors appended to the earlier text; then an empty list replaces it");
    conn.Answer("SELECT bad",
                Failure({{1,
                          "ERROR: relation \"tsl.version\" does not exist;\nError while executing "
                          "the query"},
                         {-2147217900, "x"}}));
    Try(t, "open", [&] { return std::to_string(rs.OpenSuppressed("SELECT bad", conn)); });
    Try(t, "state", [&] { return std::to_string(rs.State()); });
    Try(t, "errors", [&] { return formatter.Build(&conn); });
    Try(t, "value", [&] { return formatter.Value(); });
    Try(t, "open raising", [&] { return (rs.Open("SELECT bad", conn), std::string("opened")); });
    conn.Errors().Clear();
    Try(t, "errors", [&] { return formatter.Build(&conn); });
    Try(t, "null connection", [&] { return formatter.Build(nullptr); });
    // Flags at both ends of real results are tested against the real driver.
    conn.Answer("SELECT two", Rows(2, {{"a", std::nullopt}, {"b", "2"}}));
    rs.Open("SELECT two", conn);
    Try(t, "errors after a good open", [&] { return formatter.Build(&conn); });
    Try(t, "NULL field", [&] { return Text(rs.Fields(1)); });
    Try(t, "field past the last column", [&] { return Text(rs.Fields(2)); });
    Try(t, "close", [&] { return (rs.Close(), std::string("closed")); });
    Try(t, "close again", [&] { return (rs.Close(), std::string("closed")); });
    const auto flags = [&] { return std::to_string(rs.Bof()) + std::to_string(rs.Eof()); };
    Try(t, "bof eof when closed", flags);
    t.Case("a fresh cursor past its last row (scripted: no real driver gives it)");
    auto odd = Rows(1, {{"x"}, {"y"}});
    odd.freshCursorAfterLast = true;
    conn.Answer("SELECT odd", odd);
    rs.Open("SELECT odd", conn);
    Try(t, "bof eof", flags);
    Try(t, "first", [&] { return (rs.MoveFirst(), Text(rs.Fields(0))); });
    for (const std::string& sql : conn.Sent()) {
        t.Line("sent", sql);
    }
    for (const std::string& box : ui.Lines()) {
        t.Line("box", box);
    }
}

TEST(Conversions, IntegersTextAndTheLeadingNumberOfTypedText) {
    testsupport::Transcript t("conversions");
    for (const FieldValue& input :
         std::vector<FieldValue>{"9", " 42 ", "2.5", "-2.5", "32767", "32768", "16777216", "2147483648",
                                 "1e3", std::nullopt, "", "abc", "inf"}) {
        t.Case(Text(input));
        Try(t, "16 bit", [&] { return std::to_string(ToInt16(input)); });  // halves go to the even neighbour
        Try(t, "32 bit", [&] { return std::to_string(ToInt32(input)); });
        Try(t, "text", [&] { return ToText(input); });
        Try(t, "text or empty", [&] { return TextOrEmpty(input); });
    }
    t.Case("leading number of typed text");
    for (const char* text : {"", "9.1", "  8 ", "1 2", "12abc", "abc12", "-3", ".5", "1e", "2d1", "&H1F",
                             "&O17", "-", "9.0.0", "1.2.3", "99999"}) {
        std::ostringstream number;
        number << LeadingNumber(text);
        t.Line(std::string("'") + text + "'", number.str());
    }
}

// Every statement and value passes through these: names must arrive intact, and broken input must become
// U+FFFD rather than stop a run.
constexpr SQLWCHAR R = 0xFFFD;

TEST(Utf16, Utf8ToOdbcWideAndBack) {
    const std::pair<std::string, std::vector<SQLWCHAR>> toWide[] = {
        {"", {}},
        {"\xC3\xA9t\xE2\x82\xAC", {0xE9, 't', 0x20AC}},
        {"a\xF0\x9F\x98\x80z", {'a', 0xD83D, 0xDE00, 'z'}},  // a surrogate pair
        {"a\x80z\xF8z", {'a', R, 'z', R, 'z'}},              // stray continuation, byte that never starts one
        {"\xC3z!", {R, 'z', '!'}},                           // lead without its continuation
        {"ab\xE2\x82", {'a', 'b', R}},                       // cut at the end
        {"\xED\xA0\x80!", {R, R, R, '!'}},                   // encoded surrogate
        {"\xF4\x90\x80\x80!", {R, R, R, R, '!'}},            // beyond U+10FFFF
    };
    for (const auto& [utf8, units] : toWide) {
        EXPECT_EQ(ToOdbcWide(utf8), OdbcWideString(units.begin(), units.end())) << utf8;
    }
    const std::pair<std::vector<SQLWCHAR>, std::string> toUtf8[] = {
        {{0xE9, 0x20AC, 0xD83D, 0xDE00}, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {{0xD83D, 'x', 0xDE00}, "\xEF\xBF\xBDx\xEF\xBF\xBD"},  // lone high and low surrogates
        {{'x', 0xD83D}, "x\xEF\xBF\xBD"},
    };
    for (const auto& [units, utf8] : toUtf8) {
        EXPECT_EQ(FromOdbcWide(units.data(), units.size()), utf8) << utf8;
    }
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += i % 7 == 0 ? "\xC3\xA9" : (i % 11 == 0 ? "\xF0\x9F\x98\x80" : "x");
    }
    const OdbcWideString wide = ToOdbcWide(text);
    EXPECT_EQ(FromOdbcWide(wide.data(), wide.size()), text);
}

}  // namespace
}  // namespace tabvet
