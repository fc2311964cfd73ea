// The throwaway PostgreSQL cluster that integration tests reach through the real ODBC driver.
// Databases are built from the plain SQL files under tests/fixtures.
#pragma once

#include <string>
#include <vector>

#include "support/cluster_script.h"

namespace tabvet::testsupport {

/// A running cluster, driven through scripts/pg_cluster.sh. All members throw std::runtime_error with the
/// script's or psql's output when something fails.
class PgCluster {
  public:
    /// The run's cluster (see ScriptedServer); TABVET_PG_STATE names a fixture's state file.
    static PgCluster& Shared();

    /// "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=N;Database=<database>;UID=tabvet;PWD=;"
    std::string ConnectionString(const std::string& database) const;

    /// Drops and creates `database`, then runs the fixture files (paths relative to tests/fixtures) in order.
    void CreateDatabase(const std::string& database, const std::vector<std::string>& fixtureFiles) const;

    /// Runs statements through psql; stops at the first error.
    void Execute(const std::string& database, const std::string& sql) const;

    /// The single value a query returns, as psql prints it unaligned, trimmed.
    std::string QueryValue(const std::string& database, const std::string& sql) const;

    /// What a fixture file (a path relative to tests/fixtures) prints when psql runs it unaligned.
    std::string RunFile(const std::string& database, const std::string& fixtureFile) const;

    /// Stops the server and starts it again on the same port with the same data, for connection faults.
    void StopServer() const;
    void StartServer() const;

    int Port() const { return server_.Port(); }

  private:
    PgCluster();

    ScriptedServer server_;
};

/// Absolute path of a file under tests/fixtures.
std::string FixturePath(const std::string& relative);

/// A PostgreSQL expression for `text` that no content can break out of: its bytes in hex, read as UTF-8.
std::string PgText(const std::string& text);

}  // namespace tabvet::testsupport
