// The framework: the catalogue's order (the run and report order users compare reports by), which tests a
// run starts for a server type and release, the version rules, the exact status log users read, and how an
// escaped error ends a run.
#include <gtest/gtest.h>

#include "checks/catalogue.h"
#include "db/runtime_error.h"
#include "framework/ado_test_collection.h"
#include "framework/main_state.h"
#include "framework/test_run.h"
#include "framework/version_rules.h"
#include "support/fake_test.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;

TEST(Catalogue, HoldsTheTestsInTheirFixedOrderAndTheServerTypeAndReleaseChooseWhatRunsByTheVersionRules) {
    Transcript t("catalogue");
    RecordingInteraction ui;
    MainState state(ui);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    for (int walk = 0; walk < 2; ++walk) {
        t.Case("walk " + std::to_string(walk + 1));
        for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
            const IAdoTest& test = *catalogue.Item(i);
            t.Line(std::to_string(i), test.Name() + " | " + test.Category() +
                                          (test.Fatal() ? " | fatal" : "") + " | " + test.ResultDetails() +
                                          " " + std::to_string(test.Pass()) + std::to_string(test.WasRun()) +
                                          std::to_string(test.Enabled()));
        }
    }
    for (const std::int16_t outside : {0, -1, 17}) {
        EXPECT_EQ(catalogue.Item(outside), nullptr) << outside;
    }
    EXPECT_EQ(clsAdoTestCollection({}).Item(1), nullptr);
    const std::pair<DbmsOption, const char*> servers[] = {{DbmsOption::Oracle, "Oracle"},
                                                          {DbmsOption::DB2, "DB2"},
                                                          {DbmsOption::SqlServer, "SQL Server"},
                                                          {DbmsOption::Informix, "Informix"}};
    for (const auto& [dbms, server] : servers) {
        t.Case(std::string("positions that run on ") + server);
        for (const char* release : {"3.0", "8.1", "9.0", "9.1"}) {
            state.selectedDbms = dbms;
            state.txtMajorVersion = std::string(1, release[0]);
            state.txtMinorVersion = std::string(1, release[2]);
            state.txtBugfix = "0";
            std::string running;
            for (std::int16_t i = 0; i <= 17; ++i) {
                running += ShouldRunTest(state, i) ? " " + std::to_string(i) : "";
            }
            t.Line(release, running);
        }
    }
    EXPECT_TRUE(ui.shown.empty());
    t.Case("rules V1 to V4 that accept a release; minors compare signed, bugfix is used by no rule");
    const std::int16_t releases[][3] = {{8, 1, 0},  {8, 2, 0},     {9, 0, 0},      {9, 1, 0},
                                        {3, 0, 0},  {10, 0, 0},    {7, 9, 9},      {8, -1, 0},
                                        {9, -1, 0}, {8, 32767, 0}, {8, -32768, 0}, {9, 0, -5}};
    for (const auto& r : releases) {
        std::string accepted;
        for (const VersionRule rule : {VersionRule::V1, VersionRule::V2, VersionRule::V3, VersionRule::V4}) {
            accepted += AcceptsVersion(rule, r[0], r[1], r[2]) ? "1" : "0";
        }
        t.Line(std::to_string(r[0]) + "." + std::to_string(r[1]) + "." + std::to_string(r[2]), accepted);
    }
}

// A window state ready to run: connected, server type and version chosen.
void MakeReady(MainState& s, RecordingInteraction& ui) {
    s.now = [] { return std::string("23/11/2026 10:00:00"); };
    s.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    auto conn = std::make_unique<ScriptedConnection>();
    conn->Open("");
    s.g_pAdoConn = std::move(conn);
    s.selectedDbms = DbmsOption::Oracle;
    s.txtMajorVersion = "9";
    s.txtMinorVersion = "0";
    s.txtBugfix = "0";
}

using Verdict = std::function<void(FakeTest::State&)>;

Verdict Gives(bool pass, std::string details) {
    return [pass, details](FakeTest::State& s) {
        s.pass = pass;
        s.resultDetails = details;
    };
}

// Prints the log, the status bar as it changes, and the message boxes of the runs.
class RunTranscript : public MainView {
  public:
    explicit RunTranscript(const char* name) : t(name) {
        MakeReady(state, ui);
        state.AttachView(*this);
    }
    void StatusBarChanged() override { t.Line("status", state.stsRunFeedback); }

