// Where a report goes when the user has not chosen a file yet.
#pragma once

#include <string>

namespace tabvet {

/// The default report path: the temporary folder and "Tessel_Diag.txt". On Windows %TEMP% + "\" even when
/// TEMP is unset; elsewhere the first of TEMP, TMPDIR that is set, else /tmp, then "/Tessel_Diag.txt".
std::string GetDefaultReportFileName();

}  // namespace tabvet
