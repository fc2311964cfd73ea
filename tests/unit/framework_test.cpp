// The framework: the catalogue's order (the run and report order users compare reports by), which tests a
// run starts for a server type and release, the version rules, the exact status log users read, and how an
// escaped error ends a run.
#include <gtest/gtest.h>

#include <functional>

#include <memory>
#include <set>

#include "checks/catalogue.h"
#include "db/runtime_error.h"
#include "framework/ado_test_collection.h"
#include "framework/main_state.h"
#include "framework/test_run.h"
#include "framework/version_rules.h"
#include "support/fake_test.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

TEST(CatalogueTest, HoldsTheTestsInTheirFixedOrderOnEveryWalk) {
    const std::pair<const char*, const char*> expected[] = {
        {"Is database running", "Environment"},
        {"LAYERS table existence", "Missing system tables"},
        {"TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE", "Referential Integrity"},
        {"TABLE_REGISTRY entries exist as tables or views", "Referential Integrity"},
        {"LAYERS in TABLE_REGISTRY", "Referential Integrity"},
        {"LAYERS in GEOMETRY_COLUMNS", "Referential Integrity"},
        {"LAYERS.SRID in SPATIAL_REFERENCES", "Referential Integrity"},
        {"LAYERS.LAYER_CONFIG in DBTUNE", "Referential Integrity"},
        {"LAYERS entries exist as tables or views", "Referential Integrity"},
        {"GEOMETRY_COLUMNS in LAYERS", "Referential Integrity"},
        {"RASTER_COLUMNS in TABLE_REGISTRY", "Referential Integrity"},
        {"RASTER_COLUMNS.SRID in SPATIAL_REFERENCES", "Referential Integrity"},
        {"RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE", "Referential Integrity"},
        {"RASTER_COLUMNS entries exist as tables or views", "Referential Integrity"},
        {"GEOMETRY_COLUMNS entries exist as tables or views", "Referential Integrity"},
        {"Tessel for Oracle Compressed Binary format complete", "Index Analysis"},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    const clsAdoTestCollection catalogue(CreateCatalogueTests(state));
    const std::int16_t count = catalogue.Count();
    ASSERT_EQ(static_cast<std::size_t>(count), std::size(expected));
    for (int walk = 0; walk < 2; ++walk) {
        for (std::int16_t i = 1; i <= count; ++i) {
            const IAdoTest* test = catalogue.Item(i);
            ASSERT_NE(test, nullptr) << i;
            EXPECT_EQ(test->Name(), expected[i - 1].first) << i;
            EXPECT_EQ(test->Category(), expected[i - 1].second) << i;
            EXPECT_EQ(test->Fatal(), i == 1) << i;
            EXPECT_EQ(test->ResultDetails(), "Not Run");
            EXPECT_FALSE(test->Pass() || test->WasRun() || !test->Enabled()) << i;
        }
    }
    for (const std::int16_t outside : {0, -1, 17}) {
        EXPECT_EQ(catalogue.Item(outside), nullptr) << outside;
    }
    EXPECT_EQ(clsAdoTestCollection({}).Item(1), nullptr);
}

TEST(CatalogueTest, ServerTypeAndReleaseChooseTheTestsThatRun) {
    struct Case {
        DbmsOption dbms;
        const char* major;
        const char* minor;
        std::set<int> positions;  // catalogue positions that run
    };
    const Case cases[] = {
        {DbmsOption::Oracle, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        // 9.1 keeps the rule-V3 tests 3, 8 and 13 but not the index analysis: 15 run.
        {DbmsOption::Oracle, "9", "1", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Oracle, "8", "1", {1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 14, 15}},
        // DB2 drops 6, 7, 10, 12, 15 and 16 by server type and 3, 8, 13 by release: 7 run.
        {DbmsOption::DB2, "8", "1", {1, 2, 4, 5, 9, 11, 14}},
        {DbmsOption::DB2, "9", "0", {1, 2, 3, 4, 5, 8, 9, 11, 13, 14}},
        {DbmsOption::SqlServer, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Informix, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Informix, "3", "0", {1, 2, 7, 9, 12}},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    for (const Case& c : cases) {
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        state.txtBugfix = "0";
        std::set<int> running;
        for (std::int16_t i = 1; i <= 16; ++i) {
            if (ShouldRunTest(state, i)) {
                running.insert(i);
            }
        }
        EXPECT_EQ(running, c.positions) << static_cast<int>(c.dbms) << " " << c.major << "." << c.minor;
    }
    EXPECT_TRUE(ui.shown.empty());
}

TEST(VersionRulesTest, AcceptedReleases) {
    struct Case {
        std::int16_t major, minor, bugfix;
        bool v1, v2, v3, v4;
    };
    const Case cases[] = {
        {8, 1, 0, true, true, false, false},
        {8, 2, 0, true, true, true, true},
        {9, 0, 0, true, true, true, true},
        {9, 1, 0, true, true, true, false},
        {3, 0, 0, true, false, false, false},
        {10, 0, 0, false, false, false, false},
        {7, 9, 9, false, false, false, false},
        // Minor numbers compare signed.
        {8, -1, 0, true, true, false, false},
        {9, -1, 0, true, true, true, false},
        {8, 32767, 0, true, true, true, true},
        {8, -32768, 0, true, true, false, false},
        // Bugfix is used by no rule.
        {9, 0, -5, true, true, true, true},
    };
    for (const Case& c : cases) {
        const auto label =
            std::to_string(c.major) + "." + std::to_string(c.minor) + "." + std::to_string(c.bugfix);
        EXPECT_EQ(AcceptsVersion(VersionRule::V1, c.major, c.minor, c.bugfix), c.v1) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V2, c.major, c.minor, c.bugfix), c.v2) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V3, c.major, c.minor, c.bugfix), c.v3) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V4, c.major, c.minor, c.bugfix), c.v4) << label;
    }
}

