// The "Run Tests" step: which tests apply, running them in catalogue order, and the status log.
#pragma once

#include <cstdint>
#include <string>

#include "main_state.h"

namespace tabvet {

/// A version box's number: its leading number, rounded half to even to 16 bits ("Overflow" beyond).
std::int16_t VersionBoxNumber(const std::string& text);

/// Connection, catalogue, a DBMS option, at least one test and a non-zero major version.
bool IsReadyToRun(const MainState& state);
/// Whether the test works with the selected DBMS option (true when none is selected).
bool WorksWithSelectedDbms(const IAdoTest& test, DbmsOption option);
/// Whether test i is enabled, accepts the version and works with the selected DBMS.
bool ShouldRunTest(const MainState& state, const std::int16_t& i);
/// Runs every applicable test and logs the failures. An error that escapes a test propagates to the
/// caller and ends the run without the closing lines.
void ProcessRunTests(MainState& state);
/// Replaces the status log with `message`, or appends it when keepOld is true; then repaints it.
void SetStatusWindow(MainState& state, const std::string& message, bool keepOld = false);
/// Sets the progress panel of the status bar.
void SetRunStatusBarText(MainState& state, const std::string& NewText);
/// "Clear This Status Window": empties the log, keeps every result.
void ClearRunStatus(MainState& state);

}  // namespace tabvet
