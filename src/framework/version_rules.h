// The four rules by which a test accepts a Tessel release.
#pragma once

#include <cstdint>

namespace tabvet {

enum class VersionRule {
    V1,  ///< major is 8, 3 or 9
    V2,  ///< major is 8 or 9
    V3,  ///< 8.2 and later 8.x, and every 9.x
    V4,  ///< 8.2 and later 8.x, and 9.0 only
};

/// Whether a test under `rule` accepts the release; bugfix is accepted by every rule and used by none.
constexpr bool AcceptsVersion(VersionRule rule, std::int16_t major, std::int16_t minor,
                              std::int16_t /*bugfix*/) {
    switch (rule) {
        case VersionRule::V1:
            return major == 8 || major == 3 || major == 9;
        case VersionRule::V2:
            return major == 8 || major == 9;
        case VersionRule::V3:
            return (major == 8 && minor >= 2) || major == 9;
        case VersionRule::V4:
            return (major == 8 && minor >= 2) || (major == 9 && minor == 0);
    }
    return false;
}

}  // namespace tabvet
