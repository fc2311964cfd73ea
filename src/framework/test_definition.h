// The fixed identity of a test: texts, applicability flags and version rule.
#pragma once

#include "version_rules.h"

namespace tabvet {

namespace category {
inline constexpr const char* kEnvironment = "Environment";
inline constexpr const char* kMissingSystemTables = "Missing system tables";
inline constexpr const char* kReferentialIntegrity = "Referential Integrity";
inline constexpr const char* kIndexAnalysis = "Index Analysis";
}  // namespace category

/// What never changes about a test. The catalogue holds one per position.
struct TestDefinition {
    const char* name = "";
    const char* category = "";
    bool fatal = false;      ///< a constant of the contract that nothing in the program consults
    bool oracle = false;     ///< works with Oracle
    bool sqlServer = false;  ///< works with SQL Server
    bool informix = false;   ///< works with Informix
    bool db2 = false;        ///< works with DB2
    VersionRule versionRule = VersionRule::V1;
    const char* description = "";
};

}  // namespace tabvet
