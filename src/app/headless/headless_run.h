// The headless mode: the same objects the window drives, without a window.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "framework/run_record.h"
#include "report/baseline.h"

namespace tabvet {

namespace exit_code {
inline constexpr int kAllPassed = 0;
inline constexpr int kTestFailed = 1;
inline constexpr int kCannotStart = 2;
inline constexpr int kEscapedError = 3;
inline constexpr int kStopped = 4;  ///< by the time limit or a signal
}  // namespace exit_code

/// The exit status of a run that ended: its own outcome, or against a baseline only what is new: 1 for a new
/// finding or a failed test that recorded none, 0 for known findings alone; 3 and 4 as without one.
int ExitStatusOf(const RunRecord& record, const BaselineComparison* comparison);

/// Runs tabvet with command-line arguments (without the program name); returns the exit status. The
/// connection string may come from standard input or the environment. When `err` is a terminal, the checks
/// that walk rows also show how far they are, on a line of `err` that is cleared again.
int RunHeadless(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                bool errIsTerminal = false);

}  // namespace tabvet
