// The machine-readable results of one run: every catalogue entry with its findings, the run's times, outcome
// and target, and where its findings stand against a baseline.
#pragma once

#include <string>

#include "baseline.h"
#include "framework/ado_test_collection.h"
#include "framework/run_record.h"
#include "framework/run_target.h"

namespace tabvet {

/// The results document (documented in the README): the target, the times and outcome of `record`, and one
/// entry per catalogue position with what the run did with it, the test's name, category and text, and its
/// findings; with `comparison`, the standing of each finding and the baseline's counts.
std::string ResultsJson(const RunTarget& target, const clsAdoTestCollection& catalogue,
                        const RunRecord& record, const BaselineComparison* comparison = nullptr);

/// Writes the results document to `path`, replacing it; throws ReportFileError saying why it cannot.
void WriteResultsJson(const std::string& path, const RunTarget& target, const clsAdoTestCollection& catalogue,
                      const RunRecord& record, const BaselineComparison* comparison = nullptr);

}  // namespace tabvet
