// A run over several connections must be a run over one: every kind of broken layer, a report limit reached
// and errors that escape a check in the middle of their walks give byte for byte the same status log,
// messages, report, JSON and statement trace (times masked) with --jobs 1 and with more, also when extra
// connections cannot be opened, are lost on the way or are stopped. Compared at test time, so there are no
// expected files.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>
#include <thread>
#include <utility>

#include "app/headless/headless_run.h"
#include "db/odbc_connection.h"
#include "session/connection_handling.h"
#include "session/run_step.h"
#include "session/server_type_selection.h"
#include "session/startup.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::ReadBytes;
using testsupport::TempFolder;

// Chosen before the first statement of the process: the trace file is read once.
const TempFolder kTraceFolder;
const std::string kTrace = [] {
    const std::string path = kTraceFolder.File("trace.txt");
    ::setenv("TABVET_STATEMENT_TRACE", path.c_str(), 1);
    return path;
}();

// Compressed-binary layers with every kind of fault among healthy ones, and a TABLE_REGISTRY entry whose
// row-id column is gone; each situation adds its own LAYERS entries of tables that are not there.
constexpr const char* kLayers = R"(
SELECT fixture_cb_layer('GIS', 'L' || i, 'SHAPE', 'OBJECTID', i, 100 + i, p_versioned => i % 2 = 0,
                        p_load_only => i % 9 = 5) FROM generate_series(1, 36) AS i;
SELECT fixture_cb_layer('gis', 'lower_case', 'shape', 'objectid', 37, 137, p_versioned => true);
SELECT fixture_cb_layer('GIS', 'NO_ROWID', 'SHAPE', NULL, 38, 138, p_versioned => true);
DROP TABLE gis.f3;
DROP TABLE gis.a104;
DROP INDEX gis.d106_idx2;
DROP INDEX gis.s7_ix1;
CREATE UNIQUE INDEX s7_ix1 ON gis.s7 (gy, gx, emaxx, emaxy, eminx, eminy, sp_fid);
DROP INDEX gis.f9_uk1;
CREATE INDEX f9_uk1 ON gis.f9 (fid);
DROP INDEX gis.f11_area_ix2;
CREATE INDEX f11_area_ix2 ON gis.f11 (area DESC);
DROP INDEX gis.f13_len_ix3;
CREATE INDEX f13_len_ix3 ON gis.f13 (len, area);
DROP TABLE gis.s14;
DROP TABLE gis.s15;
ALTER TABLE gis.l20 RENAME COLUMN shape TO shape_old;
ALTER TABLE gis.l21 RENAME COLUMN objectid TO objectid_old;
)";

// LAYERS entries of tables that are not there, ids from..to.
std::string LostLayers(int from, int to) {
    return "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column, eflags, srid, layer_config) "
           "SELECT i, 'GIS', 'LOST_' || i, 'SHAPE', 0, 1, 'DEFAULTS' FROM generate_series(" +
           std::to_string(from) + ", " + std::to_string(to) + ") AS i;";
}

struct Situation {
    const char* database;
    std::string extra;     // after kLayers
    int exitStatus;        // what shows that the situation is the one meant
    const char* evidence;  // in the JSON
};

const Situation kSituations[] = {
    {"jobs_limit", LostLayers(201, 230), 1, "\"truncated\": true"},
    // The NULL owner is read after probes of orphans were run ahead, and ends the run in LAYERS' walk.
    {"jobs_escape_walk",
     LostLayers(201, 205) +
         "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column) VALUES "
         "(206, NULL, 'NO_OWNER', 'SHAPE');" +
         LostLayers(207, 211),
     3, "\"error\": \"Run-time error '94': Invalid use of Null\""},
    // A layer id lost in the middle of the index analysis' walk, with the layers around it run ahead.
    {"jobs_escape_layer",
     "UPDATE tsl.layers SET layer_id = NULL WHERE layer_id = 19; "
     "UPDATE tsl.layers SET description = description WHERE layer_id > 19;",  // rewritten after it
     3, "\"error\": \"Run-time error '94': Invalid use of Null\""},
};

const PgCluster& Cluster(const Situation& situation) {
    const PgCluster& pg = PgCluster::Shared();
    pg.CreateDatabase(situation.database,
                      {"tessel_schema.sql", "oracle_dictionary.sql", "compressed_binary/layer_builder.sql"});
    pg.Execute(situation.database, kLayers + situation.extra);
    return pg;
}

