// The about box's texts and where it finds the system-information program (only the last resort is
// reachable off Windows, so the lookup order is checked with a scripted registry); and what a person sees on
// a terminal, where the log (standard output) and progress (standard error) share one screen.
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "about_box.h"
#include "console_interaction.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

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
        testsupport::RecordingInteraction ui;
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
    testsupport::RecordingInteraction ui;
#ifndef _WIN32
    StartSysInfo(PlatformSysInfoLocator(), ui);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{unavailable});
#endif
}

TEST(ConsoleView, TheLogIsPrintedOnceAndProgressNeverLandsOnTheEndOfALogLine) {
    for (const bool shared : {true, false}) {
        testsupport::RecordingInteraction ui;
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
