// The fixed identity of a test class: texts, applicability flags and version rule.
#pragma once

#include "version_rules.h"

namespace tabvet {

namespace category {
inline constexpr const char* kEnvironment = "Environment";
inline constexpr const char* kMissingSystemTables = "Missing system tables";
inline constexpr const char* kReferentialIntegrity = "Referential Integrity";
inline constexpr const char* kIndexAnalysis = "Index Analysis";
}  // namespace category

/// What never changes about a test class. Each check family declares one of these per class in a table.
struct TestDefinition {
    const char* className = "";
    const char* name = "";
    const char* category = "";
    const char* description = "";
    bool fatal = false;
    bool worksWithOracle = false;
    bool worksWithSqlServer = false;
    bool worksWithInformix = false;
    bool worksWithDb2 = false;
    VersionRule versionRule = VersionRule::V1;
};

}  // namespace tabvet
