// The run: which tests it starts, the exact status log users read, and how an escaped error ends it.
#include <gtest/gtest.h>

#include <functional>

#include "db/runtime_error.h"
#include "framework/ado_test_base.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::RecordingInteraction;
using testsupport::ScriptedConnection;

// A test whose Run is given by the test case; it records that it ran.
class ScriptedTest final : public AdoTestBase {
  public:
    using Behaviour = std::function<void(ScriptedTest&)>;
    ScriptedTest(const TestDefinition& definition, const TestEnvironment& env, Behaviour behaviour)
        : AdoTestBase(definition, env), behaviour_(std::move(behaviour)) {}
    void Run(Connection*) override {
        wasRun_ = true;
        ++runs;
        behaviour_(*this);
    }
    void Verdict(bool pass, std::string details) {
        pass_ = pass;
        resultDetails_ = std::move(details);
    }
    int runs = 0;

  private:
    Behaviour behaviour_;
};

const TestDefinition kEverywhere{.className = "A",
                                 .name = "Alpha",
                                 .category = "Environment",
                                 .description = "a",
                                 .worksWithOracle = true,
                                 .worksWithSqlServer = true,
                                 .worksWithInformix = true,
                                 .worksWithDb2 = true,
                                 .versionRule = VersionRule::V1};
const TestDefinition kNotDb2{.className = "B",
                             .name = "Beta",
                             .category = "Referential Integrity",
                             .description = "b",
                             .worksWithOracle = true,
                             .worksWithSqlServer = true,
                             .worksWithInformix = true,
                             .worksWithDb2 = false,
                             .versionRule = VersionRule::V2};
const TestDefinition kOracle90{.className = "C",
                               .name = "Gamma",
                               .category = "Index Analysis",
                               .description = "c",
                               .worksWithOracle = true,
                               .versionRule = VersionRule::V4};

class TestRunTest : public ::testing::Test {
  protected:
    TestRunTest() : state(ui) {
        state.now = [] { return std::string("23/11/2026 10:00:00"); };
        state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
        auto conn = std::make_unique<ScriptedConnection>();
        conn->Open("");
        state.g_pAdoConn = std::move(conn);
        state.selectedDbms = DbmsOption::Oracle;
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "0";
        state.txtBugfix = "0";
    }

    void Catalogue(std::vector<std::pair<const TestDefinition*, ScriptedTest::Behaviour>> rows) {
        std::vector<std::unique_ptr<IAdoTest>> tests;
        for (auto& [definition, behaviour] : rows) {
            auto test = std::make_unique<ScriptedTest>(*definition, state, behaviour);
            scripted.push_back(test.get());
            tests.push_back(std::move(test));
        }
        state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(std::move(tests));
    }

    static ScriptedTest::Behaviour Passes() {
        return [](ScriptedTest& t) { t.Verdict(true, "fine"); };
    }
    static ScriptedTest::Behaviour Fails(std::string details) {
        return [details](ScriptedTest& t) { t.Verdict(false, details); };
    }

    RecordingInteraction ui;
    MainState state;
    std::vector<ScriptedTest*> scripted;
};

TEST_F(TestRunTest, NotReadyShowsOnlyTheBoxAndChangesNothing) {
    const std::vector<std::function<void(MainState&)>> spoilers = {
        [](MainState& s) { s.g_pAdoConn.reset(); },
        [](MainState& s) { s.g_pTestCollection.reset(); },
        [](MainState& s) { s.selectedDbms = DbmsOption::None; },
        [](MainState& s) { s.txtMajorVersion = ""; },
        [](MainState& s) { s.txtMajorVersion = "0"; },
        [](MainState& s) { s.txtMajorVersion = "abc"; },
        [](MainState& s) { s.txtMajorVersion = "0.4"; },  // rounds to 0
        [](MainState& s) {
            s.g_pTestCollection =
                std::make_unique<clsAdoTestCollection>(std::vector<std::unique_ptr<IAdoTest>>{});
        },
    };
    for (std::size_t k = 0; k < spoilers.size(); ++k) {
        RecordingInteraction localUi;
        MainState s(localUi);
        s.g_QDON = std::make_unique<clsQualDbObjName>(localUi);
        auto conn = std::make_unique<ScriptedConnection>();
        conn->Open("");
        s.g_pAdoConn = std::move(conn);
        s.selectedDbms = DbmsOption::Oracle;
        s.txtMajorVersion = "9";
        s.rtbStatus = "earlier log";
        s.stsRunFeedback = "earlier status";
        std::vector<std::unique_ptr<IAdoTest>> tests;
        // Counted outside the test object: one spoiler destroys it.
        int runs = 0;
        tests.push_back(std::make_unique<ScriptedTest>(kEverywhere, s, [&runs](ScriptedTest&) { ++runs; }));
        s.g_pTestCollection = std::make_unique<clsAdoTestCollection>(std::move(tests));
        spoilers[k](s);
        EXPECT_FALSE(IsReadyToRun(s)) << k;
        ProcessRunTests(s);
        EXPECT_EQ(localUi.Lines(),
                  std::vector<std::string>{
                      "Need Server Type: Please Select Server Type (DBMS type and Tessel version)"})
            << k;
        EXPECT_EQ(s.rtbStatus, "earlier log") << k;
        EXPECT_EQ(s.stsRunFeedback, "earlier status") << k;
        EXPECT_FALSE(s.g_bTestsWereRun) << k;
        EXPECT_EQ(runs, 0) << k;
    }
}

