// Finds or starts the test cluster and forwards every action to the cluster script, which owns the details of
// initdb, ports and psql; this side only reads the state file and turns failures into exceptions.
#include "support/pg_cluster.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "support/cluster_script.h"

namespace tabvet::testsupport {

PgCluster& PgCluster::Shared() {
    static PgCluster cluster = [] {
        bool owns = false;
        std::string stateFile = StateFileOf("TABVET_PG_STATE", "tabvet-pg-state", owns);
        return PgCluster(std::move(stateFile), owns);
    }();
    return cluster;
}

PgCluster::PgCluster(std::string stateFile, bool ownsCluster)
    : stateFile_(std::move(stateFile)), ownsCluster_(ownsCluster) {
    if (ownsCluster_) {
        StopWhenProcessEnds(TABVET_PG_CLUSTER_SCRIPT, stateFile_);
        RunScript({"start", stateFile_});
    }
    port_ = std::stoi(StateValue(stateFile_, "PGPORT"));
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

std::string PgCluster::RunScript(const std::vector<std::string>& arguments) const {
    return testsupport::RunScript(TABVET_PG_CLUSTER_SCRIPT, arguments);
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

std::string PgCluster::RunFile(const std::string& database, const std::string& fixtureFile) const {
    return RunScript(
        {"psql", stateFile_, database, "-X", "-At", "-v", "ON_ERROR_STOP=1", "-f", FixturePath(fixtureFile)});
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

std::string PgText(const std::string& text) {
    std::string hex;
    for (const unsigned char c : text) {
        hex += std::string(1, "0123456789abcdef"[c >> 4]) + "0123456789abcdef"[c & 15];
    }
    return "convert_from(decode('" + hex + "', 'hex'), 'UTF8')";
}

}  // namespace tabvet::testsupport
