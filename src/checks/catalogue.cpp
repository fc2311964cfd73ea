// Each check family adds its classes here at their catalogue positions; nothing else decides the order.
#include "catalogue.h"

#include "environment_checks.h"

namespace tabvet {

std::vector<std::unique_ptr<IAdoTest>> CreateCatalogueTests(const TestEnvironment& environment) {
    std::vector<std::unique_ptr<IAdoTest>> tests;
    tests.push_back(std::make_unique<clsTst_IsDbmsRunning>(environment));  // 1
    tests.push_back(std::make_unique<clsTst_LyrTblExists>(environment));   // 2
    return tests;
}

}  // namespace tabvet
