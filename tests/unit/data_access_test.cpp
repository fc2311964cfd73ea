// The data-access layer and the first steps without a server, as the cases of tests/fixtures/unit/
// data_access.txt and conversions.txt; then the logon dialog, remembered settings and detection.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "db/conn_error_string.h"
#include "db/connection_string.h"
#include "db/connection_string_pairs.h"
#include "db/odbc_connection.h"
#include "db/qual_db_obj_name.h"
#include "db/recordset.h"
#include "db/statement_guard.h"
#include "db/utf16.h"
#include "db/value.h"
#include "report/report_paths.h"
#include "session/connection_handling.h"
#include "session/connection_string_box.h"
#include "session/odbc_logon.h"
#include "session/remembered_settings.h"
#include "session/run_step.h"
#include "session/server_type_detection.h"
#include "session/server_type_selection.h"
#include "session/version_box_input.h"
#include "support/scripted_connection.h"
#include "support/temp_folder.h"
#include "support/unit_cases.h"

namespace tabvet {
namespace {

using namespace testsupport;

// The words of tests/fixtures/unit/data_access.txt and conversions.txt. The data-access words act on one
// scripted connection, one recordset and one error formatter that live through the whole file; the namer
// words on one namer.
class DataAccessCases {
  public:
    DataAccessCases() {
        OnValue(player, "translate", [](const std::string& a) { return TranslateConnectionString(a); });
        OnValue(player, "single", [](const std::string& a) { return IsSingleStatement(a); });
        // namer [CODE DATABASE]: set up (or not), then every name and probe it builds.
        player.On("namer", [this](const std::string& a, std::ostream& out) {
            if (!a.empty()) {
                out << "setup: " << Outcome([&] { namer_.Setup(std::stoi(a), FirstWord(a).second); }) << "\n";
            }
            out << "type " << namer_.DbmsTypeCode() << ", database " << namer_.SystemDatabaseName()
                << ", uses it: " << namer_.UsesDatabaseName() << "\nsystem tables:";
            for (const char* table : {"VERSION", "  LAYERS ", "GDB_RELEASE", "xgdb", "XGDB "}) {
                out << " [" << namer_.TslSystemTable(table) << "]";
            }
            out << "\nuser table ' t ' of ' o ' in 12345, ' d ' and '':";
            for (const char* database : {kNoDatabaseName, " d ", ""}) {
                out << " [" << namer_.UserTable(" t ", " o ", database) << "]";
            }
            out << "\nfind: " << namer_.SqlToFindTable("D.GIS.ROADS") << " | "
                << namer_.SqlToFindColumn("SHAPE", "D.GIS.ROADS") << " | nothing: "
                << namer_.SqlToFindTable("") + namer_.SqlToFindColumn("", "O.T") +
                       namer_.SqlToFindColumn("C", "")
                << "\n";
            PrintBoxes(ui_, out);
        });
        OnValue(player, "connect", [this](const std::string&) { return conn_.Open(""); });
        OnValue(player, "open", [this](const std::string& a) { return rs_.OpenSuppressed(a, conn_); });
        OnValue(player, "open-raising", [this](const std::string& a) { rs_.Open(a, conn_); });
        // answer SQL => failure | rows CELLS | fresh CELLS: how the connection answers SQL from now on.
        player.On("answer", [this](const std::string& a, std::ostream&) {
            const auto [how, cells] = FirstWord(a.substr(a.find(" => ") + 4));
            ScriptedAnswer answer =
                how == "failure" ? Failure({{1,
                                             "ERROR: relation \"tsl.version\" does not exist;\nError "
                                             "while executing the query"},
                                            {-2147217900, "x"}})
                                 : Rows(Cells(cells).empty() ? 0 : Cells(cells)[0].size(), Cells(cells));
            answer.freshCursorAfterLast = how == "fresh";
            conn_.Answer(a.substr(0, a.find(" => ")), answer);
        });
        // errors [of-no-connection]: the error text the formatter builds, and its boxes.
        player.On("errors", [this](const std::string& a, std::ostream& out) {
            out << Outcome([&] { return formatter_.Build(a.empty() ? &conn_ : nullptr); }) << "\n";
            PrintBoxes(ui_, out);
        });
        OnValue(player, "formatted", [this](const std::string&) { return formatter_.Value(); });
        OnValue(player, "error",
                [this](const std::string& a) { return conn_.Errors().Item(std::stoi(a)).Description; });
        OnValue(player, "clear-errors", [this](const std::string&) { conn_.Errors().Clear(); });
        OnValue(player, "state", [this](const std::string&) { return rs_.State(); });
        OnValue(player, "field",
                [this](const std::string& a) { return rs_.Fields(std::stoi(a)).value_or("<null>"); });
        OnValue(player, "close", [this](const std::string&) { rs_.Close(); });
        OnValue(player, "first", [this](const std::string&) { rs_.MoveFirst(); });
        OnValue(player, "next", [this](const std::string&) { rs_.MoveNext(); });
        OnValue(player, "bof-eof", [this](const std::string&) {
            return Outcome([&] { return rs_.Bof(); }) + " " + Outcome([&] { return rs_.Eof(); });
        });
        player.On("sent", [this](const std::string&, std::ostream& out) {
            for (const std::string& sql : conn_.Sent()) {
                out << Readable(sql) << "\n";
            }
        });
        // convert VALUE (<null> for NULL): to 16 and 32 bits, to text and to text or nothing.
        player.On("convert", [](const std::string& a, std::ostream& out) {
            const FieldValue value = a == "<null>" ? FieldValue{} : FieldValue{a};
            out << Outcome([&] { return ToInt16(value); }) << " | " << Outcome([&] { return ToInt32(value); })
                << " | " << Outcome([&] { return ToText(value); }) << " | "
                << Outcome([&] { return TextOrEmpty(value); }) << "\n";
        });
        player.On("leading-number",
                  [](const std::string& a, std::ostream& out) { out << LeadingNumber(a) << "\n"; });
        OnValue(player, "to-utf16", [](const std::string& a) {
            std::ostringstream hex;
            for (const SQLWCHAR unit : ToOdbcWide(a)) {
                hex << (hex.tellp() > 0 ? " " : "") << std::hex << std::uppercase << std::setw(4)
                    << std::setfill('0') << static_cast<unsigned>(unit);
            }
            return hex.str();
        });
        OnValue(player, "from-utf16", [](const std::string& a) {
            OdbcWideString units;
            for (const std::string& unit : Split(a, " ")) {
                units.push_back(static_cast<SQLWCHAR>(std::stoul(unit, nullptr, 16)));
            }
            return FromOdbcWide(units.data(), units.size());
        });
        OnValue(player, "version-keys", [](const std::string&) {
            std::string keys;
            for (int key = 0; key <= 0xFFFF; ++key) {
                keys += VersionKeyPasses(key) ? (keys.empty() ? "" : " ") + std::to_string(key) : "";
            }
            return keys;
        });
        OnValue(player, "version-box", [](const std::string& a) { return VersionBoxNumber(a); });
        // mask TEXT: the connection-string box shows it with passwords masked, settings store it without
        // them.
        OnValue(player, "mask",
                [](const std::string& a) { return MaskPasswords(a) + " | " + WithoutPasswords(a); });
        // pair-value KEY,KEY... in TEXT: the value of the first pair with one of the keys.
        OnValue(player, "pair-value", [](const std::string& a) {
            return ConnectionStringValue(FirstWord(a).second.substr(3), Split(FirstWord(a).first, ","));
        });
        // box-edit REAL => SHOWN @ CURSOR: the masked box edited to SHOWN; the real string it becomes.
        OnValue(player, "box-edit", [this](const std::string& a) {
            state_.txtConnString = a.substr(0, a.find(" => "));
            const std::string shown = a.substr(a.find(" => ") + 4, a.rfind(" @ ") - a.find(" => ") - 4);
            ShownConnectionStringEdited(state_, shown, std::stoul(a.substr(a.rfind(" @ ") + 3)));
            EXPECT_TRUE(state_.cmdConnectEnabled);
            return state_.txtConnString;
        });
        // version-edit major|minor|bugfix BOXES TEXT: TEXT put into one box of MAJOR|MINOR|BUGFIX; taken or
        // not, and the boxes after.
        OnValue(player, "version-edit", [this](const std::string& a) {
            const std::vector<std::string> words = Split(a, " ");
            SetVersionBoxes(state_, words[1], "|");
            const VersionBox box = words[0] == "major"   ? VersionBox::Major
                                   : words[0] == "minor" ? VersionBox::Minor
                                                         : VersionBox::Bugfix;
            const bool taken = VersionBoxEdited(state_, box, a.substr(words[0].size() + words[1].size() + 2));
            return (taken ? "taken: " : "refused: ") + state_.txtMajorVersion + "|" + state_.txtMinorVersion +
                   "|" + state_.txtBugfix;
        });
    }

