// The text report of the last test run, written from the test objects and the window's boxes.
#pragma once

#include "framework/main_state.h"
#include "report_file.h"

namespace tabvet {

/// Writes the report into `file`, which the caller has opened and will close. Reads the catalogue, the
/// "only failures" check box, the version boxes and the DBMS option as they stand now. Returns false,
/// after a critical "Unexpected error" box, when `file` holds no file. A failed write throws
/// ReportFileError; a counter beyond 16 bits raises "Overflow".
bool CreateReportInFile(const MainState& state, ReportFile& file);

}  // namespace tabvet
