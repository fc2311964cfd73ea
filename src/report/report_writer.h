// The text report of the last test run, written from the test objects of the catalogue and the run's target.
#pragma once

#include <optional>
#include <string>

#include "db/user_interaction.h"
#include "framework/ado_test_collection.h"
#include "framework/run_target.h"
#include "report_file.h"

namespace tabvet {

/// What a report is written from. The tests with WasRun true are reported with the verdict and text they
/// hold, so a test that did not run in the last run shows its earlier result until the next reset.
struct ReportContents {
    const clsAdoTestCollection* catalogue = nullptr;  ///< null: no test to report, the summary shows zeros
    RunTarget target;
    bool onlyFailures = false;              ///< passed tests are counted but not listed
    std::string generated;                  ///< the local date and time the report says it was made
    std::optional<std::string> stopReason;  ///< the run was stopped before its end: why (a summary line)
};

/// Writes the report into `file`, which the caller has opened and will close. Returns false, after a
/// critical "Unexpected error" box through `ui`, when `file` holds no file. A failed write throws
/// ReportFileError; a counter beyond 16 bits raises "Overflow".
bool CreateReportInFile(ReportFile& file, const ReportContents& contents, IUserInteraction& ui);

}  // namespace tabvet
