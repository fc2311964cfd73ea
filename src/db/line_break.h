// The one line break of this program's texts: messages, result texts, the status log and the report.
#pragma once

namespace tabvet {

/// Carriage return plus line feed, on every system; only a display or a console turns it into its own.
inline constexpr const char* kCrLf = "\r\n";

}  // namespace tabvet
