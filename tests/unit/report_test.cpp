// The report and the results file: the report's bytes against expected files, the "Create Report" step with
// a scripted dialog and editor (every way out of it, and what stays on disk), and the machine-readable
// results (string escaping, times, and a document a strict reader accepts whole).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/startup.h"
#include "report/json_text.h"
#include "report/report_flow.h"
#include "report/report_paths.h"
#include "report/report_writer.h"
#include "report/results_json.h"
#include "support/fake_test.h"
#include "support/mini_json.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::FakeTest;
using testsupport::ReadBytes;
using testsupport::WriteBytes;

class CountingView final : public MainView {
  public:
    void ProcessPendingEvents() override { ++pendingEventRounds; }
    int pendingEventRounds = 0;
};

// Sets or unsets an environment variable for one test and puts the old value back afterwards.
class EnvironmentVariable {
  public:
    EnvironmentVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        Set(value);
    }
    ~EnvironmentVariable() { Set(old_); }

  private:
    void Set(const std::optional<std::string>& value) {
        value ? setenv(name_, value->c_str(), 1) : unsetenv(name_);
    }
    const char* name_;
    std::optional<std::string> old_;
};

FakeTest::State Ran(const char* name, bool pass) {
    return {.name = name, .resultDetails = pass ? "fine" : "broken", .pass = pass, .wasRun = true};
}

FakeTest::State NotRun(const char* name) {
    return {.name = name};
}

class ReportFlowTest : public ::testing::Test {
  protected:
    ReportFlowTest() {
        state.now = [] { return std::string("01/02/2025 13:04:05"); };
        state.AttachView(view);
        state.g_pTestCollection = testsupport::FakeCatalogue({Ran("first", true), Ran("second", false)});
        state.g_bTestsWereRun = true;
        state.reportFileName = folder.File("Tessel_Diag.txt");
    }

    // The report the writer makes of the current state, to compare a file written by the flow against.
    std::string ExpectedReport() {
        const std::string path = folder.File("expected.out");
        ReportFile file = ReportFile::Open(path);
        CreateReportInFile(state, file);
        file.Close();
        return ReadBytes(path);
    }

    void CreateReport() { CreateNewReport(state, dialog, editor); }

    testsupport::RecordingInteraction ui;
    CountingView view;
    MainState state{ui};
    testsupport::ScriptedFileDialog dialog;
    testsupport::ScriptedEditorLauncher editor;
    testsupport::TempFolder folder;
};

