// The program's edges, as the cases of tests/fixtures/unit/reports.txt, input.txt and results_json.txt: the
// report and the report step, headless arguments, the results document; then the editor launcher, the strict
// JSON reader's refusals and the terminal.
#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <thread>

#include <sys/stat.h>

#include "app/headless/connect_source.h"
#include "app/headless/console_interaction.h"
#include "app/headless/headless_options.h"
#include "app/headless/headless_run.h"
#include "app/tabvet_version.h"
#include "db/odbc_connection.h"
#include "framework/local_time.h"
#include "report/baseline.h"
#include "report/finding_key.h"
#include "report/json_reader.h"
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
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"
#include "support/unit_cases.h"

namespace tabvet {
namespace {

using namespace testsupport;

// Sets or (with nothing) unsets an environment variable for the rest of the process.
void SetVariable(const char* name, const std::optional<std::string>& value) {
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
}

// The value of an enumeration whose words `word` gives, from the first one on.
template <typename E, typename W>
E Named(const std::string& name, W word) {
    for (int i = 0;; ++i) {  // past the last value the word list throws
        if (word(static_cast<E>(i)) == name) {
            return static_cast<E>(i);
        }
    }
}

// A finding from "KIND FIELD=VALUE | FIELD=VALUE"; "~" is NULL.
Finding MakeFinding(const std::string& text) {
    const auto [kind, fields] = FirstWord(text);
    Finding finding{.kind = Named<FindingKind>(kind, FindingKindWord)};
    for (const std::string& field : fields.empty() ? std::vector<std::string>{} : Split(fields, " | ")) {
        const std::string value = field.substr(field.find('=') + 1);
        finding.identity.Set(Named<IdentityField>(field.substr(0, field.find('=')), IdentityFieldName),
                             value == "~" ? FieldValue{} : FieldValue{value});
    }
    return finding;
}

// The words of the report and input cases: a catalogue of fake tests, the window's model over it, a private
// folder (shown as <folder>), a scripted file dialog and editor.
class EdgeCases {
  public:
    EdgeCases() {
        state_.now = [] { return std::string("01/02/2025 13:04:05"); };
        state_.reportFileName = folder_.File("Tessel_Diag.txt");
        player.Mask(
            [this](const std::string& text) { return Replaced(text, folder_.Path().string(), "<folder>"); });
        // test NAME|CATEGORY|DESCRIPTION|DETAILS|passed or failed|run or not run: one more fake test.
        player.On("test", [this](const std::string& a, std::ostream&) {
            const std::vector<std::string> f = Split(a, "|");
            tests_.push_back({.name = f.at(0),
                              .category = f.at(1),
                              .description = f.at(2),
                              .resultDetails = f.at(3),
                              .pass = f.at(4) == "passed",
                              .wasRun = f.at(5) == "run"});
            state_.g_pTestCollection = FakeCatalogue(tests_);
            state_.g_bTestsWereRun = true;
        });
        player.On("new-catalogue", [this](const std::string&, std::ostream&) { tests_.clear(); });
        // report [only-failures] MAJOR.MINOR.BUGFIX DBMS-OPTION-NUMBER [last K]: the report's lines (CR LF).
        player.On("report", [this](const std::string& a, std::ostream& out) {
            std::vector<std::string> words = Split(a, " ");
            state_.chkOnlyReportFailures = words[0] == "only-failures";
            words.erase(words.begin(), words.begin() + (state_.chkOnlyReportFailures ? 1 : 0));
            SetVersionBoxes(state_, words[0]);
            state_.selectedDbms = static_cast<DbmsOption>(std::stoi(words[1]));
            const std::vector<std::string> lines = Split(ReadableLines(Written(), "\r\n"), "\n");
            const std::size_t from = words.size() > 3 ? lines.size() - 1 - std::stoul(words[3]) : 0;
            out << (from > 0 ? "(" + std::to_string(from) + " lines before)\n" : "");
            for (std::size_t i = from; i + 1 < lines.size(); ++i) {
                out << lines[i] << "\n";
            }
            PrintBoxes(ui_, out);
        });
        // create FILE [then ANSWERS] and view FILE: the report step with the dialog answering FILE (in the
        // folder; "cancel" and "empty" as said) and the boxes ANSWERS; what is shown, started and on disk.
        player.On("create", [this](const std::string& a, std::ostream& out) { Step(a, false, out); });
        player.On("view", [this](const std::string& a, std::ostream& out) { Step(a, true, out); });
        player.On("old-report", [this](const std::string& a, std::ostream&) {
            // Longer than the new report, so a missing truncation would leave its tail behind.
            WriteBytes(folder_.File(a), std::string(20000, 'x') + "\r\nend of the old report\r\n");
        });
        player.On("folder", [this](const std::string& a, std::ostream&) {
            std::filesystem::create_directory(folder_.File(a));
        });
        player.On("editor", [this](const std::string& a, std::ostream&) { editor_.starts = a == "starts"; });
        // results WHAT: no-run (results from before a connect), none (no catalogue), empty (an empty one),
        // nothing-ran (the run flag, but no test ran).
        player.On("results", [this](const std::string& a, std::ostream& out) {
            state_.g_bTestsWereRun = a != "no-run";
            std::vector<FakeTest::State> tests;
            if (a == "no-run") {
                tests = {{.name = "a", .pass = true, .wasRun = true}};
            } else if (a == "nothing-ran") {
                tests = {{.name = "a"}, {.name = "b"}};
            }
            state_.g_pTestCollection = a == "none" ? nullptr : FakeCatalogue(tests);
            out << "tests counted: " << CountTestsRun(state_) << "\n";
            PrintBoxes(ui_, out);
        });
        // outcomes HOW and json [first K | last K | entry N]: the results document of the fake tests (see
        // Outcomes).
        player.On("outcomes", [this](const std::string& a, std::ostream&) { Outcomes(a); });
        player.On("json", [this](const std::string& a, std::ostream& out) {
            const std::string json = ResultsJson(TargetOf(state_), *state_.g_pTestCollection, record_,
                                                 comparison_ ? &*comparison_ : nullptr);
            EXPECT_TRUE(ReadJson(json).value) << ReadJson(json).error << "\n" << json;
            const std::vector<std::string> lines = Split(ReadableLines(json, "\n"), "\n");
            // "first K", "last K", "target" or "entry N" (the object of catalogue position N); all without.
            std::size_t from = 0, to = lines.size() - 1;
            if (a.starts_with("first")) {
                to = std::stoul(a.substr(6));
            } else if (a.starts_with("last")) {
                from = to - std::stoul(a.substr(5));
            } else if (a == "target") {
                from = std::find(lines.begin(), lines.end(), "  \"target\": {") - lines.begin();
                to = from + 5;
            } else if (a.starts_with("entry")) {
                from = std::find(lines.begin(), lines.end(), "      \"position\": " + a.substr(6) + ",") -
                       lines.begin() - 1;
                to = std::find(lines.begin() + static_cast<long>(from), lines.end(), "    },") -
                     lines.begin() + 1;
            }
            for (std::size_t i = from; i < to && i < lines.size(); ++i) {
                out << lines[i] << "\n";
            }
        });
        player.On("target", [this](const std::string& a, std::ostream&) {
            state_.selectedDbms = static_cast<DbmsOption>(std::stoi(a));
            state_.g_sTslSystemTableDatabase = "TSL";
        });
        OnValue(player, "json-string", [](const std::string& a) { return JsonString(a); });
        OnValue(player, "local-time", [](const std::string& a) {
            SetVariable("TZ", a);
            tzset();
            return IsoLocalTime(std::chrono::system_clock::from_time_t(86400 * 365) +
                                std::chrono::milliseconds(1250));
        });
        // report-path TEMP TMPDIR ("-" unset): the report file start-up offers.
        OnValue(player, "report-path", [](const std::string& a) {
            for (const auto& [name, value] :
                 {std::pair{"TEMP", FirstWord(a).first}, {"TMPDIR", FirstWord(a).second}}) {
                SetVariable(name, value == "-" ? std::nullopt : std::optional(value));
            }
            RecordingInteraction ui;
            MainState state(ui, NewOdbcConnection);
            return StartUp(state) ? state.reportFileName : "(no start)";
        });
        OnValue(player, "about", [](const std::string& a) {
            const std::vector<std::string> v = Split(a, ".");
            const AboutTexts texts = MakeAboutTexts(std::stoi(v[0]), std::stoi(v[1]), std::stoi(v[2]));
            return texts.caption + " | " + texts.title + " | " + texts.version;
        });
        // sysinfo PATH FOLDER starts|fails: the system information looked up in a scripted registry (PATH
        // under MSINFO, FOLDER under Shared Tools Location, "-" when missing); what started, or the box.
        OnValue(player, "sysinfo", [](const std::string& a) {
            const std::vector<std::string> w = Split(a, " ");
            std::string started;
            RecordingInteraction ui;
            const SysInfoLocator scripted{
                [&](const std::string& key, const std::string&) -> std::optional<std::string> {
                    const std::string& value = key.ends_with("MSINFO") ? w.at(0) : w.at(1);
                    return value == "-" ? std::nullopt : std::optional(value);
                },
                [](const std::string&) { return true; },
                [&](const std::string& program) { return started = program, w.at(2) == "starts"; }};
            StartSysInfo(scripted, ui);
            return ui.shown.empty() ? "started " + started : ui.Lines().at(0);
        });
        // args ["parse"] "A" "B"...: a headless run with those arguments (or only their parsing).
        player.On("args", [this](const std::string& a, std::ostream& out) { Arguments(a, out); });
        player.On("resolve", [this](const std::string& a, std::ostream& out) { Resolve(a, out); });
        // key KIND FIELD=VALUE | ...: the key of a finding ("~" is NULL).
        OnValue(player, "key", [](const std::string& a) { return FindingKey(MakeFinding(a)); });
        // baseline TEXT: what reading TEXT as a baseline gives.
        OnValue(player, "baseline", [](const std::string& a) {
            const BaselineRead read = ReadBaseline(a);
            std::string accepted =
                read.baseline ? std::to_string(read.baseline->findings.size()) : read.error;
            for (const BaselineFinding& f :
                 read.baseline ? read.baseline->findings : std::vector<BaselineFinding>{}) {
                accepted += " | " + std::to_string(f.position) + " " + f.key;
            }
            return accepted;
        });
        // against END | TEST | TEST | TEST: a run compared with a baseline that accepts A of test 1, B of 2
        // and C of 3; a test is passed, error, aborted, deselected, or failed (failed-cut: its limit cut it
        // short, failed-blind: its system table unreadable) with the findings named (N new, L a lookup
        // error).
        OnValue(player, "against", [](const std::string& a) {
            const std::map<std::string, Finding> named = {
                {"A", MakeFinding("missing-table-or-view table=A")},
                {"B", MakeFinding("missing-table-or-view table=B")},
                {"C", MakeFinding("missing-index index=C")},
                {"N", MakeFinding("missing-index")},
                {"L", MakeFinding("lookup-error systemTable=LAYERS")}};
            const Baseline baseline{{{.position = 1, .key = FindingKey(named.at("A"))},
                                     {.position = 2, .key = FindingKey(named.at("B"))},
                                     {.position = 3, .key = FindingKey(named.at("C"))}}};
            const std::vector<std::string> parts = Split(a, " | ");
            RunRecord record;
            record.end = parts[0] == "stopped" ? RunEnd::Stopped
                         : parts[0] == "error" ? RunEnd::EscapedError
                                               : RunEnd::Completed;
            for (std::size_t i = 1; i < parts.size(); ++i) {
                std::vector<std::string> words = Split(parts[i], " ");
                TestOutcome& test =
                    record.tests.emplace_back(TestOutcome{.verdict = words[0] == "passed"  ? Verdict::Passed
                                                                     : words[0] == "error" ? Verdict::Error
                                                                                           : Verdict::Failed,
                                                          .truncated = words[0] == "failed-cut",
                                                          .examined = words[0] != "failed-blind"});
                test.notRunReason = words[0] == "aborted"      ? std::optional(NotRunReason::Aborted)
                                    : words[0] == "deselected" ? std::optional(NotRunReason::Deselected)
                                                               : std::nullopt;
                for (std::size_t w = 1; w < words.size(); ++w) {
                    test.findings.push_back(named.at(words[w]));
                }
            }
            const BaselineComparison comparison = CompareWithBaseline(baseline, record);
            return BaselineSummary(comparison) + ", exit " +
                   std::to_string(ExitStatusOf(record, &comparison));
        });
        // report-without-file: a report written with no file open.
        player.On("report-without-file", [this](const std::string&, std::ostream& out) {
            ReportFile none;
            out << Outcome([&] { return CreateReportInFile(none, ReportContentsOf(state_), state_.Ui()); })
                << "\n";
            PrintBoxes(ui_, out);
        });
    }

