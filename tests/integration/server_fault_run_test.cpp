// The server going away under a run, at exact points: every later test reports the driver's error, the run
// finishes, the results already in memory reach the report, and disconnecting and reconnecting on the same
// model work. Stops the shared server, so it runs alone.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "db/server_type_detection.h"
#include "fault_session.h"
#include "headless_run.h"

namespace tabvet::faulttest {
namespace {

constexpr const char* kDatabase = "fault_run";
constexpr const char* kSleepyDatabase = "fault_run_sleepy";
constexpr const char* kOrphLyr = "LAYERS entries exist as tables or views";
constexpr const char* kOrphTblReg = "TABLE_REGISTRY entries exist as tables or views";
constexpr const char* kIndexAnalysis = "Tessel for Oracle Compressed Binary format complete";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kDatabase, kFaultFixtures);
        // LAYERS as a view that takes its time, so that the server can stop while a statement runs.
        pg.CreateDatabase(kSleepyDatabase, kFaultFixtures);
        pg.Execute(kSleepyDatabase,
                   "ALTER TABLE tsl.layers RENAME TO layers_data; "
                   "CREATE VIEW tsl.layers AS SELECT d.* FROM tsl.layers_data d, "
                   "LATERAL (SELECT pg_sleep(0.5)) s;");
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

const HealthyRun& Healthy() {
    static const HealthyRun healthy = (Cluster(), RunWithoutFaults(kDatabase));
    return healthy;
}

// Stops the server; the fixture starts it again after a test that left it stopped, even a failed one.
std::atomic<bool> serverStopped{false};
void StopServer() {
    Cluster().StopServer();
    serverStopped = true;
}
void StartServer() {
    Cluster().StartServer();
    serverStopped = false;
}

class FaultTest : public ::testing::Test {
  protected:
    void TearDown() override {
        if (serverStopped) {
            StartServer();
        }
    }
};

enum class Fault { ServerStop, EndSession };

struct FaultPoint {
    const char* label;
    Fault fault;
    const char* duringTest;  // the test whose statement the fault precedes
    const char* statement;   // a part of that statement ("" for any)
    int occurrence;          // the how-manieth such statement of that test
};

class ServerFaultRun : public FaultTest, public ::testing::WithParamInterface<FaultPoint> {};

TEST_P(ServerFaultRun, LaterTestsReportTheDriversErrorAndTheRunFinishes) {
    const FaultPoint& point = GetParam();
    const std::vector<Verdict>& reference = Healthy().verdicts;
    Session session(kDatabase);
    session.ConnectAsOracle90();
    const std::string pid = session.conn->BackendPid();
    ASSERT_FALSE(pid.empty());

    int seen = 0;
    session.conn->InjectBefore(
        [&](const std::string& sql, std::size_t) {
            return EndsWith(session.state.stsRunFeedback, point.duringTest) &&
                   sql.find(point.statement) != std::string::npos && ++seen == point.occurrence;
        },
        [&] { point.fault == Fault::ServerStop ? StopServer() : EndSession(pid); });

    ASSERT_NO_THROW(ProcessRunTests(session.state));
    ASSERT_TRUE(session.conn->Injected());
    EXPECT_TRUE(EndsWith(session.state.rtbStatus, "\r\nTest run finished at <now>"))
        << session.state.rtbStatus;
    EXPECT_EQ(session.state.stsRunFeedback, "Testing complete.");

    // Before the fault everything is as in a healthy run; from the faulty test on, each one failed with the
    // driver's lost-connection error. The server's own farewell is reported exactly once.
    const std::vector<Verdict> verdicts = session.Verdicts();
    ASSERT_EQ(verdicts.size(), reference.size());
    bool faulted = false;
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        SCOPED_TRACE(verdicts[i].name);
        faulted = faulted || verdicts[i].name == point.duringTest;
        EXPECT_TRUE(verdicts[i].wasRun);
        if (!faulted) {
            EXPECT_EQ(verdicts[i].pass, reference[i].pass);
            EXPECT_EQ(verdicts[i].details, reference[i].details);
        } else {
            EXPECT_FALSE(verdicts[i].pass);
            EXPECT_NE(verdicts[i].details.find(kLostConnection), std::string::npos) << verdicts[i].details;
        }
    }
    EXPECT_EQ(Occurrences(session.state.rtbStatus, "terminating connection due to administrator command"), 1u)
        << session.state.rtbStatus;