TEST_F(ReportFlowTest, CountTestsRunSaysWhyThereAreNoResultsAndNoDialogIsShownThen) {
    struct Case {
        const char* what;
        bool runFlag;
        std::optional<std::vector<FakeTest::State>> catalogue;  // nothing: no catalogue at all
        int expected;
        std::vector<std::string> boxes;
        int pendingEventRounds;
    };
    const std::string noClasses = "Unexpected Condition: No test classes have been loaded.  Cannot continue.";
    const std::string noneRan = "No Results to Report: No tests have run. Please run tests first.";
    const std::vector<Case> cases = {
        {"no run since connect", false, std::vector{Ran("a", true)}, 0, {}, 0},
        {"no catalogue", true, std::nullopt, 0, {noClasses}, 0},
        {"empty catalogue", true, std::vector<FakeTest::State>{}, 0, {noClasses}, 0},
        {"run flag but nothing ran", true, std::vector{NotRun("a"), NotRun("b")}, 0, {noneRan}, 2},
        {"some ran", true, std::vector{Ran("a", true), NotRun("b"), Ran("c", false)}, 2, {}, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ui.shown.clear();
        view.pendingEventRounds = 0;
        state.g_bTestsWereRun = c.runFlag;
        state.g_pTestCollection = c.catalogue ? testsupport::FakeCatalogue(*c.catalogue) : nullptr;
        EXPECT_EQ(CountTestsRun(state), c.expected);
        EXPECT_EQ(ui.Lines(), c.boxes);
        EXPECT_EQ(view.pendingEventRounds, c.pendingEventRounds);
        for (const auto& shown : ui.shown) {
            EXPECT_EQ(shown.icon, MsgIcon::Exclamation);
        }
        if (c.expected == 0) {
            ui.shown.clear();
            dialog.Answer(state.reportFileName);
            CreateReport();
            std::vector<std::string> boxes = c.boxes;
            boxes.push_back("No results available: No test have been run.");
            EXPECT_EQ(ui.Lines(), boxes);
            EXPECT_TRUE(dialog.shown.empty());
            EXPECT_FALSE(std::filesystem::exists(state.reportFileName));
        }
    }
}

TEST_F(ReportFlowTest, CancelEndsSilentlyAndAnEmptyNameIsRefused) {
    const std::string offered = state.reportFileName;
    dialog.Answer(std::nullopt);
    CreateReport();
    ASSERT_EQ(dialog.shown.size(), 1u);
    EXPECT_EQ(dialog.shown[0].kind + ": " + dialog.shown[0].title + ": " + dialog.shown[0].offeredFileName,
              "save: Save Test Results To File: " + offered);
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.reportFileName, offered);

    dialog.Answer("");
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Cannot save results: No file selected"});
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ReportFlowTest, AnExistingFileIsOnlyReplacedWhenTheUserSaysYes) {
    const std::string path = folder.File("old report.txt");
    const std::string question = "File exists: File already exists: \r\n" + path + "\r\nOverwrite?";
    // Longer than the new report, so a missing truncation would leave its tail behind.
    const std::string oldContent = std::string(20000, 'x') + "\r\nend of the old report\r\n";

    WriteBytes(path, oldContent);
    dialog.Answer(path);
    ui.answers = {MsgAnswer::No};
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{question});
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(ReadBytes(path), oldContent);

    ui.shown.clear();
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes, MsgAnswer::No};
    CreateReport();
    EXPECT_EQ(ui.Lines(),
              (std::vector<std::string>{question, "Report Created: Report has been created.\r\nFile: " +
                                                      path + "\r\nWould you like to view the report now?"}));
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
    EXPECT_TRUE(editor.launched.empty());
}

TEST_F(ReportFlowTest, AFileThatCannotBeOpenedGivesTheUntitledOpenErrorBox) {
    const std::string path = folder.File("no such folder/report.txt");
    dialog.Answer(path);
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{": File open error"});
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(editor.launched.empty());
}

TEST_F(ReportFlowTest, YesToViewingStartsTheEditorAndTheNextReportOffersTheSamePath) {
    std::filesystem::create_directory(folder.File("my reports"));
    const std::string path = folder.File("my reports/Tessel Diag; today.txt");
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes};
    CreateReport();
    ASSERT_EQ(editor.launched.size(), 1u);
    EXPECT_EQ(editor.launched[0].program, EditorProgram());
    EXPECT_EQ(editor.launched[0].path, path);
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
    EXPECT_EQ(ui.shown.size(), 1u);
    dialog.Answer(std::nullopt);
    CreateReport();
    ASSERT_EQ(dialog.shown.size(), 2u);
    EXPECT_EQ(dialog.shown[1].offeredFileName, path);
}

TEST_F(ReportFlowTest, AnEditorThatCannotStartIsSaidAndTheReportStays) {
    const std::string path = folder.File("report.txt");
    editor.starts = false;
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes};
    CreateReport();
    ASSERT_EQ(ui.shown.size(), 2u);
    EXPECT_EQ(ui.shown[1].title, "Editor not available");
    EXPECT_EQ(ui.shown[1].text,
              std::string("Cannot start editor ") + EditorProgram() + " on file " + path + ".");
    EXPECT_EQ(ui.shown[1].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(ui.shown[1].icon, MsgIcon::Critical);
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
}

TEST_F(ReportFlowTest, ViewingAReportNeedsNoRunAndCancelIsSilent) {
    state.g_pTestCollection.reset();
    state.g_bTestsWereRun = false;
    const std::string offered = state.reportFileName;
    const std::string other = folder.File("older report.txt");
    for (const auto& answer : {std::optional<std::string>{}, std::optional<std::string>{other}}) {
        dialog.Answer(answer);
        ViewReportClick(state, dialog, editor);
    }
    ASSERT_EQ(dialog.shown.size(), 2u);
    EXPECT_EQ(dialog.shown[0].kind + ": " + dialog.shown[0].title + ": " + dialog.shown[0].offeredFileName,
              "open: Open Existing Report File: " + offered);
    ASSERT_EQ(editor.launched.size(), 1u);
    EXPECT_EQ(editor.launched[0].path, other);
    EXPECT_EQ(state.reportFileName, other);
    EXPECT_TRUE(ui.shown.empty());
}

