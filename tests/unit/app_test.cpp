// The program's edges: the report's bytes against tests/fixtures/reports, the "Create Report" step with a
// scripted dialog and editor (every way out of it, and what stays on disk), the results document, which a
// strict reader must accept whole; then input a person gets wrong, as data: headless arguments
// (headless_arguments.txt under tests/fixtures/unit) and version texts pasted into the boxes
// (version_texts.txt), each with a clear outcome that leaves files and the model as they were; the about box
// and the terminal.
#include <regex>

#include "app/headless/console_interaction.h"
#include "app/headless/headless_options.h"
#include "app/headless/headless_run.h"
#include "app/tabvet_version.h"
#include "db/odbc_connection.h"
#include "framework/local_time.h"
#include "report/json_text.h"
#include "report/report_paths.h"
#include "report/report_writer.h"
#include "report/results_json.h"
#include "session/about_box.h"
#include "session/report_step.h"
#include "session/run_step.h"
#include "session/server_type_selection.h"
#include "session/startup.h"
#include "support/fake_test.h"
#include "support/mini_json.h"
#include "support/scripted_connection.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// Sets or (with nothing) unsets an environment variable for the rest of the process.
void SetVariable(const char* name, const std::optional<std::string>& value) {
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
}

struct Reporting : ::testing::Test {
    Reporting() {
        state.now = [] { return std::string("01/02/2025 13:04:05"); };
    }

    std::string Written() {
        const std::string path = folder.File("written.out");
        ReportFile file = ReportFile::Open(path);
        EXPECT_TRUE(CreateReportInFile(file, ReportContentsOf(state), state.Ui()));
        file.Close();
        return ReadBytes(path);
    }

    RecordingInteraction ui;
    MainState state{ui, NewOdbcConnection};
    TempFolder folder;
};

// The catalogues and the cases are in tests/fixtures/unit/report_cases.txt.
TEST_F(Reporting, WritesTheDesignedLayoutByteForByte) {
    std::map<std::string, std::vector<FakeTest::State>> catalogues;
    for (const auto& [heading, rows] : Sections("report_cases")) {
        for (const std::vector<std::string>& f : rows) {
            if (heading != "reports") {
                catalogues[heading].push_back({.name = f.at(0),
                                               .category = f.at(1),
                                               .description = f.at(2),
                                               .resultDetails = f.at(3),
                                               .pass = f.at(4) == "1",
                                               .wasRun = f.at(5) == "1"});
                continue;
            }
            SCOPED_TRACE(f.at(0));
            state.g_pTestCollection = FakeCatalogue(catalogues.at(f.at(1)));
            state.chkOnlyReportFailures = f.at(2) == "1";
            state.txtMajorVersion = f.at(3);
            state.txtMinorVersion = f.at(4);
            state.txtBugfix = f.at(5);
            state.selectedDbms = static_cast<DbmsOption>(std::stoi(f.at(6)));
            EXPECT_EQ(Written(), ReadBytes(FixturePath("reports/" + f[0])));
        }
    }
    EXPECT_EQ(catalogues.size(), 3u);
    // The check box and the boxes are read when writing, and copied as typed.
    state.txtMajorVersion = "9x";
    EXPECT_NE(Written().find("\r\n      Tessel Version 9x.1.0\r\n"), std::string::npos);
    EXPECT_TRUE(ui.shown.empty());
    ReportFile none;
    EXPECT_FALSE(CreateReportInFile(none, ReportContentsOf(state), state.Ui()));
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>{"Unexpected error: No file number passed to CreateReportInFile"});
    EXPECT_EQ(ui.shown[0].icon, MsgIcon::Critical);
}

