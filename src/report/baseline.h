// A baseline: the findings of an earlier run that people have accepted. A run compared with it tells new
// problems from known ones and lists the accepted ones that are gone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/run_record.h"

namespace tabvet {

/// The version of the results document this tabvet writes and reads as a baseline.
inline constexpr std::int32_t kResultsSchemaVersion = 1;

/// One accepted finding: the test that found it, its key and why it is accepted.
struct BaselineFinding {
    std::int16_t position = 0;
    std::string key;
    std::optional<std::string> kind = std::nullopt;
    std::optional<std::string> reason = std::nullopt;
};

struct Baseline {
    std::vector<BaselineFinding> findings;
};

struct BaselineRead {
    std::optional<Baseline> baseline;  ///< empty when the text cannot be a baseline
    std::string error;                 ///< why not, in one line
};

/// Reads a results document (or one in its shape holding only tests with position and findings).
BaselineRead ReadBaseline(std::string_view text);
/// Reads the baseline file at `path`; a file that cannot be read is an error like any other.
BaselineRead ReadBaselineFile(const std::string& path);

/// Where a finding of this run stands against the baseline.
struct FindingStatus {
    bool known = false;
    std::optional<std::string> reason = std::nullopt;  ///< the baseline's reason for a known finding
};

/// A run against a baseline.
struct BaselineComparison {
    std::vector<std::vector<FindingStatus>> tests;  ///< by catalogue position, one per finding of the record
    std::vector<BaselineFinding> resolved;          ///< accepted findings the run looked for and did not find
    int newFindings = 0;
    int knownFindings = 0;
    bool failedWithoutFinding = false;  ///< a test failed and recorded no finding to say why
};

/// Compares `record` with `baseline`. A finding is known when the baseline holds its key. An accepted
/// finding is resolved when no finding of the run has its key and its test looked at everything in this
/// run: it ran to its end, read its system tables, no report limit stopped it, and a failure of it came
/// with findings. A test that did not run, or did not look at everything, may still have the problem.
BaselineComparison CompareWithBaseline(const Baseline& baseline, const RunRecord& record);

/// "3 new, 12 known, 2 resolved"
std::string BaselineSummary(const BaselineComparison& comparison);

}  // namespace tabvet
