// Accessors are trivial; the version rule is the only rule of its own.
#include "ado_test_base.h"

namespace tabvet {

AdoTestBase::AdoTestBase(const TestDefinition& definition, const TestEnvironment& environment)
    : definition_(definition),
      environment_(environment),
      category_(definition.category),
      description_(definition.description),
      name_(definition.name) {}

bool AdoTestBase::WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                                   const std::int16_t& bugfix) const {
    return AcceptsVersion(definition_.versionRule, major, minor, bugfix);
}

}  // namespace tabvet
