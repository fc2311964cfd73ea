// The catalogue's fixed order, readable top to bottom like a table.
#pragma once

#include <memory>
#include <vector>

#include "framework/iado_test.h"
#include "framework/test_environment.h"

namespace tabvet {

/// One object of each test class, in catalogue order (the run and report order).
std::vector<std::unique_ptr<IAdoTest>> CreateCatalogueTests(const TestEnvironment& environment);

}  // namespace tabvet
