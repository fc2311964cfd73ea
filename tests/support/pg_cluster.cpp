// Forwards every action to the cluster script, which owns the details of initdb, ports and psql.
#include "support/pg_cluster.h"

#include <filesystem>

namespace tabvet::testsupport {

PgCluster& PgCluster::Shared() {
    static PgCluster cluster;
    return cluster;
}

PgCluster::PgCluster() : server_(TABVET_PG_CLUSTER_SCRIPT, "TABVET_PG_STATE", "PGPORT") {}

std::string PgCluster::ConnectionString(const std::string& database) const {
    return "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(Port()) +
           ";Database=" + database + ";UID=tabvet;PWD=;";
}

void PgCluster::CreateDatabase(const std::string& database,
                               const std::vector<std::string>& fixtureFiles) const {
    std::vector<std::string> arguments{database};
    for (const std::string& file : fixtureFiles) {
        arguments.push_back(FixturePath(file));
    }
    server_.Run("createdb", arguments);
}

void PgCluster::Execute(const std::string& database, const std::string& sql) const {
    server_.Run("psql", {database, "-v", "ON_ERROR_STOP=1", "-q", "-c", sql});
}

std::string PgCluster::QueryValue(const std::string& database, const std::string& sql) const {
    std::string value = server_.Run("psql", {database, "-v", "ON_ERROR_STOP=1", "-At", "-c", sql});
    value.erase(0, value.find_first_not_of(" \t\r\n"));
    value.erase(value.find_last_not_of(" \t\r\n") + 1);
    return value;
}

std::string PgCluster::RunFile(const std::string& database, const std::string& fixtureFile) const {
    return server_.Run("psql",
                       {database, "-X", "-At", "-v", "ON_ERROR_STOP=1", "-f", FixturePath(fixtureFile)});
}

void PgCluster::StopServer() const {
    server_.Run("stop-server");
}

void PgCluster::StartServer() const {
    server_.Run("start-server");
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