    CasePlayer player;

  private:
    std::string Written() {
        const std::string path = folder_.File("written.out");
        ReportFile file = ReportFile::Open(path);
        EXPECT_TRUE(CreateReportInFile(file, ReportContentsOf(state_), state_.Ui()));
        file.Close();
        return ReadBytes(path);
    }

    void Step(const std::string& argument, bool view, std::ostream& out) {
        const std::vector<std::string> parts = Split(argument, " then ");
        const std::string& name = parts[0];
        const std::optional<std::string> answer =
            name == "cancel" ? std::nullopt
                             : std::optional<std::string>(name == "empty" ? "" : folder_.File(name));
        dialog_.Answer(answer);
        ui_.answers.clear();
        for (const std::string& word : parts.size() > 1 ? Split(parts[1], " ") : std::vector<std::string>{}) {
            ui_.answers.push_back(word == "Yes" ? MsgAnswer::Yes : MsgAnswer::No);
        }
        const std::string report = Written();
        view ? ViewReportClick(state_, dialog_, editor_) : CreateNewReport(state_, dialog_, editor_);
        for (const auto& d : dialog_.shown) {
            out << "dialog: " << d << "\n";
        }
        for (const auto& box : ui_.shown) {
            out << "box: " << Readable(box.title + ": " + box.text) << " [" << static_cast<int>(box.buttons)
                << " " << static_cast<int>(box.icon) << "]\n";
        }
        for (const auto& e : editor_.launched) {
            out << "editor: " << e << "\n";
        }
        if (answer && !answer->empty()) {
            const std::string bytes = ReadBytes(*answer);
            out << "file: "
                << (bytes == report ? "the report"
                                    : Readable(bytes.substr(bytes.size() > 30 ? bytes.size() - 30 : 0)))
                << "\n";
        }
        dialog_.shown.clear();
        ui_.shown.clear();
        editor_.launched.clear();
    }

