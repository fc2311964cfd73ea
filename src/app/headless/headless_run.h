// The headless mode: the same objects the window drives, without a window.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tabvet {

namespace exit_code {
inline constexpr int kAllPassed = 0;
inline constexpr int kTestFailed = 1;
inline constexpr int kCannotStart = 2;
inline constexpr int kEscapedError = 3;
inline constexpr int kStopped = 4;  ///< by the time limit or a signal
}  // namespace exit_code

/// Runs tabvet with command-line arguments (without the program name); returns the exit status. The
/// connection string may come from standard input or the environment.
int RunHeadless(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace tabvet
