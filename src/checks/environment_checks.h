// The two checks that establish there is a Tessel instance to check: VERSION readable, LAYERS present.
#pragma once

#include "framework/ado_test_base.h"

namespace tabvet {

struct EnvironmentCheckRow;

/// One algorithm for both environment checks; the class is chosen by its constant row.
class EnvironmentCheck : public AdoTestBase {
  public:
    EnvironmentCheck(const EnvironmentCheckRow& row, const TestEnvironment& environment);
    void Run(Connection* conn) override;

  private:
    const EnvironmentCheckRow& row_;
};

class clsTst_IsDbmsRunning final : public EnvironmentCheck {
  public:
    explicit clsTst_IsDbmsRunning(const TestEnvironment& environment);
};

class clsTst_LyrTblExists final : public EnvironmentCheck {
  public:
    explicit clsTst_LyrTblExists(const TestEnvironment& environment);
};

}  // namespace tabvet