using testsupport::FakeTest;
using testsupport::RecordingInteraction;

// A window state ready to run: connected, server type and version chosen.
void MakeReady(MainState& s, RecordingInteraction& ui) {
    s.now = [] { return std::string("23/11/2026 10:00:00"); };
    s.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    auto conn = std::make_unique<testsupport::ScriptedConnection>();
    conn->Open("");
    s.g_pAdoConn = std::move(conn);
    s.selectedDbms = DbmsOption::Oracle;
    s.txtMajorVersion = "9";
    s.txtMinorVersion = "0";
    s.txtBugfix = "0";
}

class TestRunTest : public ::testing::Test {
  protected:
    TestRunTest() { MakeReady(state, ui); }

    // Alpha runs everywhere; Beta not on DB2 and from 3.x on; Gamma only on Oracle 8.2 to 9.0. Each
    // counts its runs in `runs` and ends with the verdict given.
    void Catalogue(std::vector<std::function<void(FakeTest::State&)>> verdicts) {
        std::vector<FakeTest::State> tests = {{.name = "Alpha", .category = "Environment"},
                                              {.name = "Beta", .versionRule = VersionRule::V2, .db2 = false},
                                              {.name = "Gamma",
                                               .versionRule = VersionRule::V4,
                                               .informix = false,
                                               .db2 = false,
                                               .sqlServer = false}};
        tests.resize(verdicts.size());
        runs.assign(verdicts.size(), 0);
        for (std::size_t i = 0; i < tests.size(); ++i) {
            tests[i].onRun = [this, i, verdict = verdicts[i]](FakeTest::State& s) {
                ++runs[i];
                verdict(s);
            };
        }
        state.g_pTestCollection = testsupport::FakeCatalogue(std::move(tests));
    }

    static std::function<void(FakeTest::State&)> Verdict(bool pass, std::string details) {
        return [pass, details](FakeTest::State& s) {
            s.pass = pass;
            s.resultDetails = details;
        };
    }

    RecordingInteraction ui;
    MainState state{ui};
    std::vector<int> runs;
};

TEST_F(TestRunTest, NotReadyShowsOnlyTheBoxAndChangesNothing) {
    const std::vector<std::function<void(MainState&)>> spoilers = {
        [](MainState& s) { s.g_pAdoConn.reset(); },
        [](MainState& s) { s.g_pTestCollection.reset(); },
        [](MainState& s) { s.g_pTestCollection = testsupport::FakeCatalogue({}); },
        [](MainState& s) { s.selectedDbms = DbmsOption::None; },
        [](MainState& s) { s.txtMajorVersion = ""; },
        [](MainState& s) { s.txtMajorVersion = "abc"; },
        [](MainState& s) { s.txtMajorVersion = "0.4"; },  // rounds to 0
    };
    for (std::size_t k = 0; k < spoilers.size(); ++k) {
        SCOPED_TRACE(k);
        RecordingInteraction localUi;
        MainState s(localUi);
        MakeReady(s, localUi);
        s.rtbStatus = "earlier log";
        s.stsRunFeedback = "earlier status";
        s.g_pTestCollection = testsupport::FakeCatalogue({{.name = "Alpha"}});
        spoilers[k](s);
        EXPECT_FALSE(IsReadyToRun(s));
        ProcessRunTests(s);
        EXPECT_EQ(localUi.Lines(), std::vector<std::string>{"Need Server Type: Please Select Server Type "
                                                            "(DBMS type and Tessel version)"});
        EXPECT_EQ(s.rtbStatus, "earlier log");
        EXPECT_EQ(s.stsRunFeedback, "earlier status");
        EXPECT_FALSE(s.g_bTestsWereRun);
        if (s.g_pTestCollection && s.g_pTestCollection->Count() > 0) {
            EXPECT_FALSE(s.g_pTestCollection->Item(1)->WasRun());
        }
    }
}

