// What a person sees on a terminal, where the log (standard output) and progress (standard error) share
// one screen.
#include <gtest/gtest.h>

#include <sstream>

#include "console_interaction.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

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
