// The line that closes a listing cut at its limit, shared by the families that list what they find.
#pragma once

#include <cstdint>
#include <string>

namespace tabvet {

/// "(Report limit (25) reached. There may be more errors.)"
inline std::string ReportLimitReached(std::int16_t limit) {
    return "(Report limit (" + std::to_string(limit) + ") reached. There may be more errors.)";
}

}  // namespace tabvet
