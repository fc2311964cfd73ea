// Text values as JSON string literals, for the machine-readable results.
#pragma once

#include <string>
#include <string_view>

namespace tabvet {

/// `text` as a quoted JSON string: quotes, backslashes and control characters escaped, valid UTF-8
/// passed through unchanged, and any byte that is not part of valid UTF-8 replaced by U+FFFD so the
/// document stays valid whatever a driver returned.
std::string JsonString(std::string_view text);

}  // namespace tabvet
