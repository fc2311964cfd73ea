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

/// A referential-integrity test: fills in what all of them share (category, not fatal, Oracle, SQL Server
/// and Informix) around the row's own name, texts, DB2 flag and version rule.
constexpr TestDefinition ReferentialIntegrity(TestDefinition definition) {
    definition.category = category::kReferentialIntegrity;
    definition.fatal = false;
    definition.worksWithOracle = true;
    definition.worksWithSqlServer = true;
    definition.worksWithInformix = true;
    return definition;
}

}  // namespace tabvet
