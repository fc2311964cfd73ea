// The state every test carries and the accessors of the contract, written once for all test classes.
#pragma once

#include <string>

#include "iado_test.h"
#include "test_definition.h"
#include "test_environment.h"

namespace tabvet {

/// Common test state: constructed with "Not Run", Pass false, WasRun false, Enabled true.
/// Subclasses supply Run only.
class AdoTestBase : public IAdoTest {
  public:
    AdoTestBase(const TestDefinition& definition, const TestEnvironment& environment);

    const std::string& Name() const override { return name_; }
    const std::string& Category() const override { return category_; }
    const std::string& Description() const override { return description_; }
    const std::string& ResultDetails() const override { return resultDetails_; }
    bool Pass() const override { return pass_; }
    bool Fatal() const override { return definition_.fatal; }
    bool WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                          const std::int16_t& bugfix) const override;
    bool WorksWithOracle() const override { return definition_.worksWithOracle; }
    bool WorksWithInformix() const override { return definition_.worksWithInformix; }
    bool WorksWithDB2() const override { return definition_.worksWithDb2; }
    bool WorksWithSqlServer() const override { return definition_.worksWithSqlServer; }
    bool WasRun() const override { return wasRun_; }
    void WasRun(bool vSetting) override { wasRun_ = vSetting; }
    bool Enabled() const override { return enabled_; }
    void Enable(bool vSetting) override { enabled_ = vSetting; }

    const TestDefinition& Definition() const { return definition_; }

  protected:
    const TestEnvironment& Environment() const { return environment_; }

    // Run state, in the order the contract lists it.
    std::string resultDetails_ = "Not Run";
    bool pass_ = false;
    bool wasRun_ = false;

  private:
    const TestDefinition& definition_;
    const TestEnvironment& environment_;
    std::string category_;
    std::string description_;
    std::string name_;
    bool enabled_ = true;
};

/// The texts shared by every test.
namespace common_text {
inline constexpr const char* kNoConnection = "No ADO connection passed to test";
inline constexpr const char* kCannotTranslateName = "Cannot translate system table name";
inline constexpr const char* kCannotTranslateNames = "Cannot translate system table names";
inline constexpr const char* kRunning = "Running";
inline constexpr const char* kCrLf = "\r\n";
}  // namespace common_text

}  // namespace tabvet