// Every way through "Create Report" and "View Report", printed with the boxes, dialogs, editor starts and
// what the chosen file holds afterwards (folder names shown as <folder>).
struct ReportFlow : Reporting {
    ReportFlow() : t("report_flow") {
        state.g_pTestCollection =
            FakeCatalogue({{.name = "Is database running", .pass = true, .wasRun = true},
                           {.name = "LAYERS table existence", .wasRun = true}});
        state.g_bTestsWereRun = true;
        state.reportFileName = folder.File("Tessel_Diag.txt");
        report = Written();
    }
    std::string Shown(const std::string& text) { return Replaced(text, folder.Path().string(), "<folder>"); }
    void Step(const std::string& label, std::optional<std::string> answer,
              std::vector<MsgAnswer> answers = {}, bool view = false) {
        t.Case(label);
        dialog.Answer(answer);
        ui.answers.assign(answers.begin(), answers.end());
        view ? ViewReportClick(state, dialog, editor) : CreateNewReport(state, dialog, editor);
        for (const auto& d : dialog.shown) {
            t.Line("dialog", Shown(d));
        }
        for (const auto& box : ui.shown) {
            t.Line("box", Shown(box.title + ": " + box.text) + " [" +
                              std::to_string(static_cast<int>(box.buttons)) + " " +
                              std::to_string(static_cast<int>(box.icon)) + "]");
        }
        for (const auto& e : editor.launched) {
            t.Line("editor", Shown(e));
        }
        if (answer && !answer->empty()) {
            const std::string bytes = ReadBytes(*answer);
            t.Line("file",
                   bytes == report ? "the report" : bytes.substr(bytes.size() > 30 ? bytes.size() - 30 : 0));
        }
        dialog.shown.clear();
        ui.shown.clear();
        editor.launched.clear();
    }

    Transcript t;
    ScriptedFileDialog dialog;
    ScriptedEditorLauncher editor;
    std::string report;
};

TEST_F(ReportFlow, EveryWayOutOfTheReportStepAndWhatStaysOnDisk) {
    const std::string path = folder.File("old report.txt");
    // Longer than the new report, so a missing truncation would leave its tail behind.
    WriteBytes(path, std::string(20000, 'x') + "\r\nend of the old report\r\n");
    Step("cancel", std::nullopt);
    Step("empty name", "");
    Step("existing file, No", path, {MsgAnswer::No});
    Step("existing file, Yes, then no viewing", path, {MsgAnswer::Yes, MsgAnswer::No});
    Step("unwritable folder", folder.File("no such folder/report.txt"));
    std::filesystem::create_directory(folder.File("my reports"));
    Step("viewing starts the editor", folder.File("my reports/Tessel Diag; today.txt"), {MsgAnswer::Yes});
    Step("the next report offers the same path", std::nullopt);
    editor.starts = false;
    Step("an editor that cannot start", folder.File("report.txt"), {MsgAnswer::Yes});
    state.g_pTestCollection.reset();
    state.g_bTestsWereRun = false;
    Step("viewing needs no run; cancel is silent", std::nullopt, {}, true);
    editor.starts = true;
    Step("viewing another report", folder.File("older report.txt"), {}, true);
    // No results: the reason is said once when counting and again, with the general box, on creating.
    const std::vector<std::pair<const char*, std::optional<std::vector<FakeTest::State>>>> noResults = {
        {"no run since connect", std::vector<FakeTest::State>{{.name = "a", .pass = true, .wasRun = true}}},
        {"no catalogue", std::nullopt},
        {"empty catalogue", std::vector<FakeTest::State>{}},
        {"run flag but nothing ran", std::vector<FakeTest::State>{{.name = "a"}, {.name = "b"}}}};
    for (const auto& [label, catalogue] : noResults) {
        state.g_bTestsWereRun = std::string(label) != "no run since connect";
        state.g_pTestCollection = catalogue ? FakeCatalogue(*catalogue) : nullptr;
        Step(label, folder.File("never.txt"));
        t.Line("tests counted", std::to_string(CountTestsRun(state)));
        ui.shown.clear();
    }
}

