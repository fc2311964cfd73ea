// The bytes as given: UTF-8 is the system's text.
#include <unistd.h>

#include <cstdlib>

#include "process_text.h"

namespace tabvet {

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
    return std::vector<std::string>(argv + 1, argv + argc);
}

StandardStreams::StandardStreams() = default;

StandardStreams::~StandardStreams() = default;

bool StandardErrorIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

std::optional<std::string> EnvironmentText(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace tabvet
