// The data-access layer and the first steps without a server: connection strings and the single-statement
// rule, system-table names and probes for every server type, the error-list text, cursor flags, the
// conversions that decide whether a check reads a value or ends the run, the logon dialog's string, the
// version boxes, and the probing order of detection down to the last naming style.
#include "db/conn_error_string.h"
#include "db/connection_string.h"
#include "db/odbc_connection.h"
#include "db/qual_db_obj_name.h"
#include "db/recordset.h"
#include "db/statement_guard.h"
#include "db/utf16.h"
#include "db/value.h"
#include "session/connection_handling.h"
#include "session/odbc_logon.h"
#include "session/run_step.h"
#include "session/server_type_detection.h"
#include "session/server_type_selection.h"
#include "support/scripted_connection.h"
#include "support/transcript.h"

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
    const auto open = [&](const char* sql) { return std::to_string(rs.OpenSuppressed(sql, conn)); };
    t.Case("closed connection: nothing reaches the driver");
    t.Try("open", [&] { return open("SELECT 1"); });
    t.Try("errors", [&] { return formatter.Build(&conn); });
    conn.Open("");
    t.Case("a second statement or a comment is refused");
    t.Try("open", [&] { return open("SELECT 1; DROP TABLE t"); });
    t.Try("errors", [&] { return formatter.Build(&conn); });
    t.Try("second entry", [&] { return conn.Errors().Item(1).Description; });
    t.Case("two errors appended to the earlier text; then an empty list replaces it");
    conn.Answer(
        "SELECT bad",
        Failure({{1, "ERROR: relation \"tsl.version\" does not exist;\nError while executing the query"},
                 {-2147217900, "x"}}));
    t.Try("open", [&] { return open("SELECT bad"); });
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

std::string Units(const OdbcWideString& wide) {
    std::string hex;
    for (const SQLWCHAR unit : wide) {
        char four[8];
        std::snprintf(four, sizeof four, " %04X", static_cast<unsigned>(unit));
        hex += four;
    }
    return hex;
}

// Every statement and value passes through the UTF-16 conversion: names must arrive intact, and broken
// input must become U+FFFD rather than stop a run.
TEST(Conversions, IntegersTextTheLeadingNumberOfTypedTextAndUtf16) {
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
    t.Case("UTF-8 to UTF-16 code units: surrogate pairs; stray, cut and overlong sequences become FFFD");
    for (const char* utf8 : {"", "\xC3\xA9t\xE2\x82\xAC", "a\xF0\x9F\x98\x80z", "a\x80z\xF8z", "\xC3z!",
                             "ab\xE2\x82", "\xED\xA0\x80!", "\xF4\x90\x80\x80!"}) {
        t.Line(utf8, Units(ToOdbcWide(utf8)));
    }
    t.Case("UTF-16 code units to UTF-8: lone surrogates become U+FFFD");
    for (const OdbcWideString& units : {OdbcWideString{0xE9, 0x20AC, 0xD83D, 0xDE00},
                                        OdbcWideString{0xD83D, 'x', 0xDE00}, OdbcWideString{'x', 0xD83D}}) {
        t.Line(Units(units), FromOdbcWide(units.data(), units.size()));
    }
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += i % 7 == 0 ? "\xC3\xA9" : (i % 11 == 0 ? "\xF0\x9F\x98\x80" : "x");
    }
    const OdbcWideString wide = ToOdbcWide(text);
    EXPECT_EQ(FromOdbcWide(wide.data(), wide.size()), text);
}

DriverManagerLists OneDsn() {
    return {.environmentAllocated = true,
            .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}},
            .drivers = {}};
}