TEST_F(TestRunTest, LogOfARunWithOneFailure) {
    Catalogue({{&kEverywhere, Passes()}, {&kNotDb2, Fails("line one\r\nline two")}, {&kOracle90, Passes()}});
    state.rtbStatus = "kept";
    ProcessRunTests(state);
    EXPECT_EQ(state.rtbStatus,
              "kept\r\nNew Test Run started at 23/11/2026 10:00:00\r\n"
              "\r\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\r\n"
              "TEST FAILED: Beta\r\n"
              "Details: line one\r\nline two\r\n"
              "\r\nTest run finished at 23/11/2026 10:00:00");
    EXPECT_EQ(state.stsRunFeedback, "Testing complete.");
    EXPECT_TRUE(state.g_bTestsWereRun);
    EXPECT_TRUE(ui.shown.empty());
}

TEST_F(TestRunTest, AllPassingWritesOnlyStartAndFinishAndTwoRunsAppend) {
    Catalogue({{&kEverywhere, Passes()}});
    ProcessRunTests(state);
    ProcessRunTests(state);
    const std::string one =
        "\r\nNew Test Run started at 23/11/2026 10:00:00\r\n\r\nTest run finished at 23/11/2026 10:00:00";
    EXPECT_EQ(state.rtbStatus, one + one);
    ClearRunStatus(state);
    EXPECT_EQ(state.rtbStatus, "");
    EXPECT_TRUE(state.g_bTestsWereRun);  // clearing the log keeps results
    EXPECT_TRUE(scripted[0]->WasRun());
}

TEST_F(TestRunTest, FiltersByDbmsVersionAndEnabledAndCountsOnlyWhatRuns) {
    struct Case {
        DbmsOption dbms;
        const char* major;
        const char* minor;
        std::vector<int> expectedRuns;  // per catalogue position
        const char* lastProgress;
    };
    const Case cases[] = {
        {DbmsOption::Oracle, "9", "0", {1, 1, 1}, "Running test 3 of 3: Gamma"},
        {DbmsOption::Oracle, "9", "1", {1, 1, 0}, "Running test 2 of 2: Beta"},
        {DbmsOption::DB2, "8", "2", {1, 0, 0}, "Running test 1 of 1: Alpha"},
        {DbmsOption::SqlServer, "9", "0", {1, 1, 0}, "Running test 2 of 2: Beta"},
        {DbmsOption::Informix, "3", "0", {1, 0, 0}, "Running test 1 of 1: Alpha"},
        {DbmsOption::Oracle, "8.6", "2", {1, 1, 0}, "Running test 2 of 2: Beta"},  // 8.6 rounds to 9, minor 2
    };
    for (const Case& c : cases) {
        std::vector<std::string> progress;
        struct ProgressView : MainView {
            const MainState* s;
            std::vector<std::string>* out;
            void StatusBarChanged() override { out->push_back(s->stsRunFeedback); }
        } view;
        view.s = &state;
        view.out = &progress;
        state.AttachView(view);
        Catalogue({{&kEverywhere, Passes()}, {&kNotDb2, Passes()}, {&kOracle90, Passes()}});
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        ProcessRunTests(state);
        for (std::size_t i = 0; i < scripted.size(); ++i) {
            EXPECT_EQ(scripted[i]->runs, c.expectedRuns[i])
                << c.major << "." << c.minor << " position " << i + 1;
        }
        ASSERT_GE(progress.size(), 2u);
        EXPECT_EQ(progress[progress.size() - 2], c.lastProgress);
        EXPECT_EQ(progress.back(), "Testing complete.");
        scripted.clear();
        MainView silent;
        state.AttachView(silent);
    }
}

TEST_F(TestRunTest, DisabledAndSkippedTestsKeepEarlierResults) {
    Catalogue({{&kEverywhere, Fails("first run")}, {&kOracle90, Fails("index problem")}});
    ProcessRunTests(state);
    scripted[0]->Enable(false);
    state.txtMinorVersion = "1";  // rule V4 no longer applies
    ProcessRunTests(state);
    EXPECT_EQ(scripted[0]->runs, 1);
    EXPECT_EQ(scripted[1]->runs, 1);
    EXPECT_EQ(scripted[1]->ResultDetails(), "index problem");
    EXPECT_FALSE(ShouldRunTest(state, 0));
    EXPECT_FALSE(ShouldRunTest(state, 3));
}

TEST_F(TestRunTest, AnEscapedErrorEndsTheRunWithoutClosingLines) {
    Catalogue({{&kEverywhere, Fails("before")},
               {&kNotDb2, [](ScriptedTest&) { throw RuntimeError(94, "Invalid use of Null"); }},
               {&kOracle90, Passes()}});
    EXPECT_THROW(ProcessRunTests(state), RuntimeError);
    EXPECT_EQ(scripted[2]->runs, 0);
    EXPECT_EQ(state.rtbStatus.find("Test run finished"), std::string::npos);
    EXPECT_NE(state.rtbStatus.find("TEST FAILED: Alpha"), std::string::npos);
    EXPECT_EQ(state.stsRunFeedback, "Running test 2 of 3: Beta");
}

TEST_F(TestRunTest, VersionBoxesReadTheirLeadingNumber) {
    struct Case {
        const char* text;
        std::int16_t expected;
    };
    for (const Case& c : {Case{"", 0}, Case{"9", 9}, Case{"9.5", 10}, Case{"8.5", 8}, Case{"x9", 0},
                          Case{"12abc", 12}, Case{"32767", 32767}}) {
        EXPECT_EQ(VersionBoxNumber(c.text), c.expected) << c.text;
    }
    EXPECT_THROW((void)VersionBoxNumber("99999"), RuntimeError);
}

}  // namespace
}  // namespace tabvet
