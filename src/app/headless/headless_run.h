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
}  // namespace exit_code

/// Runs tabvet with command-line arguments (without the program name); returns the exit status.
int RunHeadless(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace tabvet
