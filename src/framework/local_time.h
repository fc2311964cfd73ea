// The local date and time as texts: the status log's and the report's general form, and the results
// file's ISO 8601 form.
#pragma once

#include <chrono>
#include <string>

namespace tabvet {

/// The local date and time in the locale's general form: short date, a blank, long time.
std::string GeneralDateTimeText();

/// A local time as "2025-03-01T14:05:09.042+01:00".
std::string IsoLocalTime(std::chrono::system_clock::time_point time);

}  // namespace tabvet