    // One catalogue entry for each way an entry can end up, and their outcomes in the run record: "failed"
    // (a failed run), "error" (the second test ended the run), "earlier" (its failed verdict is from an
    // earlier run), "none" (an empty catalogue), "findings" (the failed test's findings against a baseline).
    void Outcomes(const std::string& how) {
        state_.selectedDbms = DbmsOption::Oracle;
        SetVersionBoxes(state_, "9.1.0");
        record_.started = "2025-02-01T13:04:05.000+01:00";
        record_.finished = "2025-02-01T13:04:06.500+01:00";
        state_.g_pTestCollection = FakeCatalogue({
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
        record_.tests = {{.verdict = Verdict::Passed, .durationMs = 12.5},
                         {.verdict = Verdict::Failed, .durationMs = 0.25},
                         {.notRunReason = NotRunReason::Disabled},
                         {.notRunReason = NotRunReason::Version},
                         {.notRunReason = NotRunReason::Dbms},
                         {.notRunReason = NotRunReason::Aborted}};
        record_.end = RunEnd::Completed;
        record_.error.reset();
        comparison_.reset();
        if (how == "findings") {
            // A missing table with the driver's error, new; a missing index the baseline accepts with a
            // reason; the limit cut the check short. The first test looked at everything and no longer finds
            // what the baseline holds for it.
            Finding table = MakeFinding("missing-table-or-view owner=GIS | table=WELLS");
            table.driverErrors = {AdoError(1, "ERROR: relation \"gis.wells\" does not exist", "42P01")};
            const Finding index = MakeFinding("missing-index column=~ | index=F12_UK1");
            record_.tests[0].examined = true;
            record_.tests[1] = {.verdict = Verdict::Failed,
                                .durationMs = 0.25,
                                .findings = {table, index},
                                .truncated = true,
                                .examined = true};
            comparison_ = CompareWithBaseline(
                Baseline{{{.position = 2, .key = FindingKey(index), .reason = "rebuilt in May"},
                          {.position = 1,
                           .key = R"(["missing-index",{"index":"GONE"}])",
                           .kind = "missing-index"}}},
                record_);
        } else if (how == "error") {
            record_.tests[1] = {.verdict = Verdict::Error, .durationMs = 0.25};
            record_.end = RunEnd::EscapedError;
            record_.error = "Run-time error '94': Invalid use of Null";
        } else if (how == "earlier") {
            record_.tests[1] = {.notRunReason = NotRunReason::Aborted};
        } else if (how == "none") {
            state_.g_pTestCollection = FakeCatalogue({});
        }
    }

    // The folder holds "a file", "report.txt", and connection files: "private" (0600), "shared" (0644) and
    // "empty" (0600), and "old.json", a results file from before findings. A file must be left as it was; the
    // password pw1 must show nowhere.
    void Arguments(const std::string& argument, std::ostream& out) {
        for (const auto& [name, text, mode] : {std::tuple{"a file", "x", 0644},
                                               {"report.txt", "yesterday's report", 0644},
                                               {"private", "DSN=gis;PWD=pw1\r\n", 0600},
                                               {"shared", "DSN=gis;PWD=pw1\n", 0644},
                                               {"empty", "\n", 0600},
                                               {"old.json", R"({"tests": []})", 0644}}) {
            WriteBytes(folder_.File(name), text);
            chmod(folder_.File(name).c_str(), mode);
        }
        std::vector<std::string> args;
        const std::regex quoted("\"([^\"]*)\"");
        for (auto it = std::sregex_iterator(argument.begin(), argument.end(), quoted);
             it != std::sregex_iterator(); ++it) {
            args.push_back(Replaced((*it)[1].str(), "<folder>", folder_.Path().string()));
        }
        if (argument.starts_with("parse")) {
            const ParsedArguments parsed =
                ParseHeadlessArguments(args, argument.starts_with("parse environment"));
            if (!parsed.options) {
                out << "error: " << parsed.error << "\n";
                return;
            }
            const HeadlessOptions& o = *parsed.options;
            out << "options: " << o.connect << " | " << o.database.value_or("-") << " | "
                << o.report.value_or("-") << " | " << o.json.value_or("-") << " | " << o.onlyFailures
                << " | source " << static_cast<int>(o.connectSource) << " " << o.connectFile << " | timeouts "
                << o.loginTimeout.value_or(15) << "/" << o.statementTimeout.value_or(30) << ", limit "
                << o.timeLimit << "\n";
            return;
        }
        std::ostringstream stdOut, stdErr;
        out << "exit " << RunHeadless(args, stdOut, stdErr) << ": "
            << Readable(Replaced(stdErr.str(), HeadlessUsage(), "<usage>"))
            << "\n"
            // The version is the build's own, so that raising it changes no expected file.
            << ReadableLines(
                   Replaced(stdOut.str(), std::string("tabvet ") + kVersionText, "tabvet <version>"), "\n");
        EXPECT_EQ((stdOut.str() + stdErr.str()).find("pw1"), std::string::npos);
        EXPECT_EQ(ReadBytes(folder_.File("report.txt")), "yesterday's report");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), 6);
    }

