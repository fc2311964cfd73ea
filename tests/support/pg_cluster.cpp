// Finds or starts the test cluster and forwards every action to the cluster script, which owns the details of
// initdb, ports and psql; this side only reads the state file and turns failures into exceptions.
#include "support/pg_cluster.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace tabvet::testsupport {
namespace {

// Starts argv (searched in PATH) without a shell, so names are never re-parsed; `dups` become its descriptors
// (dup2 clears close-on-exec on the copy, so only those reach the child).
pid_t Spawn(const std::vector<std::string>& argv, const std::vector<std::pair<int, int>>& dups,
            bool newSession) {
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));  // posix_spawn's signature predates const
    }
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const auto& [from, to] : dups) {
        posix_spawn_file_actions_adddup2(&actions, from, to);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, newSession ? POSIX_SPAWN_SETSID : 0);
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, args[0], &actions, &attributes, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(error));
    }
    return pid;
}

// Runs argv and returns its exit status (128 + signal when killed) and its output and errors, interleaved.
std::pair<int, std::string> RunProcess(const std::vector<std::string>& argv) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    const int devNull = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid =
        Spawn(argv, {{devNull, STDIN_FILENO}, {fds[1], STDOUT_FILENO}, {fds[1], STDERR_FILENO}}, false);
    ::close(devNull);
    ::close(fds[1]);  // the child holds the only write end now, so reading ends when it exits
    std::string output;
    char buffer[4096];
    for (ssize_t got; (got = ::read(fds[0], buffer, sizeof buffer)) != 0;) {
        if (got > 0) {
            output.append(buffer, static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            break;
        }
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output};
}

int ReadPort(const std::string& stateFile) {
    std::ifstream in(stateFile);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("PGPORT=", 0) == 0) {
            return std::stoi(line.substr(7));
        }
    }
    throw std::runtime_error("no PGPORT in cluster state file " + stateFile);
}

}  // namespace

PgCluster& PgCluster::Shared() {
    // Without a ctest fixture, a state file of this process's own, so parallel processes never share one.
    static PgCluster cluster = [] {
        const char* fromFixture = std::getenv("TABVET_PG_STATE");
        if (fromFixture != nullptr && *fromFixture != '\0') {
            return PgCluster(fromFixture, false);
        }
        const auto dir = std::filesystem::temp_directory_path();
        return PgCluster((dir / ("tabvet-pg-state." + std::to_string(::getpid()))).string(), true);
    }();
    return cluster;
}

PgCluster::PgCluster(std::string stateFile, bool ownsCluster)
    : stateFile_(std::move(stateFile)), ownsCluster_(ownsCluster) {
    if (ownsCluster_) {
        // Should the destructor never run, the watchdog stops the cluster once this process has ended.
        // It reads its standard input, a pipe whose write end only this process holds (close-on-exec), in a
        // session of its own so that Ctrl-C at the terminal spares it.
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe failed");
        }
        Spawn({"bash", "-c", "cat >/dev/null; exec bash \"$0\" stop \"$1\"", TABVET_PG_CLUSTER_SCRIPT,
               stateFile_},
              {{fds[0], STDIN_FILENO}}, true);
        ::close(fds[0]);
        RunScript({"start", stateFile_});
    }
    port_ = ReadPort(stateFile_);
}

PgCluster::~PgCluster() {
    if (ownsCluster_) {
        try {
            RunProcess({"bash", TABVET_PG_CLUSTER_SCRIPT, "stop", stateFile_});
        } catch (const std::exception&) {
            // The watchdog stops it when this process is gone.
        }
    }
}

std::string PgCluster::RunScript(const std::vector<std::string>& arguments) const {
    std::vector<std::string> argv{"bash", TABVET_PG_CLUSTER_SCRIPT};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    auto [status, output] = RunProcess(argv);
    if (status != 0) {
        throw std::runtime_error("pg_cluster.sh " + arguments[0] + " failed (" + std::to_string(status) +
                                 "):\n" + output);
    }
    return output;
}

std::string PgCluster::ConnectionString(const std::string& database) const {
    return "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(port_) +
           ";Database=" + database + ";UID=tabvet;PWD=;";
}

void PgCluster::CreateDatabase(const std::string& database,
                               const std::vector<std::string>& fixtureFiles) const {
    std::vector<std::string> arguments{"createdb", stateFile_, database};
    for (const std::string& file : fixtureFiles) {
        arguments.push_back(FixturePath(file));
    }
    RunScript(arguments);
}

void PgCluster::Execute(const std::string& database, const std::string& sql) const {
    RunScript({"psql", stateFile_, database, "-v", "ON_ERROR_STOP=1", "-q", "-c", sql});
}

std::string PgCluster::QueryValue(const std::string& database, const std::string& sql) const {
    std::string value = RunScript({"psql", stateFile_, database, "-v", "ON_ERROR_STOP=1", "-At", "-c", sql});
    value.erase(0, value.find_first_not_of(" \t\r\n"));
    value.erase(value.find_last_not_of(" \t\r\n") + 1);
    return value;
}

void PgCluster::StopServer() const {
    RunScript({"stop-server", stateFile_});
}

void PgCluster::StartServer() const {
    RunScript({"start-server", stateFile_});
}

std::string FixturePath(const std::string& relative) {
    return (std::filesystem::path(TABVET_FIXTURE_DIR) / relative).string();
}

}  // namespace tabvet::testsupport