std::string Masked(const std::string& text) {
    static const std::regex times(
        "(started at |finished at |Generated: |\"started\": |\"finished\": )[^\r\n,]*|"
        "(\"durationMs\": )[0-9.]+|(stopped at )[^\r\n]*?(?=: )");
    return std::regex_replace(text, times, "$1$2$3<time>");
}

// Everything a headless run leaves behind, times masked. On a terminal the count of walked rows must be drawn
// below the progress line and blanked out again, which leaves what a file or a pipe gets.
std::string Transcript(const std::string& connect, const std::vector<std::string>& more,
                       bool errIsTerminal = false) {
    const TempFolder folder;
    std::vector<std::string> args{"--connect",        connect,
                                  "--dbms",           "oracle",
                                  "--tessel-version", "9.0.0",
                                  "--report",         folder.File("report.txt"),
                                  "--json",           folder.File("r.json")};
    args.insert(args.end(), more.begin(), more.end());
    const auto traced = std::filesystem::exists(kTrace) ? std::filesystem::file_size(kTrace) : 0;
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunHeadless(args, out, err, errIsTerminal);
    std::string errors = err.str();
    if (errIsTerminal) {
        static const std::regex drawnThenBlanked("(\r[0-9]+ of [0-9]+ rows, [0-9]+:[0-9]{2} *)+\r +\r");
        const std::string drawn = std::exchange(errors, std::regex_replace(errors, drawnThenBlanked, ""));
        EXPECT_NE(drawn, errors) << "no count drawn";
    }
    return Masked("exit " + std::to_string(status) + "\n--- stdout\n" + out.str() + "--- stderr\n" + errors +
                  "--- report\n" + ReadBytes(folder.File("report.txt")) + "--- json\n" +
                  ReadBytes(folder.File("r.json")) + "--- statements\n" + ReadBytes(kTrace).substr(traced));
}

TEST(Jobs, OneConnectionOrSeveralGiveTheSameOutputs) {
    for (const Situation& situation : kSituations) {
        SCOPED_TRACE(situation.database);
        const std::string connect = Cluster(situation).ConnectionString(situation.database);
        const std::string one = Transcript(connect, {"--jobs", "1"});
        EXPECT_EQ(one.rfind("exit " + std::to_string(situation.exitStatus) + "\n", 0), 0u) << one;
        EXPECT_NE(one.find(situation.evidence), std::string::npos) << one;
        EXPECT_EQ(one, Transcript(connect, {"--jobs", "2"}));
        EXPECT_EQ(one, Transcript(connect, {}, true));  // the default, on a terminal
    }
}

// A role that may hold two sessions: the run's own and one extra; the others the run asks for fail to open.
TEST(Jobs, ExtraConnectionsThatCannotOpenChangeNothing) {
    const Situation& situation = kSituations[0];
    const PgCluster& pg = Cluster(situation);
    pg.Execute(
        situation.database,
        "DROP ROLE IF EXISTS jobs_two_sessions; CREATE ROLE jobs_two_sessions LOGIN CONNECTION LIMIT 2; "
        "GRANT USAGE ON SCHEMA tsl, gis, public TO jobs_two_sessions; "
        "GRANT SELECT ON ALL TABLES IN SCHEMA tsl, gis, public TO jobs_two_sessions;");
    std::string connect = pg.ConnectionString(situation.database);
    connect = std::regex_replace(connect, std::regex("UID=tabvet"), "UID=jobs_two_sessions");
    const std::string one = Transcript(connect, {"--jobs", "1"});
    EXPECT_EQ(one.rfind("exit 1\n", 0), 0u) << one;
    EXPECT_EQ(one, Transcript(connect, {"--jobs", "6"}));
}

