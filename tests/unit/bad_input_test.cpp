// The program's edges. Input a person gets wrong, as data: headless arguments (headless_arguments.txt
// under tests/fixtures/unit) and version texts pasted into the boxes (version_texts.txt); each case is the
// heading of its section there, gives a clear outcome, leaves files and the model as they were, and never
// crashes. Then the about box and the terminal.
#include <gtest/gtest.h>

#include <regex>

#include "about_box.h"
#include "app/headless_options.h"
#include "app/headless_run.h"
#include "console_interaction.h"
#include "db/runtime_error.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "startup.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
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
        t.Line("out", out.str().substr(0, out.str().find('\n')));
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
        MainState state(ui);
        ASSERT_TRUE(StartUp(state));
        auto conn = std::make_unique<ScriptedConnection>();
        conn->Open("");
        state.g_pAdoConn = std::move(conn);
        OptionClick(state, DbmsOption::Oracle);
        state.now = [] { return std::string("<now>"); };
        state.rtbStatus = "earlier log";
        state.stsRunFeedback = "earlier progress";
        const std::size_t bar = heading.find('|'), bar2 = heading.find('|', bar + 1);
        t.Case(heading);
        for (const auto& [major, minor, bugfix] :
             {std::tuple{heading.substr(0, bar), heading.substr(bar + 1, bar2 - bar - 1),
                         heading.substr(bar2 + 1)},
              std::tuple{std::string("9"), std::string("0"), std::string("0")}}) {
            state.txtMajorVersion = major;
            state.txtMinorVersion = minor;
            state.txtBugfix = bugfix;
            t.Try("raised", [&] { ProcessRunTests(state); });
            int ran = 0;
            for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
                ran += state.g_pTestCollection->Item(i)->WasRun() ? 1 : 0;
            }
            t.Line(major + "." + minor + "." + bugfix,
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
        MainState state(ui);
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

}  // namespace
}  // namespace tabvet
