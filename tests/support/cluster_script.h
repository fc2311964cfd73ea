// Drives the scripts that start throwaway database servers for tests (scripts/pg_cluster.sh,
// scripts/mariadb_cluster.sh): runs them, and stops a server that a test process started for itself.
#pragma once

#include <string>
#include <vector>

namespace tabvet::testsupport {

/// One word for the shell, whatever it holds.
std::string ShellQuoted(const std::string& word);

/// Runs `bash script arguments...` with standard input from the file `input` and returns its output and
/// errors, interleaved; throws std::runtime_error with them when the script fails.
std::string RunScript(const std::string& script, const std::vector<std::string>& arguments,
                      const std::string& input = "/dev/null");

/// The state file of the run's server: the one a ctest fixture names in the environment variable
/// `variable`, else a new one of this process (`ownsServer` then true), named after `stem`.
std::string StateFileOf(const char* variable, const std::string& stem, bool& ownsServer);

/// Runs `bash script stop stateFile` once this process has ended, however it ends.
void StopWhenProcessEnds(const std::string& script, const std::string& stateFile);

/// The value of `KEY=value` in a state file written by one of the scripts.
std::string StateValue(const std::string& stateFile, const std::string& key);

}  // namespace tabvet::testsupport
