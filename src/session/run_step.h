// The "Run Tests" step: whether the window is ready to run, the run started from it, and the status log
// and progress panel the run writes into.
#pragma once

#include <cstdint>
#include <string>

#include "main_state.h"

namespace tabvet {

/// Connection, catalogue, a DBMS option, at least one test and a non-zero major version.
bool IsReadyToRun(const MainState& state);
/// Whether test i is enabled, accepts the version and works with the selected DBMS.
bool ShouldRunTest(const MainState& state, const std::int16_t& i);
/// `cmdRun`: runs every applicable test and logs the failures; what the run did goes to state.lastRun. An
/// error that escapes a test propagates to the caller and ends the run without the closing lines.
void ProcessRunTests(MainState& state);
/// Replaces the status log with `message`, or appends it when keepOld is true; then repaints it.
void SetStatusWindow(MainState& state, const std::string& message, bool keepOld = false);
/// Sets the progress panel of the status bar.
void SetRunStatusBarText(MainState& state, const std::string& NewText);
/// The progress panel as shown: its text and, while a check walks rows, how far it is, in parentheses after
/// it ("Running test 16 of 16: ... (1234 of 10000 rows, 0:12)").
std::string StatusBarText(const MainState& state);
/// "Clear This Status Window": empties the log, keeps every result.
void ClearRunStatus(MainState& state);

}  // namespace tabvet