    // Everything the run learnt reaches the report, the verdicts from before the fault included.
    const std::string report = session.Report();
    for (const Verdict& verdict : verdicts) {
        const std::string line =
            (verdict.pass ? "Test Passed: " : "TEST FAILED >>>> ") + verdict.name + "\r\n";
        EXPECT_NE(report.find(line), std::string::npos) << line;
    }
    EXPECT_NE(report.find("-- Total tests run: " + std::to_string(verdicts.size()) + "\r\n"),
              std::string::npos);

    session.DisconnectQuickly();
    if (point.fault == Fault::ServerStop) {
        StartServer();
    }
    // The same model connects again and runs as if nothing had happened.
    session.ConnectAsOracle90();
    ProcessRunTests(session.state);
    const std::vector<Verdict> again = session.Verdicts();
    for (std::size_t i = 0; i < again.size(); ++i) {
        EXPECT_EQ(again[i].pass, reference[i].pass) << again[i].name;
        EXPECT_EQ(again[i].details, reference[i].details) << again[i].name;
    }
    session.DisconnectQuickly();
}

INSTANTIATE_TEST_SUITE_P(
    Points, ServerFaultRun,
    testing::Values(
        FaultPoint{"StopBeforeTheFirstStatement", Fault::ServerStop, "Is database running", "", 1},
        FaultPoint{"StopDuringTheRegistryProbes", Fault::ServerStop, kOrphTblReg, "WHERE 1 = 2", 3},
        FaultPoint{"StopDuringTheLayerProbes", Fault::ServerStop, kOrphLyr, "WHERE 1 = 2", 2},
        FaultPoint{"StopDuringTheIndexAnalysis", Fault::ServerStop, kIndexAnalysis, "ALL_IND_COLUMNS", 3},
        FaultPoint{"StopBeforeAnExistenceProbe", Fault::ServerStop, kIndexAnalysis, "WHERE 1 = 2", 4},
        FaultPoint{"SessionEndedBetweenTwoTests", Fault::EndSession, "GEOMETRY_COLUMNS in LAYERS", "", 1},
        FaultPoint{"SessionEndedDuringTheLayerProbes", Fault::EndSession, kOrphLyr, "WHERE 1 = 2", 4},
        FaultPoint{"SessionEndedDuringTheIndexAnalysis", Fault::EndSession, kIndexAnalysis, "ALL_INDEXES",
                   2}),
    [](const testing::TestParamInfo<FaultPoint>& info) { return std::string(info.param.label); });

// About two seconds per statement: scripts/fault_suite.sh runs it.
TEST_F(FaultTest, DISABLED_ServerStoppedBeforeEachStatementInTurn) {
    Cluster();
    const int injected = SweepEveryStatement(
        kDatabase, [](const std::string&) { StopServer(); }, [] { StartServer(); });
    RecordProperty("faults_injected", injected);
    EXPECT_GT(injected, 40);
}

TEST_F(FaultTest, SessionEndedAfterConnectingLeavesDetectionAndRunReportingIt) {
    Session session((Cluster(), kDatabase));
    ConnectToDbms(session.state);
    ASSERT_NE(session.state.g_pAdoConn, nullptr);
    EndSession(session.conn->BackendPid());

    // "Query DBMS" finds nothing it can read and says so.
    session.ui.shown.clear();
    QueryDbmsType(session.state);
    EXPECT_EQ(session.ui.Lines(),
              std::vector<std::string>{"Unexpected Condition: Unable to determine type of database. Sorry."});

    // Chosen by hand, the run goes through and every test reports the lost connection.
    OptionClick(session.state, DbmsOption::Oracle);
    session.state.txtMajorVersion = "9";
    session.state.txtMinorVersion = session.state.txtBugfix = "0";
    ASSERT_NO_THROW(ProcessRunTests(session.state));
    EXPECT_EQ(session.state.stsRunFeedback, "Testing complete.");
    for (const Verdict& verdict : session.Verdicts()) {
        EXPECT_FALSE(verdict.pass) << verdict.name;
        EXPECT_NE(verdict.details.find(kLostConnection), std::string::npos) << verdict.details;
    }
    session.DisconnectQuickly();
}

