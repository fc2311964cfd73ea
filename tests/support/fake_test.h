// A test object whose every member is set by the test that uses it: for the report, the run bookkeeping
// and the results file, where only what a test reports matters, not how it got there.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "framework/ado_test_collection.h"
#include "framework/iado_test.h"
#include "framework/version_rules.h"

namespace tabvet::testsupport {

class FakeTest final : public IAdoTest {
  public:
    struct State {
        std::string name, category = "Referential Integrity", description = "A test",
                          resultDetails = "Not Run";
        bool pass = false, wasRun = false, enabled = true;
        VersionRule versionRule = VersionRule::V1;
        bool oracle = true, informix = true, db2 = true, sqlServer = true;
        std::function<void(State&)> onRun = nullptr;  ///< what Run does besides marking the test run
    };

    explicit FakeTest(State state) : s_(std::move(state)) {}

    void Run(Connection*) override {
        s_.wasRun = true;
        if (s_.onRun) {
            s_.onRun(s_);
        }
    }
    const std::string& Name() const override { return s_.name; }
    const std::string& Category() const override { return s_.category; }
    const std::string& Description() const override { return s_.description; }
    const std::string& ResultDetails() const override { return s_.resultDetails; }
    bool Pass() const override { return s_.pass; }
    bool Fatal() const override { return false; }
    bool WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                          const std::int16_t& bugfix) const override {
        return AcceptsVersion(s_.versionRule, major, minor, bugfix);
    }
    bool WorksWithOracle() const override { return s_.oracle; }
    bool WorksWithInformix() const override { return s_.informix; }
    bool WorksWithDB2() const override { return s_.db2; }
    bool WorksWithSqlServer() const override { return s_.sqlServer; }
    bool WasRun() const override { return s_.wasRun; }
    void WasRun(bool vSetting) override { s_.wasRun = vSetting; }
    bool Enabled() const override { return s_.enabled; }
    void Enable(bool vSetting) override { s_.enabled = vSetting; }

  private:
    State s_;
};

/// A catalogue of fake tests in the given order.
inline std::unique_ptr<clsAdoTestCollection> FakeCatalogue(std::vector<FakeTest::State> states) {
    std::vector<std::unique_ptr<IAdoTest>> tests;
    for (FakeTest::State& state : states) {
        tests.push_back(std::make_unique<FakeTest>(std::move(state)));
    }
    return std::make_unique<clsAdoTestCollection>(std::move(tests));
}

}  // namespace tabvet::testsupport