TEST(DefaultReportPath, StartUpOffersTheFirstTemporaryFolderThatIsSet) {
    struct Case {
        std::optional<std::string> temp;
        std::optional<std::string> tmpdir;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"/data/temp", "/other", "/data/temp/Tessel_Diag.txt"},
        {"", "/other", "/other/Tessel_Diag.txt"},
        {std::nullopt, std::nullopt, "/tmp/Tessel_Diag.txt"},
        {"", "", "/tmp/Tessel_Diag.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        EnvironmentVariable temp("TEMP", c.temp);
        EnvironmentVariable tmpdir("TMPDIR", c.tmpdir);
        EXPECT_EQ(GetDefaultReportFileName(), c.expected);

        testsupport::RecordingInteraction ui;
        MainState state(ui);
        ASSERT_TRUE(StartUp(state));
        state.g_bTestsWereRun = true;
        state.g_pTestCollection->Item(1)->WasRun(true);
        testsupport::ScriptedFileDialog dialog;
        testsupport::ScriptedEditorLauncher editor;
        CreateNewReport(state, dialog, editor);  // cancelled: the dialog answers nothing
        ASSERT_EQ(dialog.shown.size(), 1u);
        EXPECT_EQ(dialog.shown[0].offeredFileName, c.expected);
    }
}