    // resolve SOURCE VALUE: the connection string from the argument, a file of the folder, standard input or
    // the environment; what it resolves to and what is said on the way.
    void Resolve(const std::string& argument, std::ostream& out) {
        const auto [source, value] = FirstWord(argument);
        HeadlessOptions options;
        options.connectSource = source == "argument" ? ConnectSource::Argument
                                : source == "file"   ? ConnectSource::File
                                : source == "stdin"  ? ConnectSource::StandardInput
                                                     : ConnectSource::Environment;
        options.connect = source == "argument" ? value : "";
        options.connectFile = folder_.File(value);
        std::istringstream in(value);
        std::ostringstream err;
        const bool ok = ResolveConnectionString(options, in, value, err);
        out << Readable(ok ? options.connect : "(failed)") << " | " << Readable(err.str()) << "\n";
        EXPECT_EQ(err.str().find("pw1"), std::string::npos);
    }

    RecordingInteraction ui_;
    MainState state_{ui_, NewOdbcConnection};
    TempFolder folder_;
    ScriptedFileDialog dialog_;
    ScriptedEditorLauncher editor_;
    std::vector<FakeTest::State> tests_;
    RunRecord record_;
    std::optional<BaselineComparison> comparison_;
};

TEST(EdgeCases, ReportsAndTheReportStep) {
    EXPECT_EQ(EdgeCases().player.Play("unit/reports.txt"), "");
}

TEST(EdgeCases, HeadlessArgumentsAndVersionTextsAPersonGetsWrong) {
    EXPECT_EQ(EdgeCases().player.Play("unit/input.txt"), "");
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

// The strict JSON reader that baselines go through: every malformed input is refused with what is wrong and
// where.
TEST(JsonReader, RefusesEveryMalformedDocumentSayingWhatAndWhere) {
    const struct {
        std::string text;
        std::string error;
    } cases[] = {
        {"", "unexpected end of text, a value expected at line 1, column 1"},
        {"   \n ", "unexpected end of text, a value expected at line 2, column 2"},
        {"{", "unexpected end of text, a member name expected at line 1, column 2"},
        {"{\"a\": 1", "unexpected end of text, ',' or '}' expected at line 1, column 8"},
        {"{\"a\" 1}", "':' expected at line 1, column 6"},
        {"{\"a\": 1,}", "a member name expected at line 1, column 9"},
        {"[1, 2,]", "a value expected at line 1, column 7"},
        {"[1 2]", "',' or ']' expected at line 1, column 4"},
        {"{a: 1}", "a member name expected at line 1, column 2"},
        {"{\"a\": 1, \"a\": 2}", "a member name given twice at line 1, column 10"},
        {"{\"a\": 1} {}", "text after the document at line 1, column 10"},
        {"{} // note", "text after the document at line 1, column 4"},
        {"/* note */ {}", "a value expected at line 1, column 1"},
        {"\xEF\xBB\xBF{}", "a byte order mark at line 1, column 1"},
        {"'text'", "a value expected at line 1, column 1"},
        {"True", "a value expected at line 1, column 1"},
        {"nul", "a value expected at line 1, column 1"},
        {"01", "a number with a leading zero at line 1, column 2"},
        {"-", "unexpected end of text, a value expected at line 1, column 2"},
        {"1.", "unexpected end of text, a digit expected at line 1, column 3"},
        {"1e+", "unexpected end of text, a digit expected at line 1, column 4"},
        {".5", "a value expected at line 1, column 1"},
        {"+1", "a value expected at line 1, column 1"},
        {"NaN", "a value expected at line 1, column 1"},
        {"\"open", "unexpected end of text, the string not closed at line 1, column 6"},
        {"\"a\tb\"", "a control character in a string at line 1, column 3"},
        {"\"a\nb\"", "a control character in a string at line 1, column 3"},
        {"\"\\x41\"", "an unknown escape at line 1, column 3"},
        {"\"\\u12G4\"", "four hexadecimal digits expected after \\u at line 1, column 6"},
        {"\"\\ud83d\"", "an unpaired surrogate escape at line 1, column 8"},
        {"\"\\ud83d\\u0041\"", "an unpaired surrogate escape at line 1, column 14"},
        {"\"\\ude00\"", "an unpaired surrogate escape at line 1, column 8"},
        {"\"\xC3\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xC0\xAF\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xED\xA0\x80\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xF4\x90\x80\x80\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\x80\"", "invalid UTF-8 at line 1, column 2"},
        {std::string(65, '[') + std::string(65, ']'),
         "arrays and objects nested more than 64 deep at line 1, column 65"},
        {std::string("[\0]", 3), "a value expected at line 1, column 2"},
        // Accepted: what a baseline's values read as is in the unit baseline cases.
        {std::string(64, '[') + std::string(64, ']'), ""},
        {" {\"\": [true, false, null, {}, []]}\r\n", ""},
    };
    for (const auto& c : cases) {
        const JsonParse parsed = ReadJson(c.text);
        EXPECT_EQ(parsed.value.has_value(), c.error.empty()) << c.text;
        EXPECT_EQ(parsed.error, c.error) << c.text;
    }
}

// A terminal where the log (standard output) and progress (standard error) share one screen; the two
// streams apart are the scenarios' "show stdout" and "show stderr".
TEST(ConsoleView, TheLogIsPrintedOnceAndProgressNeverLandsOnTheEndOfALogLine) {
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    std::ostringstream screen;
    ConsoleView view(state, screen, screen);
    state.AttachView(view);
    SetStatusWindow(state, "\r\nNew Test Run started at T\r\n", true);
    SetRunStatusBarText(state, "Running test 1 of 1: A");
    SetStatusWindow(state, "one\r\ntwo", true);
    SetRunStatusBarText(state, "Testing complete.");
    view.FinishLog();
    view.FinishLog();
    EXPECT_EQ(screen.str(),
              "\nNew Test Run started at T\nRunning test 1 of 1: A\none\ntwo\nTesting complete.\n");
}

// It changes the time zone of the process; no other unit test reads the local time.
TEST(EdgeCases, TheResultsDocumentItsStringsAndTimes) {
    EXPECT_EQ(EdgeCases().player.Play("unit/results_json.txt"), "");
}

}  // namespace
}  // namespace tabvet