TEST(DefaultReportPath, StartUpOffersTheFirstTemporaryFolderThatIsSet) {
    const struct {
        std::optional<std::string> temp, tmpdir;
        const char* expected;
    } cases[] = {
        {"/data/temp", "/other", "/data/temp/Tessel_Diag.txt"},
        {"", "/other", "/other/Tessel_Diag.txt"},
        {"", "", "/tmp/Tessel_Diag.txt"},
        {std::nullopt, std::nullopt,
         "/tmp/Tessel_Diag.txt"},  // last: the other tests need a temporary folder
    };
    for (const auto& c : cases) {
        SetVariable("TEMP", c.temp);
        SetVariable("TMPDIR", c.tmpdir);
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        ASSERT_TRUE(StartUp(state));
        EXPECT_EQ(state.reportFileName, c.expected);
    }
}

// The real launcher: no shell in between, and a program that is not there is a failed start.
TEST(SpawnEditorLauncher, StartsTheProgramWithThePathAsOneArgumentAndReportsAMissingProgram) {
    TempFolder folder;
    SpawnEditorLauncher launcher;
    EXPECT_FALSE(launcher.Launch("tabvet-no-such-editor", folder.File("x.txt")));
    const std::string path = folder.File("a b; touch injected.txt");
    ASSERT_TRUE(launcher.Launch("touch", path));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(path) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // Split by a shell, it would have made "a" here and "injected.txt" elsewhere.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    EXPECT_TRUE(std::filesystem::exists(path));
}

// Headings are the arguments, each in double quotes; "parse" first only parses them. <folder> stands for
// a folder that holds "a file" and "report.txt".
TEST(HeadlessArguments, EachMistakeIsOneLineThenTheUsageAndExitTwoAndNoFileIsTouched) {
    const std::vector<std::string> headings = CaseHeadings("headless_arguments");
    ASSERT_FALSE(headings.empty());
    Transcript t("headless_arguments");
    for (const std::string& heading : headings) {
        TempFolder folder;
        WriteBytes(folder.File("a file"), "x");
        WriteBytes(folder.File("report.txt"), "yesterday's report");
        std::vector<std::string> args;
        const std::regex quoted("\"([^\"]*)\"");
        for (auto it = std::sregex_iterator(heading.begin(), heading.end(), quoted);
             it != std::sregex_iterator(); ++it) {
            args.push_back(Replaced((*it)[1].str(), "<folder>", folder.Path().string()));
        }
        t.Case(heading);
        if (heading.starts_with("parse")) {
            const ParsedArguments parsed = ParseHeadlessArguments(args);
            t.Line("error", parsed.error);
            if (parsed.options) {
                const HeadlessOptions& o = *parsed.options;
                t.Line("options", o.connect + " | " + o.database.value_or("-") + " | " +
                                      o.report.value_or("-") + " | " + o.json.value_or("-") + " | " +
                                      std::to_string(o.onlyFailures));
            }
            continue;
        }
        std::ostringstream out, err;
        t.Line("exit", std::to_string(RunHeadless(args, out, err)));
        // The version is the build's own, so that raising it changes no expected file.
        t.Line("out", Replaced(out.str().substr(0, out.str().find('\n')),
                               std::string("tabvet ") + kVersionText, "tabvet <version>"));
        t.Line("err",
               Replaced(Replaced(err.str(), HeadlessUsage(), "<usage>"), folder.Path().string(), "<folder>"));
        std::string files;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
            files += entry.path().filename().string() + "; ";
        }
        t.Line("files", files + ReadBytes(folder.File("report.txt")));
    }
}

