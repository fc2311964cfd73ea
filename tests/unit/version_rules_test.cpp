// Which Tessel releases each rule accepts: a wrong answer silently skips or runs a whole group of checks.
#include <gtest/gtest.h>

#include "framework/version_rules.h"

namespace tabvet {
namespace {

TEST(VersionRulesTest, AcceptedReleases) {
    struct Case {
        std::int16_t major, minor, bugfix;
        bool v1, v2, v3, v4;
    };
    const Case cases[] = {
        {8, 1, 0, true, true, false, false},
        {8, 2, 0, true, true, true, true},
        {9, 0, 0, true, true, true, true},
        {9, 1, 0, true, true, true, false},
        {3, 0, 0, true, false, false, false},
        {10, 0, 0, false, false, false, false},
        {7, 9, 9, false, false, false, false},
        // Minor numbers compare signed.
        {8, -1, 0, true, true, false, false},
        {9, -1, 0, true, true, true, false},
        {8, 32767, 0, true, true, true, true},
        {8, -32768, 0, true, true, false, false},
        // Bugfix is used by no rule.
        {9, 0, -5, true, true, true, true},
    };
    for (const Case& c : cases) {
        const auto label =
            std::to_string(c.major) + "." + std::to_string(c.minor) + "." + std::to_string(c.bugfix);
        EXPECT_EQ(AcceptsVersion(VersionRule::V1, c.major, c.minor, c.bugfix), c.v1) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V2, c.major, c.minor, c.bugfix), c.v2) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V3, c.major, c.minor, c.bugfix), c.v3) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V4, c.major, c.minor, c.bugfix), c.v4) << label;
    }
}

}  // namespace
}  // namespace tabvet
