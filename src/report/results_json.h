// The machine-readable results of one run: every catalogue entry, the run's times, outcome and target.
#pragma once

#include <string>

#include "framework/ado_test_collection.h"
#include "framework/run_record.h"
#include "framework/run_target.h"

namespace tabvet {

/// The results document (documented in the README): the target, the times and outcome of `record`, and one
/// entry per catalogue position with what the run did with it and the test's name, category and text.
std::string ResultsJson(const RunTarget& target, const clsAdoTestCollection& catalogue,
                        const RunRecord& record);

/// Writes the results document to `path`, replacing it; throws ReportFileError saying why it cannot.
void WriteResultsJson(const std::string& path, const RunTarget& target, const clsAdoTestCollection& catalogue,
                      const RunRecord& record);

}  // namespace tabvet
