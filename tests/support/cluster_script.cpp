// The scripts own the details of each server (data directory, port, accounts); this side only runs them and
// turns their failures into exceptions.
#include "support/cluster_script.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tabvet::testsupport {

std::string ShellQuoted(const std::string& word) {
    // Inside single quotes only the quote itself needs care.
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string RunScript(const std::string& script, const std::vector<std::string>& arguments,
                      const std::string& input) {
    std::string command = "bash " + ShellQuoted(script);
    for (const std::string& argument : arguments) {
        command += " " + ShellQuoted(argument);
    }
    FILE* pipe = ::popen((command + " <" + ShellQuoted(input) + " 2>&1").c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot start " + command.substr(0, 200));
    }
    std::string output;
    char buffer[4096];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        output.append(buffer, got);
    }
    if (const int status = ::pclose(pipe); status != 0) {
        throw std::runtime_error(std::filesystem::path(script).filename().string() + " " +
                                 (arguments.empty() ? "" : arguments[0]) + " failed (" +
                                 std::to_string(status) + "):\n" + output);
    }
    return output;
}

std::string StateFileOf(const char* variable, const std::string& stem, bool& ownsServer) {
    const char* fromFixture = std::getenv(variable);
    ownsServer = fromFixture == nullptr || *fromFixture == '\0';
    if (!ownsServer) {
        return fromFixture;
    }
    // Of this process alone, so that parallel processes never share one.
    return (std::filesystem::temp_directory_path() / (stem + "." + std::to_string(::getpid()))).string();
}

void StopWhenProcessEnds(const std::string& script, const std::string& stateFile) {
    // The watchdog reads a pipe whose write end only this process holds (close-on-exec, never closed), in a
    // session of its own so that Ctrl-C at the terminal spares it.
    const std::string stop = "bash " + ShellQuoted(script) + " stop " + ShellQuoted(stateFile);
    if (::popen(("exec setsid bash -c " + ShellQuoted("cat >/dev/null; exec " + stop) + " >/dev/null 2>&1")
                    .c_str(),
                "we") == nullptr) {
        throw std::runtime_error("cannot start the server's watchdog");
    }
}

std::string StateValue(const std::string& stateFile, const std::string& key) {
    std::ifstream in(stateFile);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(key + "=", 0) == 0) {
            return line.substr(key.size() + 1);
        }
    }
    throw std::runtime_error("no " + key + " in server state file " + stateFile);
}

}  // namespace tabvet::testsupport
