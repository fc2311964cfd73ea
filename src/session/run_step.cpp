// The window's side of a run: readiness, the run flag, and the log and panel the run writes into.
#include "run_step.h"

#include "framework/test_run.h"

namespace tabvet {
namespace {

// The run's log as the window shows it: the status log and the first panel of the status bar.
class WindowRunLog final : public RunLog {
  public:
    explicit WindowRunLog(MainState& state) : state_(state) {}
    void Append(const std::string& text) override { SetStatusWindow(state_, text, true); }
    void Progress(const std::string& text) override { SetRunStatusBarText(state_, text); }
    std::string Now() const override { return state_.now(); }

  private:
    MainState& state_;
};

}  // namespace

bool IsReadyToRun(const MainState& state) {
    return state.g_pAdoConn != nullptr && state.g_pTestCollection != nullptr &&
           state.selectedDbms != DbmsOption::None && state.g_pTestCollection->Count() >= 1 &&
           VersionBoxNumber(state.txtMajorVersion) != 0;
}

bool ShouldRunTest(const MainState& state, const std::int16_t& i) {
    if (state.g_pTestCollection == nullptr) {
        return false;
    }
    const IAdoTest* test = state.g_pTestCollection->Item(i);
    return test != nullptr && !WhyNotRun(*test, TargetOf(state));
}

void ProcessRunTests(MainState& state) {
    if (!IsReadyToRun(state)) {
        state.Ui().ShowMessage("Please Select Server Type (DBMS type and Tessel version)", "Need Server Type",
                               MsgButtons::Ok, MsgIcon::None);
        return;
    }
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    const RunPlan plan = PlanRun(catalogue, TargetOf(state), state.checkSelection);
    state.g_bTestsWereRun = true;
    WindowRunLog log(state);
    ExecuteRun(plan, catalogue, state.g_pAdoConn.get(), log, state.lastRun, &state.runStop);
}

void SetStatusWindow(MainState& state, const std::string& message, bool keepOld) {
    if (keepOld) {
        state.rtbStatus += message;
    } else {
        state.rtbStatus = message;
    }
    state.View().StatusLogChanged();
}

void SetRunStatusBarText(MainState& state, const std::string& NewText) {
    state.stsRunFeedback = NewText;
    state.View().StatusBarChanged();
}

void ClearRunStatus(MainState& state) {
    SetStatusWindow(state, "");
}

}  // namespace tabvet
