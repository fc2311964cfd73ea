// The throwaway MariaDB server that tests reach through MariaDB Connector/ODBC, the second real driver.
#pragma once

#include <string>

#include "support/cluster_script.h"

namespace tabvet::testsupport {

/// A running server, driven through scripts/mariadb_cluster.sh. All members throw std::runtime_error with the
/// script's or the client's output when something fails.
class MariaDbServer {
  public:
    /// The run's server (see ScriptedServer); TABVET_MARIADB_STATE names a fixture's state file.
    static MariaDbServer& Shared();

    /// "Driver=MariaDB Unicode;Server=127.0.0.1;Port=N;Database=<database>;UID=tabvet;PWD=;"
    std::string ConnectionString(const std::string& database) const;

    /// Runs statements (several, each ended by ';') as the server's administrator; stops at the first error.
    void Execute(const std::string& sql) const;

    /// Runs a fixture file (a path relative to tests/fixtures) in `database`.
    void ExecuteFile(const std::string& database, const std::string& fixtureFile) const;

    // Every object's name and every table's rows and grants on the whole server, statistics aside: equal
    // before and after a run means the run wrote nothing anywhere.
    std::string Fingerprint() const;

  private:
    MariaDbServer();
    /// What a query prints: one row a line, values separated by tabs, NULL as "NULL".
    std::string Query(const std::string& sql) const;

    ScriptedServer server_;
};

}  // namespace tabvet::testsupport
