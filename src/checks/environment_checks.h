// The two checks that establish there is a Tessel instance to check: VERSION readable, LAYERS present.
#pragma once

#include <memory>

#include "framework/iado_test.h"
#include "framework/test_definition.h"
#include "framework/test_environment.h"

namespace tabvet {

/// The constant part of an environment check.
struct EnvironmentCheckRow {
    const char* systemTable;
    const char* selectList;  ///< followed directly by the qualified table name
    const char* errorPrefix;
    bool readsVersionRow;  ///< VERSION: the result text is the first row; LAYERS: a fixed text
    const char* passText;
};

/// The family's table: one row per check.
struct EnvironmentChecks {
    EnvironmentCheckRow isDbmsRunning;
    EnvironmentCheckRow lyrTblExists;
};
extern const EnvironmentChecks kEnvironmentChecks;

/// A test of this family: the one algorithm, run with `row`.
std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const EnvironmentCheckRow& row,
                                    const TestEnvironment& environment);

}  // namespace tabvet
