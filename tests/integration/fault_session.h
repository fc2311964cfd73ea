// The window's model on a fault database, for the server-fault tests: one session connected through a
// connection that breaks on cue, its verdicts, its report, and a disconnect that must not wait.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "db/connection_handling.h"
#include "db/odbc_connection.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "report/report_writer.h"
#include "startup.h"
#include "support/fault_injecting_connection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet::faulttest {

using testsupport::FaultInjectingConnection;
using testsupport::PgCluster;

/// The first entry of every statement after the server or the session went away.
inline constexpr const char* kLostConnection = ">>>> Err#35: ";

/// Fixture files of a fault database: the demo schema has every kind of verdict, orphaned-entry probes and
/// whole compressed-binary layers.
inline const std::vector<std::string> kFaultFixtures{"tessel_schema.sql", "oracle_dictionary.sql",
                                                     "demo/demo_schema.sql"};

struct Verdict {
    std::string name;
    bool wasRun;
    bool pass;
    std::string details;
};

// The window's model on one database, connected through a connection that can break on cue.
struct Session {
    explicit Session(const std::string& database) : state(ui) {
        EXPECT_TRUE(StartUp(state));
        state.now = [] { return std::string("<now>"); };
        state.newConnection = [this] {
            auto made = std::make_unique<FaultInjectingConnection>();
            conn = made.get();
            return made;
        };
        ConnectionStringChanged(state, PgCluster::Shared().ConnectionString(database));
    }

    void ConnectAsOracle90() {
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        OptionClick(state, DbmsOption::Oracle);
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "0";
        state.txtBugfix = "0";
    }

    std::vector<Verdict> Verdicts() const {
        std::vector<Verdict> verdicts;
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            const IAdoTest& test = *state.g_pTestCollection->Item(i);
            verdicts.push_back({test.Name(), test.WasRun(), test.Pass(), test.ResultDetails()});
        }
        return verdicts;
    }

    std::string Report() const {
        testsupport::TempFolder folder;
        const std::string path = folder.File("report.txt");
        {
            ReportFile file = ReportFile::Open(path);
            EXPECT_TRUE(CreateReportInFile(state, file));
            file.Close();
        }
        return testsupport::ReadBytes(path);
    }

    // Disconnecting after a run asks first; the answer is OK. Must not wait on the dead server.
    void DisconnectQuickly() {
        const auto started = std::chrono::steady_clock::now();
        EXPECT_TRUE(DisconnectFromDbms(state));
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
        EXPECT_EQ(state.g_pAdoConn, nullptr);
        EXPECT_EQ(state.cmdConnectCaption, "Connect");
    }

    testsupport::RecordingInteraction ui;
    MainState state;
    FaultInjectingConnection* conn = nullptr;
};

// Verdicts and statements of a run without faults on `database`: the yardstick for everything before a fault.
struct HealthyRun {
    std::vector<Verdict> verdicts;
    std::size_t statements = 0;
};
inline HealthyRun RunWithoutFaults(const std::string& database) {
    Session session(database);
    session.ConnectAsOracle90();
    ProcessRunTests(session.state);
    HealthyRun run{session.Verdicts(), session.conn->Sent().size()};
    session.DisconnectQuickly();
    return run;
}

inline bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

inline std::size_t Occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

/// Ends one server session from a session of its own, as another administrator would, and waits until
/// it has ended, so that the very next statement meets the loss. That session is opened anew when a server
/// restart took the previous one.
inline void EndSession(const std::string& pid) {
    static OdbcConnection admin;
    const std::string sql = "SELECT pg_terminate_backend(" + pid + ", 10000)";
    ResultTable result;
    if (admin.State() == Connection::kStateOpen && admin.Query(sql, result)) {
        return;
    }
    admin.Close();
    ASSERT_TRUE(admin.Open(PgCluster::Shared().ConnectionString("postgres")));
    ASSERT_TRUE(admin.Query(sql, result));
}

/// Breaks the connection with `fault` (given the session's server process) before statement 1 of a run,
/// then before statement 2, and so on to the last statement of a healthy run, calling `recover` after each.
/// Wherever it strikes, the run must finish, the tests before the one it struck keep their healthy verdicts
/// and that test and every later one fail with the lost connection. Returns the number of faults injected.
inline int SweepEveryStatement(const std::string& database,
                               const std::function<void(const std::string&)>& fault,
                               const std::function<void()>& recover) {
    const HealthyRun healthy = RunWithoutFaults(database);
    int injected = 0;
    for (std::size_t n = 1; n <= healthy.statements; ++n) {
        SCOPED_TRACE("fault before statement " + std::to_string(n));
        Session session(database);
        session.ConnectAsOracle90();
        const std::string pid = session.conn->BackendPid();
        std::string struck;
        session.conn->InjectBefore([&](const std::string&, std::size_t number) { return number == n; },
                                   [&] {
                                       struck = session.state.stsRunFeedback;
                                       fault(pid);
                                   });
        EXPECT_NO_THROW(ProcessRunTests(session.state));
        EXPECT_TRUE(session.conn->Injected());
        injected += session.conn->Injected() ? 1 : 0;
        EXPECT_EQ(session.state.stsRunFeedback, "Testing complete.");
        const std::vector<Verdict> verdicts = session.Verdicts();
        bool faulted = false;
        for (std::size_t i = 0; i < verdicts.size(); ++i) {
            faulted = faulted || EndsWith(struck, ": " + verdicts[i].name);
            if (faulted) {
                EXPECT_FALSE(verdicts[i].pass) << verdicts[i].name;
                EXPECT_NE(verdicts[i].details.find(kLostConnection), std::string::npos)
                    << verdicts[i].details;
            } else {
                EXPECT_EQ(verdicts[i].details, healthy.verdicts[i].details) << verdicts[i].name;
            }
        }
        EXPECT_TRUE(faulted) << struck;
        session.DisconnectQuickly();
        recover();
    }
    return injected;
}

}  // namespace tabvet::faulttest
