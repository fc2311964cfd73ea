// Drives the scripts that start throwaway database servers for tests (scripts/pg_cluster.sh,
// scripts/mariadb_cluster.sh): runs them, and stops a server that a test process started for itself.
#pragma once

#include <string>
#include <vector>

namespace tabvet::testsupport {

/// A server driven through its script, which owns the details (data directory, port, accounts): the run's
/// server when a ctest fixture names its state file in the environment variable `stateVariable`, else one
/// started for this process and stopped when it ends, failed tests and crashes too.
class ScriptedServer {
  public:
    ScriptedServer(std::string script, const char* stateVariable, const std::string& portKey);
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    ~ScriptedServer();

    /// `bash script action stateFile arguments...` with standard input from the file `input`: its output
    /// and errors, interleaved; throws std::runtime_error with them when the script fails.
    std::string Run(const std::string& action, const std::vector<std::string>& arguments = {},
                    const std::string& input = "/dev/null") const;

    int Port() const { return port_; }

  private:
    std::string script_;
    std::string stateFile_;
    bool owns_;
    int port_ = 0;
};

}  // namespace tabvet::testsupport
