// Per-test timing for the headless results, measured around each test without touching the run itself.
#pragma once

#include <memory>

#include "framework/main_state.h"
#include "report/results_json.h"

namespace tabvet {

/// While it lives, every test of the catalogue is reached through a wrapper that times its Run and notes
/// an escaping error in `record.tests`; everything else passes straight through. The catalogue is put
/// back as it was when the timer goes away.
class RunTimer {
  public:
    RunTimer(MainState& state, RunRecord& record);
    RunTimer(const RunTimer&) = delete;
    RunTimer& operator=(const RunTimer&) = delete;
    ~RunTimer();

  private:
    MainState& state_;
    std::unique_ptr<clsAdoTestCollection> original_;
};

}  // namespace tabvet
