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

TEST(AboutBoxTest, CaptionTitleAndVersion) {
    const AboutTexts texts = MakeAboutTexts(1, 2, 30);
    EXPECT_EQ(texts.caption, "About Tessel System Table Diagnostics");
    EXPECT_EQ(texts.title, "Tessel System Table Diagnostics");
    EXPECT_EQ(texts.version, "Version 1.2.30");
}

TEST(AboutBoxTest, SystemInformationLookupOrder) {
    struct Case {
        const char* label;
        std::map<std::string, std::string> registry;  // "key|value name" -> value
        bool folderHasProgram;
        bool starts;
        std::string started;  // empty: the unavailable message
    };
    const std::string pathKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO|PATH";
    const std::string folderKey = "SOFTWARE\\Microsoft\\Shared Tools Location|MSINFO";
    const Case cases[] = {
        {"full path wins",
         {{pathKey, "C:\\x\\msinfo32.exe"}, {folderKey, "C:\\y"}},
         true,
         true,
         "C:\\x\\msinfo32.exe"},
        {"folder with the program", {{folderKey, "C:\\y"}}, true, true, "C:\\y\\MSINFO32.EXE"},
        {"nothing registered", {}, true, true, ""},
        {"program does not start", {{pathKey, "C:\\x\\msinfo32.exe"}}, true, false, ""},
    };
    for (const Case& c : cases) {
        testsupport::RecordingInteraction ui;
        std::string started;
        SysInfoLocator locator{
            [&](const std::string& key, const std::string& name) -> std::optional<std::string> {
                const auto it = c.registry.find(key + "|" + name);
                return it == c.registry.end() ? std::nullopt : std::optional<std::string>(it->second);
            },
            [&](const std::string&) { return c.folderHasProgram; },
            [&](const std::string& path) {
                started = path;
                return c.starts;
            }};
        StartSysInfo(locator, ui);
        if (!c.started.empty()) {
            EXPECT_EQ(started, c.started) << c.label;
            EXPECT_TRUE(ui.shown.empty()) << c.label;
        } else {
            EXPECT_EQ(ui.Lines(),
                      std::vector<std::string>{": System Information Is Unavailable At This Time"})
                << c.label;
        }
    }
}

TEST(AboutBoxTest, OffWindowsTheProgramIsUnavailable) {
    testsupport::RecordingInteraction ui;
#ifndef _WIN32
    StartSysInfo(PlatformSysInfoLocator(), ui);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{": System Information Is Unavailable At This Time"});
#endif
}

TEST(ConsoleViewTest, ProgressNeverLandsOnTheEndOfALogLine) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    std::ostringstream screen;
    ConsoleView view(state, screen, screen);
    state.AttachView(view);
    SetStatusWindow(state, "\r\nNew Test Run started at T\r\n", true);
    SetRunStatusBarText(state, "Running test 1 of 1: A");
    SetStatusWindow(state, "\r\nTest run finished at T", true);
    SetRunStatusBarText(state, "Testing complete.");
    view.FinishLog();
    EXPECT_EQ(
        screen.str(),
        "\nNew Test Run started at T\nRunning test 1 of 1: A\n\nTest run finished at T\nTesting complete.\n");
}

TEST(ConsoleViewTest, TheLogAloneIsPrintedExactlyOnceWithOneFinalLineBreak) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    std::ostringstream out;
    std::ostringstream err;
    ConsoleView view(state, out, err);
    state.AttachView(view);
    SetStatusWindow(state, "one\r\ntwo", true);
    SetRunStatusBarText(state, "progress");  // ends the open line early
    SetStatusWindow(state, "\r\nthree", true);
    view.FinishLog();
    view.FinishLog();
    EXPECT_EQ(out.str(), "one\ntwo\nthree\n");
    EXPECT_EQ(err.str(), "progress\n");
}

}  // namespace
}  // namespace tabvet
