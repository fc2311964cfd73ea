// Where a headless run's connection string comes from, and the warnings when it is exposed on the way.
#pragma once

#include <istream>
#include <optional>
#include <ostream>
#include <string>

#include "headless_options.h"

namespace tabvet {

/// The environment variable that holds the connection string when no option gives it.
inline constexpr const char* kConnectEnvironmentVariable = "TABVET_CONNECT";

/// Sets options.connect from standard input (`in`), the connection file or `environmentValue`, as
/// options.connectSource says, without a final line break. Warns on `err`, one line each, of a password
/// given on the command line and of a connection file other users may read. False, after one line on
/// `err`, when no non-empty string can be had.
bool ResolveConnectionString(HeadlessOptions& options, std::istream& in,
                             const std::optional<std::string>& environmentValue, std::ostream& err);

}  // namespace tabvet
