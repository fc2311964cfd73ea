// The characters a report file is written in: the system's single-byte code page where there is one.
#pragma once

#include <string>

namespace tabvet {

/// `text` (UTF-8) as the report file holds it. On Windows the ANSI code page, where a character the page
/// cannot hold becomes "?"; elsewhere UTF-8, unchanged.
std::string ReportFileText(const std::string& text);

}  // namespace tabvet
