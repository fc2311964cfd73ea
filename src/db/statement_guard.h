// Statements embed names read from the system tables; this rule keeps a hostile name from becoming a second
// statement or hiding the rest of ours.
#pragma once

#include <cstdint>
#include <string_view>

namespace tabvet {

inline constexpr std::int32_t kStatementRefusedNumber = -2147217900;
inline constexpr const char* kStatementRefusedText =
    "Statement not sent: it contains a statement separator or a comment";

/// True when the text holds no ";", "--" or "/*" anywhere and may be sent.
bool IsSingleStatement(std::string_view sql);

}  // namespace tabvet
