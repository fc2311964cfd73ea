// The catalogue: every test in its fixed position, which is the run order and the report order.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "framework/iado_test.h"
#include "framework/test_environment.h"

namespace tabvet {

/// One object of each test class, in catalogue order.
std::vector<std::unique_ptr<IAdoTest>> CreateCatalogueTests(const TestEnvironment& environment);

/// One object of the test class named `className` ("clsTst_OrphLyr"); null for a name the catalogue does
/// not hold.
std::unique_ptr<IAdoTest> CreateCheck(std::string_view className, const TestEnvironment& environment);

}  // namespace tabvet