TEST_F(TestRunTest, LogOfARunWithOneFailureThenTwoRunsAppendAndClearingKeepsResults) {
    Catalogue({Verdict(true, "fine"), Verdict(false, "line one\r\nline two"), Verdict(true, "fine")});
    state.rtbStatus = "kept";
    ProcessRunTests(state);
    const std::string failedRun =
        "\r\nNew Test Run started at 23/11/2026 10:00:00\r\n"
        "\r\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\r\n"
        "TEST FAILED: Beta\r\n"
        "Details: line one\r\nline two\r\n"
        "\r\nTest run finished at 23/11/2026 10:00:00";
    EXPECT_EQ(state.rtbStatus, "kept" + failedRun);
    EXPECT_EQ(state.stsRunFeedback, "Testing complete.");
    EXPECT_TRUE(ui.shown.empty());

    Catalogue({Verdict(true, "fine")});
    ProcessRunTests(state);
    EXPECT_EQ(state.rtbStatus,
              "kept" + failedRun +
                  "\r\nNew Test Run started at 23/11/2026 10:00:00\r\n\r\nTest run finished at "
                  "23/11/2026 10:00:00");
    ClearRunStatus(state);
    EXPECT_EQ(state.rtbStatus, "");
    EXPECT_TRUE(state.g_bTestsWereRun);
    EXPECT_TRUE(state.g_pTestCollection->Item(1)->WasRun());
}

TEST_F(TestRunTest, FiltersByDbmsAndVersionAndCountsOnlyWhatRuns) {
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
        {DbmsOption::Oracle, "8.6", "2", {1, 1, 0}, "Running test 2 of 2: Beta"},  // 8.6 rounds to 9, minor 2
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.major) + "." + c.minor);
        std::vector<std::string> progress;
        struct ProgressView : MainView {
            const MainState* s;
            std::vector<std::string>* out;
            void StatusBarChanged() override { out->push_back(s->stsRunFeedback); }
        } view;
        view.s = &state;
        view.out = &progress;
        state.AttachView(view);
        Catalogue({Verdict(true, ""), Verdict(true, ""), Verdict(true, "")});
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        ProcessRunTests(state);
        EXPECT_EQ(runs, c.expectedRuns);
        ASSERT_GE(progress.size(), 2u);
        EXPECT_EQ(progress[progress.size() - 2], c.lastProgress);
        EXPECT_EQ(progress.back(), "Testing complete.");
        MainView silent;
        state.AttachView(silent);
    }
}

TEST_F(TestRunTest, DisabledAndSkippedTestsKeepEarlierResults) {
    Catalogue({Verdict(false, "first run"), Verdict(false, "x"), Verdict(false, "index problem")});
    ProcessRunTests(state);
    state.g_pTestCollection->Item(1)->Enable(false);
    state.txtMinorVersion = "1";  // rule V4 no longer applies
    ProcessRunTests(state);
    EXPECT_EQ(runs, (std::vector<int>{1, 2, 1}));
    EXPECT_EQ(state.g_pTestCollection->Item(3)->ResultDetails(), "index problem");
    EXPECT_FALSE(ShouldRunTest(state, 0));
    EXPECT_FALSE(ShouldRunTest(state, 4));
}

TEST_F(TestRunTest, AnEscapedErrorEndsTheRunWithoutClosingLines) {
    Catalogue({Verdict(false, "before"),
               [](FakeTest::State&) { throw RuntimeError(94, "Invalid use of Null"); }, Verdict(true, "")});
    EXPECT_THROW(ProcessRunTests(state), RuntimeError);
    EXPECT_EQ(runs, (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(state.rtbStatus.find("Test run finished"), std::string::npos);
    EXPECT_NE(state.rtbStatus.find("TEST FAILED: Alpha"), std::string::npos);
    EXPECT_EQ(state.stsRunFeedback, "Running test 2 of 3: Beta");
}

}  // namespace
}  // namespace tabvet
