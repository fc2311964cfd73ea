// The built program run as a scheduler would run it: a lock held by another session blocks LAYERS, and the
// statement timeout, the time limit or SIGTERM each end the wait without losing what had completed; the
// password stays in its file; a server that never answers is given up.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "db/odbc_connection.h"
#include "support/pg_cluster.h"
#include "support/temp_folder.h"

extern char** environ;

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::ReadBytes;
using testsupport::TempFolder;
using testsupport::WriteBytes;

constexpr const char* kDatabase = "unattended";
constexpr const char* kPassword = "unattended-secret-4711";  // the cluster trusts local users: any works

const PgCluster& Cluster() {
    static const bool built = [] {
        PgCluster::Shared().CreateDatabase(
            kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "demo/demo_schema.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

std::string ConnectionString() {
    std::string text = Cluster().ConnectionString(kDatabase);
    return text.replace(text.find("PWD=;"), 5, "PWD=" + std::string(kPassword) + ";");
}

// Repeats `ask` until it holds; a test that waits in vain fails at the suite's time limit.
template <typename Ask>
void WaitUntil(Ask ask) {
    while (!ask()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

// Another session holds an exclusive lock on tsl.layers from construction until destruction.
class LayersLock {
  public:
    LayersLock()
        : holder_([] {
              try {
                  Cluster().Execute(kDatabase,
                                    "LOCK TABLE tsl.layers IN ACCESS EXCLUSIVE MODE; SELECT pg_sleep(120)");
              } catch (const std::exception&) {
                  // Ended by the destructor.
              }
          }) {
        WaitUntil([] {
            return Query(
                       "SELECT count(*) FROM pg_locks l JOIN pg_class c ON c.oid = l.relation WHERE "
                       "c.relname = 'layers' AND l.mode = 'AccessExclusiveLock' AND l.granted") == "1";
        });
    }
    ~LayersLock() {
        Query(
            "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE query LIKE 'LOCK TABLE%' "
            "AND pid <> pg_backend_pid()");
        holder_.join();
    }
    static std::string Query(const std::string& sql) { return Cluster().QueryValue(kDatabase, sql); }
    // A statement of another session waits for this lock.
    static bool Blocking() {
        return Query("SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'") != "0";
    }

  private:
    std::thread holder_;
};

// The built program with `args`, its output and errors in `folder`, and `extraEnvironment` added.
pid_t Start(const std::vector<std::string>& args, const TempFolder& folder,
            const std::vector<std::string>& extraEnvironment = {}) {
    std::vector<std::string> words{TABVET_EXECUTABLE};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    std::vector<std::string> environment(extraEnvironment);
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    std::vector<char*> envp;
    for (std::string& entry : environment) {
        envp.push_back(entry.data());
    }
    envp.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, folder.File("out").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&files, 2, folder.File("err").c_str(), O_WRONLY | O_CREAT, 0600);
    pid_t pid = 0;
    EXPECT_EQ(posix_spawn(&pid, TABVET_EXECUTABLE, &files, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

int Wait(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The JSON entry of a catalogue position, from its "position" to its closing brace.
std::string JsonEntry(const std::string& json, int position) {
    const std::size_t start = json.find("\"position\": " + std::to_string(position) + ",");
    return start == std::string::npos ? "" : json.substr(start, json.find('}', start) - start);
}

struct BlockedCase {
    const char* name;
    std::vector<std::string> options;
    bool sendSigterm;
    int exitStatus;
    const char* driverError;  // in the result of "LAYERS table existence", whose statement waited
    const char* stopReason;   // null: the run went on with the remaining checks
};

TEST(Unattended, ABlockedStatementEndsByItsTimeoutTheTimeLimitOrSigtermAndNothingCompletedIsLost) {
    const BlockedCase cases[] = {
        {"statement timeout",
         {"--statement-timeout", "1"},
         false,
         1,
         "canceling statement due to statement timeout",
         nullptr},
        {"time limit",
         {"--statement-timeout", "0", "--time-limit", "2"},
         false,
         4,
         "canceling statement due to user request",
         "time limit of 2 seconds reached"},
        {"SIGTERM",
         {"--statement-timeout", "0"},
         true,
         4,
         "canceling statement due to user request",
         "SIGTERM received"},
    };
    for (const BlockedCase& c : cases) {
        SCOPED_TRACE(c.name);
        const TempFolder folder;
        WriteBytes(folder.File("connect"), ConnectionString() + "\n");
        chmod(folder.File("connect").c_str(), 0600);
        std::vector<std::string> args{"--connect-file",   folder.File("connect"),
                                      "--dbms",           "oracle",
                                      "--tessel-version", "9.0.0",
                                      "--check",          "1,2,4",
                                      "--report",         folder.File("report.txt"),
                                      "--json",           folder.File("r.json")};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const LayersLock lock;
        const pid_t pid = Start(args, folder);
        WaitUntil(LayersLock::Blocking);
        // What every local user sees of the run while it waits.
        const std::string commandLine = ReadBytes("/proc/" + std::to_string(pid) + "/cmdline");
        EXPECT_NE(commandLine.find("--connect-file"), std::string::npos);
        if (c.sendSigterm) {
            kill(pid, SIGTERM);
        }
        EXPECT_EQ(Wait(pid), c.exitStatus) << ReadBytes(folder.File("err"));

        const std::string report = ReadBytes(folder.File("report.txt"));
        const std::string json = ReadBytes(folder.File("r.json"));
        const std::string err = ReadBytes(folder.File("err"));
        for (const std::string* seen : {&commandLine, &report, &json, &err}) {
            EXPECT_EQ(seen->find(kPassword), std::string::npos) << *seen;
        }
        EXPECT_NE(report.find("Test Passed: Is database running"), std::string::npos) << report;
        EXPECT_NE(report.find("TEST FAILED >>>> LAYERS table existence"), std::string::npos) << report;
        EXPECT_NE(JsonEntry(json, 2).find(c.driverError), std::string::npos) << json;
        EXPECT_NE(JsonEntry(json, 3).find("\"notRunReason\": \"deselected\""), std::string::npos) << json;
        if (c.stopReason == nullptr) {
            EXPECT_NE(json.find("\"outcome\": \"failed\""), std::string::npos) << json;
            EXPECT_NE(JsonEntry(json, 4).find("\"ran\": true"), std::string::npos) << json;
            EXPECT_EQ(report.find("stopped"), std::string::npos) << report;
            continue;
        }
        const std::string reason = c.stopReason;
        EXPECT_NE(json.find("\"outcome\": \"stopped\""), std::string::npos) << json;
        EXPECT_NE(json.find("\"stopReason\": \"" + reason + "\""), std::string::npos) << json;
        EXPECT_NE(JsonEntry(json, 4).find("\"notRunReason\": \"stopped\""), std::string::npos) << json;
        EXPECT_NE(report.find("-- Total tests run: 2\r\n"), std::string::npos) << report;
        EXPECT_NE(report.find("-- Run stopped before its end: " + reason + "\r\n"), std::string::npos)
            << report;
        EXPECT_NE(err.find("tabvet: the run was stopped: " + reason + "\n"), std::string::npos) << err;
        EXPECT_NE(ReadBytes(folder.File("out")).find("Test run stopped at "), std::string::npos);
    }
}

// Accepts connections into its queue and never answers, as a hung server process does.
class SilentServer {
  public:
    SilentServer() : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(listen(socket_, 8), 0);
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
    }
    ~SilentServer() { close(socket_); }
    std::string ConnectionString() const {
        return "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(port_) +
               ";Database=x;UID=tabvet;";
    }
    // Waits for a client and keeps its connection open without a word.
    void AcceptOne() { accepted_.push_back(accept(socket_, nullptr, nullptr)); }

  private:
    int socket_;
    int port_ = 0;
    std::vector<int> accepted_;
};

TEST(Unattended, AServerThatNeverAnswersFailsTheConnectionAtTheLoginTimeout) {
    const SilentServer server;
    OdbcConnection conn;
    conn.SetTimeouts({.loginSeconds = 1, .statementSeconds = 30});
    EXPECT_FALSE(conn.Open(server.ConnectionString()));
    ASSERT_EQ(conn.Errors().Count(), 1);
    EXPECT_NE(conn.Errors().Item(0).Description.find("timeout"), std::string::npos)
        << conn.Errors().Item(0).Description;
}

// The first signal waits for the test then running (here a connection that never ends); the second ends
// the program at once.
TEST(Unattended, ASecondSignalEndsTheProgramAtOnce) {
    SilentServer server;
    const TempFolder folder;
    const pid_t pid = Start({"--dbms", "oracle", "--tessel-version", "9.0.0", "--login-timeout", "0"}, folder,
                            {"TABVET_CONNECT=" + server.ConnectionString()});
    server.AcceptOne();
    kill(pid, SIGTERM);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, WNOHANG), 0) << "the first signal ended the program";
    kill(pid, SIGTERM);
    EXPECT_EQ(Wait(pid), 128 + SIGTERM);
}

}  // namespace
}  // namespace tabvet