// Another session locks the feature tables of the first layers, so that the index analysis waits at its
// first layer, however fast the machine, until the time limit cancels it, and the extra connections wait on
// the next ones: the stop must cancel theirs too, or the run would wait for the lock. What the run had not
// used of the probes run ahead is written to the statement trace after what it used.
TEST(Jobs, AStopCancelsTheStatementsOfTheExtraConnectionsToo) {
    const Situation& situation = kSituations[0];
    const PgCluster& pg = Cluster(situation);
    const std::string connect = pg.ConnectionString(situation.database);
    const std::string tables =
        "gis.f1, gis.f2, gis.f4, gis.f5, gis.f6, gis.f7, gis.f8, gis.f9";  // f3 is gone
    // Waits until that many of them are locked: an ended holder's locks outlive its client for a moment.
    const auto awaitLocked = [&](const char* count) {
        while (pg.QueryValue(
                   situation.database,
                   "SELECT count(*) FROM pg_locks WHERE mode = 'AccessExclusiveLock' AND granted AND "
                   "relation::regclass::text LIKE 'gis.f%' AND database = (SELECT oid FROM pg_database WHERE "
                   "datname = current_database())") != count) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    };
    std::vector<std::string> outputs;
    std::vector<std::string> statements;
    for (const char* jobs : {"1", "4"}) {
        awaitLocked("0");
        std::thread holder([&] {
            try {
                pg.Execute(situation.database,
                           "LOCK TABLE " + tables + " IN ACCESS EXCLUSIVE MODE; SELECT pg_sleep(60)");
            } catch (const std::exception&) {
                // Ended below.
            }
        });
        awaitLocked("8");
        const auto started = std::chrono::steady_clock::now();
        const std::string transcript =
            Transcript(connect, {"--jobs", jobs, "--time-limit", "6", "--statement-timeout", "0"});
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(40)) << "--jobs " << jobs;
        pg.QueryValue(
            situation.database,
            "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE query LIKE 'LOCK TABLE%' "
            "AND datname = current_database()");
        holder.join();
        const std::size_t split = transcript.find("--- statements\n");
        outputs.push_back(transcript.substr(0, split));
        statements.push_back(transcript.substr(split));
    }
    EXPECT_EQ(outputs[0].rfind("exit 4\n", 0), 0u) << outputs[0];
    EXPECT_NE(outputs[0].find("canceling statement due to user request"), std::string::npos) << outputs[0];
    EXPECT_EQ(outputs[0], outputs[1]);
    EXPECT_EQ(statements[1].substr(0, statements[0].size()), statements[0]);
}

// The run's own connection, which ends every other session of its database (the extra connections) just
// before the index analysis walks its layers: their probes then fail with a lost connection.
class SessionEnder final : public Connection {
  public:
    void Close() override { inner_.Close(); }
    int State() const override { return inner_.State(); }
    std::unique_ptr<Connection> NewProbeConnection() const override { return inner_.NewProbeConnection(); }

  protected:
    bool DoOpen(const std::string& connectionString) override {
        const bool opened = inner_.Open(connectionString);
        Errors() = inner_.Errors();
        return opened;
    }
    bool DoQuery(const std::string& sql, ResultTable& out) override {
        if (sql.find("bitand(") != std::string::npos) {
            // The extra connections open one after the other in the background: all three are awaited.
            ResultTable others;
            for (int tries = 0; tries < 200 && (others.cells.empty() || others.cells[0] != "3"); ++tries) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                inner_.Query(
                    "SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND "
                    "backend_type = 'client backend' AND pid <> pg_backend_pid()",
                    others);
            }
            ResultTable ended;
            EXPECT_TRUE(
                inner_.Query("SELECT count(pg_terminate_backend(pid, 10000)) FROM pg_stat_activity "
                             "WHERE datname = current_database() AND pid <> pg_backend_pid()",
                             ended));
            EXPECT_EQ(ended.cells.at(0), "3");
        }
        const bool ok = inner_.Query(sql, out);
        Errors() = inner_.Errors();
        return ok;
    }

  private:
    OdbcConnection inner_;
};

TEST(Jobs, ExtraConnectionsLostDuringARunChangeNothing) {
    const Situation& situation = kSituations[0];
    const std::string connect = Cluster(situation).ConnectionString(situation.database);
    std::vector<std::string> results;
    for (unsigned jobs : {1u, 4u}) {
        testsupport::RecordingInteraction ui;
        MainState state(ui, [jobs]() -> std::unique_ptr<Connection> {
            return jobs > 1 ? std::make_unique<SessionEnder>() : NewOdbcConnection();
        });
        ASSERT_TRUE(StartUp(state));
        state.now = [] { return std::string("<now>"); };
        state.jobs = jobs;
        ConnectionStringChanged(state, connect);
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr);
        OptionClick(state, DbmsOption::Oracle);
        state.txtMajorVersion = "9";
        state.txtMinorVersion = state.txtBugfix = "0";
        ProcessRunTests(state);
        std::string result = state.rtbStatus;
        for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
            result += "\n" + state.g_pTestCollection->Item(i)->ResultDetails();
        }
        results.push_back(result);
    }
    EXPECT_NE(results[0].find("Error: Missing index D106_IDX2"), std::string::npos) << results[0];
    EXPECT_EQ(results[0], results[1]);
}

}  // namespace
}  // namespace tabvet