TEST_F(FaultTest, ServerStoppedAfterTheRunLosesNoResult) {
    const std::vector<Verdict>& reference = Healthy().verdicts;
    Session session(kDatabase);
    session.ConnectAsOracle90();
    ProcessRunTests(session.state);
    const std::string healthyReport = session.Report();

    StopServer();
    // Writing the report needs nothing from the server.
    EXPECT_EQ(session.Report(), healthyReport);
    const std::vector<Verdict> verdicts = session.Verdicts();
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        EXPECT_EQ(verdicts[i].details, reference[i].details) << verdicts[i].name;
    }
    // A second run on the dead connection finishes too, with every test reporting the loss.
    ASSERT_NO_THROW(ProcessRunTests(session.state));
    EXPECT_EQ(session.state.stsRunFeedback, "Testing complete.");
    for (const Verdict& verdict : session.Verdicts()) {
        EXPECT_FALSE(verdict.pass) << verdict.name;
    }
    session.DisconnectQuickly();
    StartServer();
}

TEST_F(FaultTest, ServerStoppedWhileAStatementRunsGivesItsErrorAtOnce) {
    Session session((Cluster(), kSleepyDatabase));
    session.ConnectAsOracle90();
    std::thread stopper;
    // Stops the server while "SELECT table_name FROM TSL.LAYERS" is still sleeping on the server.
    session.conn->InjectBefore(
        [](const std::string& sql, std::size_t) { return sql == "SELECT table_name FROM TSL.LAYERS"; },
        [&] {
            stopper = std::thread([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                StopServer();
            });
        });
    const auto started = std::chrono::steady_clock::now();
    ASSERT_NO_THROW(ProcessRunTests(session.state));
    const auto took = std::chrono::steady_clock::now() - started;
    stopper.join();
    // Seven layers at half a second each: a statement that was not cut short would take longer.
    EXPECT_LT(took, std::chrono::milliseconds(3000));
    EXPECT_EQ(session.state.stsRunFeedback, "Testing complete.");

    const std::vector<Verdict> verdicts = session.Verdicts();
    ASSERT_GE(verdicts.size(), 2u);
    EXPECT_TRUE(verdicts[0].pass) << verdicts[0].details;
    EXPECT_EQ(verdicts[1].name, "LAYERS table existence");
    EXPECT_FALSE(verdicts[1].pass);
    EXPECT_NE(verdicts[1].details.find(kLostConnection), std::string::npos) << verdicts[1].details;
    session.DisconnectQuickly();
    StartServer();
}

// A scheduled headless run whose server stops while a statement runs: the run finishes, exit status 1, and
// both output files hold every test with what it found.
TEST_F(FaultTest, HeadlessRunWritesItsFilesAfterTheServerStopped) {
    Cluster();
    testsupport::TempFolder folder;
    std::thread stopper([] {
        // Waits until the run is inside the slow LAYERS statement.
        for (int attempt = 0; attempt < 200; ++attempt) {
            if (PgCluster::Shared().QueryValue(
                    "postgres", "SELECT count(*) FROM pg_stat_activity WHERE datname = '" +
                                    std::string(kSleepyDatabase) + "' AND wait_event = 'PgSleep'") != "0") {
                StopServer();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    });
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(
        {"--connect", Cluster().ConnectionString(kSleepyDatabase), "--dbms", "oracle", "--tessel-version",
         "9.0.0", "--report", folder.File("report.txt"), "--json", folder.File("results.json")},
        out, err);
    stopper.join();
    ASSERT_TRUE(serverStopped);
    EXPECT_EQ(status, exit_code::kTestFailed) << err.str();
    EXPECT_NE(out.str().find("\nTest run finished at "), std::string::npos);
    const std::string report = testsupport::ReadBytes(folder.File("report.txt"));
    EXPECT_NE(report.find("Test Passed: Is database running\r\n"), std::string::npos);
    EXPECT_NE(report.find("TEST FAILED >>>> LAYERS table existence\r\n"), std::string::npos);
    EXPECT_NE(report.find("-- Total tests run: 16\r\n"), std::string::npos);
    const std::string json = testsupport::ReadBytes(folder.File("results.json"));
    EXPECT_NE(json.find("\"outcome\": \"failed\""), std::string::npos) << json.substr(0, 400);
    EXPECT_NE(json.find("Err#35"), std::string::npos);
}

}  // namespace
}  // namespace tabvet::faulttest