// Headings are the three boxes separated by '|', typed into a window that is connected to a server that
// answers nothing, so a run goes through every applicable test without a database.
TEST(VersionTexts, RunTellWhyNotOrRaiseOverflowWithoutChangingAnythingAndTheCorrectedBoxesRun) {
    Transcript t("version_texts");
    for (const std::string& heading : CaseHeadings("version_texts")) {
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        ASSERT_TRUE(StartUp(state));
        auto conn = std::make_unique<ScriptedConnection>();
        conn->Open("");
        state.g_pAdoConn = std::move(conn);
        OptionClick(state, DbmsOption::Oracle);
        state.now = [] { return std::string("<now>"); };
        state.rtbStatus = "earlier log";
        state.stsRunFeedback = "earlier progress";
        t.Case(heading);
        for (const std::vector<std::string>& boxes :
             {Fields(heading), std::vector<std::string>{"9", "0", "0"}}) {
            state.txtMajorVersion = boxes[0];
            state.txtMinorVersion = boxes[1];
            state.txtBugfix = boxes[2];
            t.Try("raised", [&] { ProcessRunTests(state); });
            int ran = 0;
            for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
                ran += state.g_pTestCollection->Item(i)->WasRun() ? 1 : 0;
            }
            t.Line(boxes[0] + "." + boxes[1] + "." + boxes[2],
                   state.stsRunFeedback + " | tests run: " + std::to_string(ran) +
                       " | log kept: " + std::to_string(state.rtbStatus == "earlier log"));
            t.Boxes(ui);
        }
    }
}

// The about box (only the last resort of the lookup is reachable off Windows, so its order is checked with a
// scripted registry), and a terminal where the log (standard output) and progress (standard error) share one
// screen.
TEST(AboutBox, TextsAndTheSystemInformationLookupOrder) {
    const AboutTexts texts = MakeAboutTexts(1, 2, 30);
    EXPECT_EQ(texts.caption + " | " + texts.title + " | " + texts.version,
              "About Tessel System Table Diagnostics | Tessel System Table Diagnostics | Version 1.2.30");
    const std::string path = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO|PATH";
    const std::string folder = "SOFTWARE\\Microsoft\\Shared Tools Location|MSINFO";
    const std::string unavailable = ": System Information Is Unavailable At This Time";
    const struct {
        std::map<std::string, std::string> registry;  // "key|value name" -> value
        bool starts;
        std::string outcome;  // what started, or the box
    } cases[] = {
        {{{path, "C:\\x\\msinfo32.exe"}, {folder, "C:\\y"}}, true, "C:\\x\\msinfo32.exe"},
        {{{folder, "C:\\y"}}, true, "C:\\y\\MSINFO32.EXE"},
        {{}, true, unavailable},
        {{{path, "C:\\x\\msinfo32.exe"}}, false, unavailable},
    };
    for (const auto& c : cases) {
        RecordingInteraction ui;
        std::string started;
        SysInfoLocator locator{
            [&](const std::string& key, const std::string& name) -> std::optional<std::string> {
                const auto it = c.registry.find(key + "|" + name);
                return it == c.registry.end() ? std::nullopt : std::optional<std::string>(it->second);
            },
            [](const std::string&) { return true; },
            [&](const std::string& program) { return started = program, c.starts; }};
        StartSysInfo(locator, ui);
        EXPECT_EQ(ui.shown.empty() ? started : ui.Lines().at(0), c.outcome);
    }
    RecordingInteraction ui;
#ifndef _WIN32
    StartSysInfo(PlatformSysInfoLocator(), ui);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{unavailable});
#endif
}

TEST(ConsoleView, TheLogIsPrintedOnceAndProgressNeverLandsOnTheEndOfALogLine) {
    for (const bool shared : {true, false}) {
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        std::ostringstream out, err;
        ConsoleView view(state, out, shared ? out : err);
        state.AttachView(view);
        SetStatusWindow(state, "\r\nNew Test Run started at T\r\n", true);
        SetRunStatusBarText(state, "Running test 1 of 1: A");
        SetStatusWindow(state, "one\r\ntwo", true);
        SetRunStatusBarText(state, "Testing complete.");
        view.FinishLog();
        view.FinishLog();
        EXPECT_EQ(out.str(),
                  shared
                      ? "\nNew Test Run started at T\nRunning test 1 of 1: A\none\ntwo\nTesting complete.\n"
                      : "\nNew Test Run started at T\none\ntwo\n");
        EXPECT_EQ(err.str(), shared ? "" : "Running test 1 of 1: A\nTesting complete.\n");
    }
}

