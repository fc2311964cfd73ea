// Finds or starts the test cluster and forwards every action to the cluster script, which owns the details of
// initdb, ports and psql; this side only reads the state file and turns failures into exceptions.
#include "support/pg_cluster.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace tabvet::testsupport {
namespace {

// One word for the shell, whatever it holds: inside single quotes only the quote itself needs care.
std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
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
        // Should the destructor never run, the watchdog stops the cluster once this process has ended: it
        // reads a pipe whose write end only this process holds (close-on-exec, never closed), in a session of
        // its own so that Ctrl-C at the terminal spares it.
        const std::string stop = "bash " + Quoted(TABVET_PG_CLUSTER_SCRIPT) + " stop " + Quoted(stateFile_);
        if (::popen(("exec setsid bash -c " + Quoted("cat >/dev/null; exec " + stop) + " >/dev/null 2>&1")
                        .c_str(),
                    "we") == nullptr) {
            throw std::runtime_error("cannot start the cluster's watchdog");
        }
        RunScript({"start", stateFile_});
    }
    port_ = ReadPort(stateFile_);
}

PgCluster::~PgCluster() {
    if (ownsCluster_) {
        try {
            RunScript({"stop", stateFile_});
        } catch (const std::exception&) {
            // The watchdog stops it when this process is gone.
        }
    }
}

// Runs the script and returns its output and errors, interleaved.
std::string PgCluster::RunScript(const std::vector<std::string>& arguments) const {
    std::string command = "bash " + Quoted(TABVET_PG_CLUSTER_SCRIPT);
    for (const std::string& argument : arguments) {
        command += " " + Quoted(argument);
    }
    FILE* pipe = ::popen((command + " </dev/null 2>&1").c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot start " + command.substr(0, 200));
    }
    std::string output;
    char buffer[4096];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        output.append(buffer, got);
    }
    if (const int status = ::pclose(pipe); status != 0) {
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
