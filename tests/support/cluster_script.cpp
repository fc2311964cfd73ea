// This side only runs the scripts, reads their state files and turns their failures into exceptions.
#include "support/cluster_script.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace tabvet::testsupport {
namespace {

std::string ShellQuoted(const std::string& word) {
    // Inside single quotes only the quote itself needs care.
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
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

}  // namespace

ScriptedServer::ScriptedServer(std::string script, const char* stateVariable, const std::string& portKey)
    : script_(std::move(script)) {
    const char* fromFixture = std::getenv(stateVariable);
    owns_ = fromFixture == nullptr || *fromFixture == '\0';
    // Else of this process alone, so that parallel processes never share one.
    stateFile_ = !owns_ ? fromFixture
                        : (std::filesystem::temp_directory_path() /
                           (std::string(stateVariable) + "." + std::to_string(::getpid())))
                              .string();
    if (owns_) {
        // The watchdog reads a pipe whose write end only this process holds (close-on-exec, never closed),
        // in a session of its own so that Ctrl-C at the terminal spares it.
        const std::string stop = "bash " + ShellQuoted(script_) + " stop " + ShellQuoted(stateFile_);
        if (::popen(
                ("exec setsid bash -c " + ShellQuoted("cat >/dev/null; exec " + stop) + " >/dev/null 2>&1")
                    .c_str(),
                "we") == nullptr) {
            throw std::runtime_error("cannot start the server's watchdog");
        }
        Run("start");
    }
    port_ = std::stoi(StateValue(stateFile_, portKey));
}

ScriptedServer::~ScriptedServer() {
    if (owns_) {
        try {
            Run("stop");
        } catch (const std::exception&) {
            // The watchdog stops it when this process is gone.
        }
    }
}

std::string ScriptedServer::Run(const std::string& action, const std::vector<std::string>& arguments,
                                const std::string& input) const {
    std::string command = "bash " + ShellQuoted(script_) + " " + action + " " + ShellQuoted(stateFile_);
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
        throw std::runtime_error(std::filesystem::path(script_).filename().string() + " " + action +
                                 " failed (" + std::to_string(status) + "):\n" + output);
    }
    return output;
}

}  // namespace tabvet::testsupport