// Last: it changes the time zone of the process.
TEST(ResultsJson, DocumentsStringsAndTimesAsDesigned) {
    Transcript t("results_json");
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    state.selectedDbms = DbmsOption::Oracle;
    state.txtMajorVersion = "9";
    state.txtMinorVersion = "1";
    state.txtBugfix = "0";
    RunRecord record;
    record.started = "2025-02-01T13:04:05.000+01:00";
    record.finished = "2025-02-01T13:04:06.500+01:00";
    // One entry for each way a catalogue entry can end up.
    state.g_pTestCollection = FakeCatalogue({
        {.name = "passes", .category = "Environment", .resultDetails = "fine", .pass = true, .wasRun = true},
        {.name = "fails",
         .resultDetails = "\r\n>>>> \"GIS\".ROADS\r\n>>>> Stra\xC3\x9F"
                          "e",
         .wasRun = true},
        {.name = "switched off", .enabled = false},
        {.name = "too new", .versionRule = VersionRule::V4},
        {.name = "not for oracle", .oracle = false},
        {.name = "after the error"},
    });
    record.tests = {{.verdict = Verdict::Passed, .durationMs = 12.5},
                    {.verdict = Verdict::Failed, .durationMs = 0.25},
                    {.notRunReason = NotRunReason::Disabled},
                    {.notRunReason = NotRunReason::Version},
                    {.notRunReason = NotRunReason::Dbms},
                    {.notRunReason = NotRunReason::Aborted}};
    const auto document = [&](const std::string& label) {
        t.Case(label);
        const std::string json = ResultsJson(TargetOf(state), *state.g_pTestCollection, record);
        EXPECT_NO_THROW((void)JsonParser::Parse(json)) << json;
        t.Line("json", json);
    };
    document("failed run");
    record.tests[1] = {.verdict = Verdict::Error, .durationMs = 0.25};
    record.end = RunEnd::EscapedError;
    record.error = "Run-time error '94': Invalid use of Null";
    document("ended by an escaped error");
    record.tests[1] = {.notRunReason = NotRunReason::Aborted};
    record.end = RunEnd::Completed;
    record.error.reset();
    document("the failing verdict is from an earlier run");
    state.g_pTestCollection = FakeCatalogue({});
    state.g_sTslSystemTableDatabase = "TSL";
    for (const DbmsOption dbms :
         {DbmsOption::SqlServer, DbmsOption::Informix, DbmsOption::DB2, DbmsOption::None}) {
        state.selectedDbms = dbms;
        document("target " + std::to_string(static_cast<int>(dbms)));
    }
    t.Case("strings");
    std::string ascii;
    for (int c = 0; c < 128; ++c) {
        ascii.push_back(static_cast<char>(c));
    }
    for (const std::string& text :
         {std::string("nul\0end", 7), ascii,
          std::string("Stra\xC3\x9F"
                      "e \xE2\x82\xAC \xF0\x9F\x97\xBA"),
          std::string("latin1 \xFC!"), std::string("cut \xC3"), std::string("overlong \xC0\xAF"),
          std::string("surrogate \xED\xA0\x80"), std::string("stray \x80 continuation")}) {
        t.Line(text, JsonString(text));
    }
    t.Case("local times with milliseconds and offset");
    const auto time = std::chrono::system_clock::from_time_t(86400 * 365) + std::chrono::milliseconds(1250);
    for (const char* zone : {"UTC0", "NST3:30"}) {
        SetVariable("TZ", zone);
        tzset();
        t.Line(zone, IsoLocalTime(time));
    }
}

}  // namespace
}  // namespace tabvet
