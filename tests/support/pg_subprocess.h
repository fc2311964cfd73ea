// Runs the cluster script and psql as child processes without a shell, so that names are never re-parsed.
// Also starts the watchdog that stops a process-owned cluster however the test process ends.
#pragma once

#include <string>
#include <vector>

namespace tabvet::testsupport {

struct ProcessResult {
    int exitCode = -1;   ///< the exit status, or 128 + signal number when the child was killed
    std::string output;  ///< standard output and standard error, interleaved as written
};

/// Runs argv[0] (searched in PATH) with the given arguments and waits for it.
ProcessResult RunProcess(const std::vector<std::string>& argv);

/// Starts argv in a session of its own with its standard input on a pipe that only this process holds open.
/// The child sees end-of-file when this process ends in any way, crashes included; it is not waited for.
void StartWatchdog(const std::vector<std::string>& argv);

}  // namespace tabvet::testsupport