TEST(OdbcLogon, OkAssemblesTheStringAndCancelAfterOkEmptiesItWhileListsAndFieldsStay) {
    const struct {
        int dsnIndex;  // 0 is "(None)"
        const char *uid, *pwd, *database, *expected;
    } cases[] = {
        {0, "tsl", "kqv", "", "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;"},
        {0, "tsl", "kqv", "Parcels",
         "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=Parcels;"},
        {1, "", "", "roads", "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=roads;"},
    };
    for (const auto& c : cases) {
        frmODBCLogon dialog(OneDsn);
        dialog.Show("");
        dialog.DsnChoice(c.dsnIndex);
        EXPECT_EQ(dialog.txtServerEnabled && dialog.cboDriversEnabled, c.dsnIndex == 0);
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtUID = c.uid;
        dialog.txtPWD = c.pwd;
        dialog.txtDatabase = c.database;
        dialog.OkClick();
        EXPECT_EQ(dialog.ConnectionString(), c.expected);
        EXPECT_FALSE(dialog.Visible());
    }
    int reads = 0;
    frmODBCLogon dialog([&] { return ++reads, OneDsn(); });
    dialog.Show("PARCELS");
    dialog.DsnChoice(1);
    dialog.OkClick();
    dialog.Show("OTHER");  // the database is taken from the main window at the first showing only
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    dialog.CancelClick();
    EXPECT_EQ(dialog.ConnectionString(), "");
    EXPECT_EQ(reads, 1);
}

// Stands in for the window: while the dialog is shown, the test acts as the user.
struct ScriptedPresenter final : LogonDialogPresenter {
    std::function<void(frmODBCLogon&)> user;
    void ShowModal(frmODBCLogon& dialog) override { user(dialog); }
};

// The blank and the canned string are in the window's transcript; the dialog's string and database reach
// the window on OK only.
TEST(ConnectionSteps, TheLogonDialogHandsItsStringAndDatabaseToTheWindowOnlyOnOk) {
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    state.odbcLogon = frmODBCLogon([] { return DriverManagerLists{}; });
    ScriptedPresenter presenter;
    for (const bool ok : {true, false}) {
        presenter.user = [ok](frmODBCLogon& dialog) {
            dialog.cboDriversText = "D";
            dialog.txtServer = "s";
            dialog.txtDatabase = ok ? "Parcels_2" : "other";
            ok ? dialog.OkClick() : dialog.CancelClick();
        };
        BuildStringClick(state, presenter);
        EXPECT_EQ(state.txtConnString + " " + state.g_sTslSystemTableDatabase,
                  "PROVIDER=MSDASQL;Driver=D;Server=s;UID=;PWD=;Database=Parcels_2; PARCELS_2");
    }
}

TEST(VersionBoxes, KeyFilterAndConversion) {
    Transcript t("version_boxes");
    t.Case("keys the boxes take, of every UTF-16 code unit");
    std::string passing;
    for (int key = 0; key <= 0xFFFF; ++key) {
        passing += VersionKeyPasses(key) ? " " + std::to_string(key) : "";
    }
    t.Line("keys", passing);
    t.Case("numbers of texts typed or filled in by detection");
    for (const char* box : {"", "12", "007", "32767", "32768", "-1", "7.5", "8.5", " 12 ", "1e3", "&H10"}) {
        t.Try(std::string("'") + box + "'", [&] { return std::to_string(VersionBoxNumber(box)); });
    }
}

TEST(ScriptedDetection, NeedsAConnectionAndProbesEveryStyleInOrder) {
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    state.selectedDbms = DbmsOption::DB2;
    QueryDbmsType(state);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Query DBMS: Please connect to DBMS first."});
    EXPECT_EQ(state.selectedDbms, DbmsOption::DB2);
    // Informix names have no stand-in database; only the SQL Server style answers here.
    auto conn = std::make_unique<ScriptedConnection>();
    const auto& sent = conn->Sent();
    conn->Open("");
    const std::string select = "SELECT major, minor, bugfix, release, description FROM ";
    conn->Answer(select + "GIS.TSL.tsl_VERSION", Rows(5, {{"9", "1", "3", "0", "Tessel for Informix"}}));
    state.g_pAdoConn = std::move(conn);
    state.g_sTslSystemTableDatabase = "GIS";
    ui.shown.clear();
    QueryDbmsType(state);
    EXPECT_EQ(sent, (std::vector<std::string>{select + "GIS.TSL.VERSION", select + "GIS:TSL.VERSION",
                                              select + "TSL.VERSION", select + "GIS.TSL.tsl_VERSION"}));
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.selectedDbms, DbmsOption::Informix);
    EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), "GIS:TSL.LAYERS");
    EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, "9.1.3");
}

}  // namespace
}  // namespace tabvet