// The real launcher: no shell in between, and a program that is not there is a failed start.
TEST(SpawnEditorLauncher, StartsTheProgramWithThePathAsOneArgumentAndReportsAMissingProgram) {
    testsupport::TempFolder folder;
    SpawnEditorLauncher launcher;
    EXPECT_FALSE(launcher.Launch("tabvet-no-such-editor", folder.File("x.txt")));

    const std::string path = folder.File("a b; touch injected.txt");
    ASSERT_TRUE(launcher.Launch("touch", path));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(path) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(std::filesystem::exists(path));
    // Split by a shell, it would have made "a" here and "injected.txt" elsewhere.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

constexpr const char* kClock = "01/02/2025 13:04:05";

FakeTest::State IsDbmsRunning(bool wasRun) {
    return {
        .name = "Is database running",
        .category = "Environment",
        .description = "Check whether database is running by checking for the existence of the VERSION table",
        .resultDetails = "Tessel Version: 9.1.0, Release: 91000, Description: 9.1 release",
        .pass = true,
        .wasRun = wasRun};
}

FakeTest::State LayersTable(bool pass) {
    return {.name = "LAYERS table existence",
            .category = "Missing system tables",
            .description = "Check whether LAYERS table exists",
            // A driver message keeps its own bare line feed.
            .resultDetails = pass ? "LAYERS table exists"
                                  : "\r\n>>>> Err#1: ERROR: relation \"tsl.layers\" does not exist;\n"
                                    "Error while executing the query",
            .pass = pass,
            .wasRun = true};
}

FakeTest::State LayersInRegistry(bool pass) {
    return {.name = "LAYERS in TABLE_REGISTRY",
            .category = "Referential Integrity",
            .description = "Check whether entries in LAYERS exist in TABLE_REGISTRY",
            .resultDetails = pass ? ""
                                  : "Layers missing from TABLE_REGISTRY:\r\n>>>> STRA\xE1\xBA\x9E"
                                    "EN.GIS (layer 7)\r\n>>>> RIVERS.GIS (layer 9)",
            .pass = pass,
            .wasRun = true};
}

// Not run this time, but holding a verdict from an earlier run: the report must leave it out.
FakeTest::State StaleIndexAnalysis() {
    return {.name = "Tessel for Oracle Compressed Binary format complete",
            .category = "Index Analysis",
            .description =
                "Check whether indexes on Tessel for Oracle compressed binary layer have correct indexes.",
            .resultDetails = "stale result of an earlier run",
            .pass = true,
            .wasRun = false};
}

std::vector<FakeTest::State> NothingRun() {
    FakeTest::State layers = LayersTable(false);
    layers.wasRun = false;
    return {IsDbmsRunning(false), layers, StaleIndexAnalysis()};
}

struct ReportCase {
    const char* fixture;
    std::vector<FakeTest::State> tests;
    bool onlyFailures;
    std::vector<std::string> version;  // major, minor, bugfix as typed
    DbmsOption dbms;
};

std::vector<ReportCase> ReportCases() {
    const std::vector<std::string> v910 = {"9", "1", "0"};
    const std::vector<std::string> v810 = {"8", "1", "0"};
    const std::vector<FakeTest::State> allPassed = {IsDbmsRunning(true), LayersTable(true),
                                                    LayersInRegistry(true), StaleIndexAnalysis()};
    const std::vector<FakeTest::State> mixed = {IsDbmsRunning(true), LayersTable(false),
                                                LayersInRegistry(false), StaleIndexAnalysis()};
    return {
        {"no_test_run.txt", NothingRun(), false, v910, DbmsOption::Oracle},
        {"all_passed.txt", allPassed, false, v910, DbmsOption::Oracle},
        {"all_passed_only_failures.txt", allPassed, true, v910, DbmsOption::Oracle},
        {"mixed.txt", mixed, false, v910, DbmsOption::Oracle},
        {"mixed_only_failures.txt", mixed, true, v910, DbmsOption::Oracle},
        {"empty_version.txt", NothingRun(), false, {"", "", ""}, DbmsOption::None},
        {"dbms_db2.txt", NothingRun(), false, v810, DbmsOption::DB2},
        {"dbms_informix.txt", NothingRun(), false, v810, DbmsOption::Informix},
        {"dbms_oracle.txt", NothingRun(), false, v810, DbmsOption::Oracle},
        {"dbms_sqlserver.txt", NothingRun(), false, v810, DbmsOption::SqlServer},
        {"dbms_none.txt", NothingRun(), false, v810, DbmsOption::None},
    };
}

class ReportWriterTest : public ::testing::Test {
  protected:
    ReportWriterTest() {
        state.now = [] { return std::string(kClock); };
    }

    testsupport::RecordingInteraction ui;
    MainState state{ui};
    testsupport::TempFolder folder;
};

TEST_F(ReportWriterTest, WritesTheDesignedLayoutByteForByte) {
    for (const ReportCase& c : ReportCases()) {
        SCOPED_TRACE(c.fixture);
        state.g_pTestCollection = testsupport::FakeCatalogue(c.tests);
        state.chkOnlyReportFailures = c.onlyFailures;
        state.txtMajorVersion = c.version[0];
        state.txtMinorVersion = c.version[1];
        state.txtBugfix = c.version[2];
        state.selectedDbms = c.dbms;

        const std::string path = folder.File(c.fixture);
        ReportFile file = ReportFile::Open(path);
        EXPECT_TRUE(CreateReportInFile(state, file));
        file.Close();

        EXPECT_EQ(ReadBytes(path), ReadBytes(testsupport::FixturePath(std::string("reports/") + c.fixture)));
        EXPECT_TRUE(ui.shown.empty());
    }
}

TEST_F(ReportWriterTest, NoFileMeansACriticalBoxAndNothingWritten) {
    state.g_pTestCollection = testsupport::FakeCatalogue({IsDbmsRunning(true)});
    ReportFile none;
    EXPECT_FALSE(CreateReportInFile(state, none));
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>{"Unexpected error: No file number passed to CreateReportInFile"});
    EXPECT_EQ(ui.shown[0].icon, MsgIcon::Critical);
}

TEST_F(ReportWriterTest, ChecksBoxAndVersionAreReadWhenWritingNotBefore) {
    state.g_pTestCollection = testsupport::FakeCatalogue({IsDbmsRunning(true)});
    state.txtMajorVersion = "8";
    const std::string path = folder.File("late.txt");
    ReportFile file = ReportFile::Open(path);
    state.chkOnlyReportFailures = true;
    state.txtMajorVersion = "9x";  // copied as typed, not as a number
    ASSERT_TRUE(CreateReportInFile(state, file));
    file.Close();
    const std::string report = ReadBytes(path);
    EXPECT_EQ(report.find("Test Passed:"), std::string::npos);
    EXPECT_NE(report.find("\r\n      Tessel Version 9x..\r\n"), std::string::npos);
}

