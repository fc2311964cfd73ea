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

using namespace testsupport;

// Headings are connection strings and statements: what the driver is given, and whether it may be sent.
TEST(ConnectionStrings, KeywordsAreTranslatedValuesCopiedAsWrittenAndOnlySingleStatementsSent) {
    Transcript t("connection_strings");
    for (const std::string& text : CaseHeadings("connection_strings")) {
        t.Case(text);
        t.Line("translated", TranslateConnectionString(text));
        t.Line("single statement", std::to_string(IsSingleStatement(text)));
    }
}

// Headings are "server type code|system database name", set up in turn on one namer, so a heading may
// show what the previous one left.
TEST(Namer, SystemTablesUserTablesAndProbesForEveryServerType) {
    Transcript t("namer");
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    for (const std::string& heading : CaseHeadings("namer")) {
        t.Case(heading);
        if (const auto bar = heading.find('|'); bar != std::string::npos) {
            t.Try("setup",
                  [&] { return (namer.Setup(std::stoi(heading), heading.substr(bar + 1)), "done"); });
        }
        t.Line("type, database, uses it", std::to_string(namer.DbmsTypeCode()) + ", " +
                                              namer.SystemDatabaseName() + ", " +
                                              std::to_string(namer.UsesDatabaseName()));
        for (const char* table : {"VERSION", "  LAYERS ", "GDB_RELEASE", "xgdb", "XGDB "}) {
            t.Line(std::string("system table '") + table + "'", namer.TslSystemTable(table));
        }
        for (const char* database : {kNoDatabaseName, " d ", ""}) {
            t.Line(std::string("user table ' o '.' t ' in '") + database + "'",
                   namer.UserTable(" t ", " o ", database));
        }
        t.Line("find table", namer.SqlToFindTable("D.GIS.ROADS"));
        t.Line("find column", namer.SqlToFindColumn("SHAPE", "D.GIS.ROADS"));
        t.Line("find nothing",
               namer.SqlToFindTable("") + namer.SqlToFindColumn("", "O.T") + namer.SqlToFindColumn("C", ""));
        t.Boxes(ui);
    }
}

std::string Text(const FieldValue& value) {
    return value ? "'" + *value + "'" : "NULL";
}

TEST(DataAccess, ErrorTextsCursorFlagsAndRefusedStatements) {
    Transcript t("data_access");
    ScriptedConnection conn;
    RecordingInteraction ui;
    clsConnErrorString formatter(ui);
    Recordset rs;
    t.Case("closed connection: nothing reaches the driver");
    t.Try("open", [&] { return std::to_string(rs.OpenSuppressed("SELECT 1", conn)); });
    t.Try("errors", [&] { return formatter.Build(&conn); });
    conn.Open("");
    t.Case("a second statement or a comment is refused");
    t.Try("open", [&] { return std::to_string(rs.OpenSuppressed("SELECT 1; DROP TABLE t", conn)); });
    t.Try("errors", [&] { return formatter.Build(&conn); });
    t.Try("second entry", [&] { return conn.Errors().Item(1).Description; });
    t.Case("two errors appended to the earlier text; then an empty list replaces it");
    conn.Answer("SELECT bad",
                Failure({{1,
                          "ERROR: relation \"tsl.version\" does not exist;\nError while executing "
                          "the query"},
                         {-2147217900, "x"}}));
    t.Try("open", [&] { return std::to_string(rs.OpenSuppressed("SELECT bad", conn)); });
    t.Try("state", [&] { return std::to_string(rs.State()); });
    t.Try("errors", [&] { return formatter.Build(&conn); });
    t.Try("value", [&] { return formatter.Value(); });
    t.Try("open raising", [&] { return (rs.Open("SELECT bad", conn), std::string("opened")); });
    conn.Errors().Clear();
    t.Try("errors", [&] { return formatter.Build(&conn); });
    t.Try("null connection", [&] { return formatter.Build(nullptr); });
    // Flags at both ends of real results are tested against the real driver.
    conn.Answer("SELECT two", Rows(2, {{"a", std::nullopt}, {"b", "2"}}));
    rs.Open("SELECT two", conn);
    t.Try("errors after a good open", [&] { return formatter.Build(&conn); });
    t.Try("NULL field", [&] { return Text(rs.Fields(1)); });
    t.Try("field past the last column", [&] { return Text(rs.Fields(2)); });
    t.Try("close", [&] { return (rs.Close(), std::string("closed")); });
    t.Try("close again", [&] { return (rs.Close(), std::string("closed")); });
    const auto flags = [&] { return std::to_string(rs.Bof()) + std::to_string(rs.Eof()); };
    t.Try("bof eof when closed", flags);
    t.Case("a fresh cursor past its last row (scripted: no real driver gives it)");
    auto odd = Rows(1, {{"x"}, {"y"}});
    odd.freshCursorAfterLast = true;
    conn.Answer("SELECT odd", odd);
    rs.Open("SELECT odd", conn);
    t.Try("bof eof", flags);
    t.Try("first", [&] { return (rs.MoveFirst(), Text(rs.Fields(0))); });
    for (const std::string& sql : conn.Sent()) {
        t.Line("sent", sql);
    }
    t.Boxes(ui);
}

TEST(Conversions, IntegersTextAndTheLeadingNumberOfTypedText) {
    Transcript t("conversions");
    for (const FieldValue& input :
         std::vector<FieldValue>{"9", " 42 ", "2.5", "-2.5", "32767", "32768", "16777216", "2147483648",
                                 "1e3", std::nullopt, "", "abc", "inf"}) {
        t.Case(Text(input));
        t.Try("16 bit", [&] { return std::to_string(ToInt16(input)); });  // halves go to the even neighbour
        t.Try("32 bit", [&] { return std::to_string(ToInt32(input)); });
        t.Try("text", [&] { return ToText(input); });
        t.Try("text or empty", [&] { return TextOrEmpty(input); });
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