    CasePlayer player;

  private:
    RecordingInteraction ui_;
    clsQualDbObjName namer_{ui_};
    ScriptedConnection conn_;
    clsConnErrorString formatter_{ui_};
    Recordset rs_;
    MainState state_{ui_, nullptr};  // the connection-string and version boxes
};

TEST(DataAccessCases, ConnectionStringsStatementsNamesErrorTextsAndCursors) {
    EXPECT_EQ(DataAccessCases().player.Play("unit/data_access.txt"), "");
}

// Every statement and value passes through the UTF-16 conversion: names must arrive intact, and broken
// input must become U+FFFD rather than stop a run.
TEST(DataAccessCases, ConversionsThatDecideWhetherACheckReadsAValueOrEndsTheRun) {
    EXPECT_EQ(DataAccessCases().player.Play("unit/conversions.txt"), "");
}

// Stands in for the window: while the dialog is shown, the test acts as the user.
struct ScriptedPresenter final : LogonDialogPresenter {
    std::function<void(frmODBCLogon&)> user;
    void ShowModal(frmODBCLogon& dialog) override { user(dialog); }
};

// A driver without a password and Cancel after OK are the window's cases, real data sources the driver
// lists test's. Here: a data source, a password, no database, and what reaches the window when.
TEST(OdbcLogon, OkHandsTheStringAndDatabaseToTheWindowWhileListsAndFieldsStay) {
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    int reads = 0;
    state.odbcLogon = frmODBCLogon([&] {
        ++reads;
        return DriverManagerLists{.environmentAllocated = true,
                                  .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}},
                                  .drivers = {}};
    });
    state.g_sTslSystemTableDatabase = "Parcels";
    ScriptedPresenter presenter;
    const auto build = [&](const std::function<void(frmODBCLogon&)>& user) {
        presenter.user = user;
        BuildStringClick(state, presenter);
        return state.txtConnString + " " + state.g_sTslSystemTableDatabase;
    };
    EXPECT_EQ(build([](frmODBCLogon& dialog) {
                  dialog.DsnChoice(1);
                  EXPECT_FALSE(dialog.txtServerEnabled || dialog.cboDriversEnabled);
                  dialog.txtDatabase += "_2";
                  dialog.OkClick();
              }),
              "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=Parcels_2; PARCELS_2");
    // The database is taken from the window at the first showing only.
    state.g_sTslSystemTableDatabase = "OTHER";
    EXPECT_EQ(build([](frmODBCLogon& dialog) {
                  EXPECT_EQ(dialog.txtDatabase, "Parcels_2");
                  dialog.DsnChoice(0);
                  EXPECT_TRUE(dialog.txtServerEnabled && dialog.cboDriversEnabled);
                  dialog.cboDriversText = "PostgreSQL Unicode";
                  dialog.txtServer = "gisdb01";
                  dialog.txtUID = "tsl";
                  dialog.txtPWD = "kqv";
                  dialog.txtDatabase = "parcels_3";
                  dialog.CancelClick();
              }),
              "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=Parcels_2; OTHER");
    EXPECT_EQ(build([](frmODBCLogon& dialog) {
                  dialog.txtDatabase = "";
                  dialog.OkClick();
              }),
              "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv; ");
    EXPECT_EQ(state.odbcLogon.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    EXPECT_EQ(reads, 1);
    EXPECT_FALSE(state.odbcLogon.Visible());
}

TEST(RememberedSettings, NoStringWithoutAConnectionAndTheFolderOnlyWhileItExists) {
    RecordingInteraction ui;
    MainState state(ui, nullptr);
    state.reportFileName = GetDefaultReportFileName();
    EXPECT_FALSE(SettingsToRemember(state).connectionString);
    EXPECT_FALSE(SettingsToRemember(state).reportFolder);
    const TempFolder folder;
    // The window test restores a string; here only the folder, and then one that is gone.
    RestoreSettings(state, {.connectionString = std::nullopt, .reportFolder = folder.Path().string()});
    EXPECT_EQ(SettingsToRemember(state).reportFolder, folder.Path().string());
    RestoreSettings(state, {.connectionString = std::nullopt, .reportFolder = folder.File("gone")});
    EXPECT_EQ(state.reportFileName, folder.File("Tessel_Diag.txt"));
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