    // Alpha runs everywhere; Beta not on DB2 and from 3.x on; Gamma only on Oracle 8.2 to 9.0.
    void Catalogue(std::vector<Verdict> verdicts) {
        std::vector<FakeTest::State> tests = {{.name = "Alpha", .category = "Environment"},
                                              {.name = "Beta", .versionRule = VersionRule::V2, .db2 = false},
                                              {.name = "Gamma",
                                               .versionRule = VersionRule::V4,
                                               .informix = false,
                                               .db2 = false,
                                               .sqlServer = false}};
        tests.resize(verdicts.size());
        for (std::size_t i = 0; i < tests.size(); ++i) {
            tests[i].onRun = [this, i, verdict = verdicts[i]](FakeTest::State& s) {
                t.Line("runs", s.name);
                verdict(s);
            };
        }
        state.g_pTestCollection = FakeCatalogue(std::move(tests));
    }
    void Run() {
        t.Try("raised", [&] { ProcessRunTests(state); });
        t.Line("log", state.rtbStatus);
        t.Line("tests were run", std::to_string(state.g_bTestsWereRun));
        t.Boxes(ui);
    }

    Transcript t;
    RecordingInteraction ui;
    MainState state{ui};
};

TEST(TestRun, NotReadyShowsOnlyTheBoxAndChangesNothing) {
    const std::pair<const char*, std::function<void(MainState&)>> spoilers[] = {
        {"no connection", [](MainState& s) { s.g_pAdoConn.reset(); }},
        {"no catalogue", [](MainState& s) { s.g_pTestCollection.reset(); }},
        {"empty catalogue", [](MainState& s) { s.g_pTestCollection = FakeCatalogue({}); }},
        {"no server type", [](MainState& s) { s.selectedDbms = DbmsOption::None; }},
        {"no major version", [](MainState& s) { s.txtMajorVersion = ""; }},
        {"letters", [](MainState& s) { s.txtMajorVersion = "abc"; }},
        {"rounds to 0", [](MainState& s) { s.txtMajorVersion = "0.4"; }},
    };
    RunTranscript run("run_not_ready");
    for (const auto& [label, spoil] : spoilers) {
        run.t.Case(label);
        MakeReady(run.state, run.ui);
        run.state.rtbStatus = "earlier log";
        run.Catalogue({Gives(true, "")});
        spoil(run.state);
        EXPECT_FALSE(IsReadyToRun(run.state));
        run.Run();
    }
}

TEST(TestRun, LogsFiltersAppendsAndEndsOnAnEscapedError) {
    RunTranscript run("run_log");
    run.t.Case("one failure with a two-line detail, after an earlier log");
    run.Catalogue({Gives(true, "fine"), Gives(false, "line one\r\nline two"), Gives(true, "fine")});
    run.state.rtbStatus = "kept";
    run.Run();
    run.t.Case("a second run appends");
    run.Catalogue({Gives(true, "fine")});
    run.Run();
    run.t.Case("clearing the status window keeps the results");
    ClearRunStatus(run.state);
    run.t.Line("log", run.state.rtbStatus);
    run.t.Line("first test was run", std::to_string(run.state.g_pTestCollection->Item(1)->WasRun()));
    const struct {
        DbmsOption dbms;
        const char *major, *minor;
    } filters[] = {{DbmsOption::Oracle, "9", "0"},
                   {DbmsOption::Oracle, "9", "1"},
                   {DbmsOption::DB2, "8", "2"},
                   {DbmsOption::SqlServer, "9", "0"},
                   {DbmsOption::Oracle, "8.6", "2"}};  // 8.6 rounds to 9
    for (const auto& f : filters) {
        run.t.Case(std::to_string(static_cast<int>(f.dbms)) + " " + f.major + "." + f.minor);
        run.state.rtbStatus.clear();
        run.state.selectedDbms = f.dbms;
        run.state.txtMajorVersion = f.major;
        run.state.txtMinorVersion = f.minor;
        run.Catalogue({Gives(true, ""), Gives(true, ""), Gives(true, "")});
        run.Run();
    }
    run.t.Case("disabled and skipped tests keep their earlier results");
    run.state.selectedDbms = DbmsOption::Oracle;
    run.state.txtMajorVersion = "9";
    run.state.txtMinorVersion = "0";
    run.Catalogue({Gives(false, "first run"), Gives(false, "x"), Gives(false, "index problem")});
    run.Run();
    run.state.g_pTestCollection->Item(1)->Enable(false);
    run.state.txtMinorVersion = "1";  // rule V4 no longer applies
    run.Run();
    run.t.Line("third test", run.state.g_pTestCollection->Item(3)->ResultDetails());
    run.t.Case("an escaped error ends the run without the closing lines");
    run.state.rtbStatus.clear();
    run.state.txtMinorVersion = "0";
    run.Catalogue({Gives(false, "before"),
                   [](FakeTest::State&) { throw RuntimeError(94, "Invalid use of Null"); }, Gives(true, "")});
    run.Run();
}

}  // namespace
}  // namespace tabvet