using testsupport::Json;
using testsupport::JsonParser;

TEST(JsonString, EscapesWhatJsonForbidsAndKeepsValidUtf8) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"a\r\nb\tc", "\"a\\r\\nb\\tc\""},
        {std::string("\x01\x1f\x7f\b\f", 5), "\"\\u0001\\u001f\\u007f\\b\\f\""},
        {std::string("nul\0end", 7), "\"nul\\u0000end\""},
        {"Stra\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x97\xBA",
         "\"Stra\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x97\xBA\""},
        {"latin1 \xFC!", "\"latin1 \\ufffd!\""},
        {"cut \xC3", "\"cut \\ufffd\""},
        {"overlong \xC0\xAF", "\"overlong \\ufffd\\ufffd\""},
        {"surrogate \xED\xA0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
        {"stray \x80 continuation", "\"stray \\ufffd continuation\""},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(JsonString(text), expected);
    }
}

TEST(JsonString, EveryAsciiCharacterSurvivesAStrictReaderThatRefusesInvalidDocuments) {
    std::string all;
    for (int c = 0; c < 128; ++c) {
        all.push_back(static_cast<char>(c));
    }
    all += "\xC3\xA9\xE2\x80\xA8\xF0\x9F\x98\x80";  // and some multi-byte characters, U+2028 included
    EXPECT_EQ(JsonParser::Parse(JsonString(all)).String(), all);
    // The reader must refuse what is not JSON, or the documents it accepts prove nothing.
    for (const char* invalid : {"[1,]", "{\"a\":1 \"b\":2}", "\"tab\there\"", "\"\\x\"", "01", "[1] x",
                                "\"\xC3\"", "\"\\ud800\"", "nul", "{a:1}"}) {
        EXPECT_THROW(JsonParser::Parse(invalid), std::runtime_error) << invalid;
    }
}

TEST(IsoLocalTime, GivesLocalTimeWithMillisecondsAndOffset) {
    const auto time = std::chrono::system_clock::from_time_t(86400 * 365) + std::chrono::milliseconds(1250);
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"UTC0", "1971-01-01T00:00:01.250+00:00"},
        {"NST3:30", "1970-12-31T20:30:01.250-03:30"},
    };
    for (const auto& [zone, expected] : cases) {
        SCOPED_TRACE(zone);
        EnvironmentVariable tz("TZ", zone);
        tzset();
        EXPECT_EQ(IsoLocalTime(time), expected);
    }
    tzset();  // the zone the test started with
}

class ResultsJsonTest : public ::testing::Test {
  protected:
    ResultsJsonTest() {
        state.selectedDbms = DbmsOption::Oracle;
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "1";
        state.txtBugfix = "0";
        record.started = "2025-02-01T13:04:05.000+01:00";
        record.finished = "2025-02-01T13:04:06.500+01:00";
    }

    // Six entries, one for each way a catalogue entry can end up.
    void SixEntries(bool withError) {
        state.g_pTestCollection = testsupport::FakeCatalogue({
            {.name = "passes",
             .category = "Environment",
             .resultDetails = "fine",
             .pass = true,
             .wasRun = true},
            {.name = "fails",
             .resultDetails = "\r\n>>>> \"GIS\".ROADS\r\n>>>> Stra\xC3\x9F"
                              "e",
             .wasRun = true},
            {.name = "switched off", .enabled = false},
            {.name = "too new", .versionRule = VersionRule::V4},
            {.name = "not for oracle", .oracle = false},
            {.name = "after the error"},
        });
        record.tests = {{.entered = true, .durationMs = 12.5},
                        {.entered = true, .endedRun = withError, .durationMs = 0.25},
                        {},
                        {},
                        {},
                        {}};
        if (withError) {
            record.error = "Run-time error '94': Invalid use of Null";
        }
    }

