// The throwaway MariaDB server that tests reach through MariaDB Connector/ODBC, the second real driver.
#pragma once

#include <string>
#include <vector>

namespace tabvet::testsupport {

/// A running server, driven through scripts/mariadb_cluster.sh. All members throw std::runtime_error with the
/// script's or the client's output when something fails.
class MariaDbServer {
  public:
    /// The run's server: the one a ctest fixture started (TABVET_MARIADB_STATE names its state file) or, when
    /// that is absent, one started for this process and stopped when it ends, failed tests and crashes too.
    static MariaDbServer& Shared();

    MariaDbServer(const MariaDbServer&) = delete;
    MariaDbServer& operator=(const MariaDbServer&) = delete;
    ~MariaDbServer();

    /// "Driver=MariaDB Unicode;Server=127.0.0.1;Port=N;Database=<database>;UID=tabvet;PWD=;"
    std::string ConnectionString(const std::string& database) const;

    /// Runs statements (several, each ended by ';') as the server's administrator; stops at the first error.
    void Execute(const std::string& sql) const;

    /// Runs a fixture file (a path relative to tests/fixtures) in `database`.
    void ExecuteFile(const std::string& database, const std::string& fixtureFile) const;

    /// What a query prints: one row a line, values separated by tabs, NULL as "NULL".
    std::string Query(const std::string& sql) const;
    // Every object's name and every table's rows and grants on the whole server, statistics aside: equal
    // before and after a run means the run wrote nothing anywhere.
    std::string Fingerprint() const;

    int Port() const { return port_; }

  private:
    MariaDbServer(std::string stateFile, bool ownsServer);
    std::string RunScript(const std::vector<std::string>& arguments, const std::string& input) const;

    std::string stateFile_;
    bool ownsServer_;
    int port_ = 0;
};

}  // namespace tabvet::testsupport
