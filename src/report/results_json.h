// The machine-readable results of one headless run: every catalogue entry, the run's times and target.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "framework/main_state.h"

namespace tabvet {

/// What was measured around one test during the run.
struct TestTiming {
    bool entered = false;   ///< Run was called during this run
    bool endedRun = false;  ///< Run let an error escape, which ended the run
    double durationMs = 0;  ///< time spent in Run
};

/// One run as the results file describes it, beside the test objects themselves.
struct RunRecord {
    std::string started;               ///< local time, ISO 8601 with offset
    std::string finished;              ///< local time, ISO 8601 with offset
    std::vector<TestTiming> tests;     ///< by catalogue position: element 0 is position 1
    std::optional<std::string> error;  ///< the error that ended the run early, as the user was told
};

/// A local time as "2025-03-01T14:05:09.042+01:00".
std::string IsoLocalTime(std::chrono::system_clock::time_point time);

/// The results document: target, times, outcome and one entry per catalogue position (documented in
/// the README).
std::string ResultsJson(const MainState& state, const RunRecord& record);

/// Writes the results document to `path`, replacing it; throws ReportFileError saying why it cannot.
void WriteResultsJson(const MainState& state, const RunRecord& record, const std::string& path);

}  // namespace tabvet
