// The command line and the environment as tabvet's own text, UTF-8, whatever the system hands over.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tabvet {

/// The arguments after the program's name. On Windows they are read again in wide characters, so that a
/// name or password outside the ANSI code page arrives intact.
std::vector<std::string> CommandLineArguments(int argc, char** argv);

/// While it lives, the standard streams carry tabvet's bytes unchanged. On Windows they are switched to
/// binary, so that the status log's line breaks stay "\n" and the CR LF inside a result text is not doubled,
/// and a console shows UTF-8; the console's code page comes back at the end.
class StandardStreams {
  public:
    StandardStreams();
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

  private:
    unsigned earlierConsoleCodePage_ = 0;  // 0: unchanged
};

/// Whether standard error is a terminal (a console on Windows), where a line may be drawn over again.
bool StandardErrorIsTerminal();

/// The value of the environment variable `name`; nothing when it is unset or empty.
std::optional<std::string> EnvironmentText(const char* name);

}  // namespace tabvet
