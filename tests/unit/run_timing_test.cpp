// Timing the tests must not change the run: the same log, progress and verdicts as an untimed run.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "app/run_timing.h"
#include "db/runtime_error.h"
#include "framework/test_run.h"
#include "support/fake_test.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::FakeTest;

std::vector<FakeTest::State> Catalogue(bool withEscape) {
    return {
        {.name = "slow pass",
         .onRun =
             [](FakeTest::State& s) {
                 std::this_thread::sleep_for(std::chrono::milliseconds(30));
                 s.pass = true;
                 s.resultDetails = "fine";
             }},
        {.name = "not for this version", .versionRule = VersionRule::V4},
        {.name = "fails",
         .onRun =
             [withEscape](FakeTest::State& s) {
                 s.resultDetails = "broken";
                 if (withEscape) {
                     throw RuntimeError(errnum::kInvalidUseOfNull, "Invalid use of Null");
                 }
             }},
        {.name = "last"},
    };
}

// One window model, ready to run on a connection that is never asked anything.
struct Window {
    explicit Window(bool withEscape) {
        state.now = [] { return std::string("01/02/2025 13:04:05"); };
        state.g_pTestCollection = testsupport::FakeCatalogue(Catalogue(withEscape));
        state.g_pAdoConn = std::make_unique<testsupport::ScriptedConnection>();
        state.selectedDbms = DbmsOption::Oracle;
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "1";
        state.txtBugfix = "0";
    }
    // Runs, and says whether an error escaped.
    bool Run() {
        try {
            ProcessRunTests(state);
            return false;
        } catch (const RuntimeError&) {
            return true;
        }
    }

    testsupport::RecordingInteraction ui;
    MainState state{ui};
};

// What a user sees of a run: the log, the status bar and every test's verdict.
std::string Outcome(const MainState& state) {
    std::string text =
        state.rtbStatus + "|" + state.stsRunFeedback + "|" + (state.g_bTestsWereRun ? "ran" : "");
    for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
        const IAdoTest& test = *state.g_pTestCollection->Item(i);
        text += "|" + test.Name() + (test.WasRun() ? " ran " : " ") + (test.Pass() ? "pass " : "") +
                test.ResultDetails();
    }
    return text;
}

TEST(RunTimer, TimesEachTestThatRunsAndChangesNothingElse) {
    for (bool withEscape : {false, true}) {
        SCOPED_TRACE(withEscape ? "a test lets an error escape" : "a normal run");
        Window plain(withEscape);
        Window timed(withEscape);
        IAdoTest* const original = timed.state.g_pTestCollection->Item(1);
        RunRecord record;
        {
            RunTimer timer(timed.state, record);
            EXPECT_EQ(timed.Run(), withEscape);
        }
        EXPECT_EQ(plain.Run(), withEscape);
        EXPECT_EQ(timed.state.g_pTestCollection->Item(1), original);  // the catalogue is back as it was
        EXPECT_EQ(Outcome(timed.state), Outcome(plain.state));

        ASSERT_EQ(record.tests.size(), 4u);
        EXPECT_TRUE(record.tests[0].entered);
        EXPECT_GE(record.tests[0].durationMs, 30.0);
        EXPECT_LT(record.tests[0].durationMs, 5000.0);
        EXPECT_FALSE(record.tests[0].endedRun);
        EXPECT_FALSE(record.tests[1].entered);
        EXPECT_TRUE(record.tests[2].entered);
        EXPECT_EQ(record.tests[2].endedRun, withEscape);
        EXPECT_EQ(record.tests[3].entered, !withEscape);
    }
}

}  // namespace
}  // namespace tabvet