    Json Parsed() const { return JsonParser::Parse(ResultsJson(state, record)); }

    testsupport::RecordingInteraction ui;
    MainState state{ui};
    RunRecord record;
};

TEST_F(ResultsJsonTest, DescribesEveryCatalogueEntryAndTheRun) {
    SixEntries(true);
    const Json doc = Parsed();
    EXPECT_EQ(doc.Keys(),
              (std::vector<std::string>{"started", "finished", "outcome", "error", "target", "tests"}));
    EXPECT_EQ(doc["started"].String(), record.started);
    EXPECT_EQ(doc["finished"].String(), record.finished);
    EXPECT_EQ(doc["outcome"].String(), "error");
    EXPECT_EQ(doc["error"].String(), "Run-time error '94': Invalid use of Null");

    // name, ran, notRunReason, verdict, resultDetails, durationMs: one line per entry, null as "-".
    auto text = [](const Json& v) { return v.IsNull() ? std::string("-") : v.String(); };
    std::vector<std::string> entries;
    const testsupport::JsonArray& tests = doc["tests"].Array();
    for (std::size_t i = 0; i < tests.size(); ++i) {
        const Json& t = tests[i];
        EXPECT_EQ(t.Keys(), (std::vector<std::string>{"position", "name", "category", "ran", "notRunReason",
                                                      "verdict", "resultDetails", "durationMs"}));
        EXPECT_EQ(t["position"].Number(), static_cast<double>(i + 1));
        entries.push_back(t["name"].String() + "|" + (t["ran"].Bool() ? "ran" : "not run") + "|" +
                          text(t["notRunReason"]) + "|" + text(t["verdict"]) + "|" +
                          t["resultDetails"].String() + "|" +
                          (t["durationMs"].IsNull() ? "-" : std::to_string(t["durationMs"].Number())));
    }
    EXPECT_EQ(entries, (std::vector<std::string>{
                           "passes|ran|-|passed|fine|12.500000",
                           "fails|ran|-|error|\r\n>>>> \"GIS\".ROADS\r\n>>>> Stra\xC3\x9F"
                           "e|0.250000",
                           "switched off|not run|disabled|-|Not Run|-",
                           "too new|not run|version|-|Not Run|-",
                           "not for oracle|not run|dbms|-|Not Run|-",
                           "after the error|not run|aborted|-|Not Run|-",
                       }));
    EXPECT_EQ(tests[0]["category"].String(), "Environment");
}

TEST_F(ResultsJsonTest, OutcomeFollowsTheTestsThatRanThisTime) {
    SixEntries(false);
    EXPECT_EQ(Parsed()["outcome"].String(), "failed");
    EXPECT_TRUE(Parsed()["error"].IsNull());
    EXPECT_EQ(Parsed()["tests"].Array()[1]["verdict"].String(), "failed");

    record.tests[1].entered = false;  // the failing verdict is from an earlier run
    EXPECT_EQ(Parsed()["outcome"].String(), "passed");
}

TEST_F(ResultsJsonTest, NamesTheTarget) {
    state.g_pTestCollection = testsupport::FakeCatalogue({});
    const std::vector<std::pair<DbmsOption, const char*>> dbmsNames = {
        {DbmsOption::Oracle, "oracle"},
        {DbmsOption::SqlServer, "sqlserver"},
        {DbmsOption::Informix, "informix"},
    };
    for (const auto& [option, name] : dbmsNames) {
        state.selectedDbms = option;
        EXPECT_EQ(Parsed()["target"]["dbms"].String(), name);
    }
    state.selectedDbms = DbmsOption::None;
    EXPECT_TRUE(Parsed()["target"]["dbms"].IsNull());

    EXPECT_EQ(Parsed()["target"]["tesselVersion"].String(), "9.1.0");
    EXPECT_TRUE(Parsed()["target"]["database"].IsNull());
    state.g_sTslSystemTableDatabase = "TSL";
    EXPECT_EQ(Parsed()["target"]["database"].String(), "TSL");
    EXPECT_TRUE(Parsed()["tests"].Array().empty());
}

}  // namespace
}  // namespace tabvet
