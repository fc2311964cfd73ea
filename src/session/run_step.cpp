// The window's side of a run: readiness, the run flag, and the log and panel the run writes into.
#include "run_step.h"

#include <chrono>
#include <optional>

#include "framework/test_run.h"

namespace tabvet {
namespace {

using Clock = std::chrono::steady_clock;

// A count that changes with every row is shown at most this often: a few times a second.
constexpr auto kWalkRefresh = std::chrono::milliseconds(250);

// "1234 of 10000 rows, 0:12": rows walked, rows to walk, minutes and seconds since the walk began.
std::string WalkText(std::size_t walked, std::size_t toWalk, Clock::duration elapsed) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    const std::string secondsText = std::to_string(seconds % 60);
    return std::to_string(walked) + " of " + std::to_string(toWalk) + " rows, " +
           std::to_string(seconds / 60) + ":" + (secondsText.size() < 2 ? "0" : "") + secondsText;
}

// The run's log as the window shows it: the status log, the first panel of the status bar and, after its
// text, how far the running check has walked.
class WindowRunLog final : public RunLog, public WalkListener {
  public:
    explicit WindowRunLog(MainState& state) : state_(state) {}
    void Append(const std::string& text) override { SetStatusWindow(state_, text, true); }
    void Progress(const std::string& text) override { SetRunStatusBarText(state_, text); }
    std::string Now() const override { return state_.now(); }

    void Walked(std::size_t walked, std::size_t toWalk) override {
        const Clock::time_point now = Clock::now();
        if (!walkBegan_) {
            walkBegan_ = now;
        } else if (now - shown_ < kWalkRefresh) {
            return;
        }
        shown_ = now;
        ShowRows(WalkText(walked, toWalk, now - *walkBegan_));
    }
    void WalkEnded() override {
        walkBegan_.reset();
        ShowRows("");
    }

  private:
    void ShowRows(std::string text) {
        state_.stsRunRows = std::move(text);
        state_.View().RowCountChanged();
    }

    MainState& state_;
    std::optional<Clock::time_point> walkBegan_;
    Clock::time_point shown_;
};

// For one run: the log it writes into, its extra connections (opened at the first probe a check runs ahead
// and closed when the run ends), and the stop that cancels them too.
class RunSupport {
  public:
    explicit RunSupport(MainState& state) : state_(state), log_(state) {
        const Connection* main = state.g_pAdoConn.get();
        std::vector<std::unique_ptr<Connection>> extra;
        for (unsigned i = 1; main != nullptr && i < state.jobs; ++i) {
            std::unique_ptr<Connection> conn = main->NewProbeConnection();
            if (conn == nullptr) {
                break;  // this kind of connection runs alone
            }
            conn->SetTimeouts(main->Timeouts());
            extra.push_back(std::move(conn));
        }
        if (!extra.empty()) {
            probes_ = std::make_unique<ProbePool>(std::move(extra), state.txtConnString);
        }
        state.runProbes = probes_.get();
        state.runWalks = &log_;
        state.runStop.WatchProbes(probes_.get());
    }
    ~RunSupport() {
        state_.runStop.WatchProbes(nullptr);
        state_.runProbes = nullptr;
        state_.runWalks = nullptr;
    }
    RunSupport(const RunSupport&) = delete;
    RunSupport& operator=(const RunSupport&) = delete;

    WindowRunLog& Log() { return log_; }

  private:
    MainState& state_;
    WindowRunLog log_;
    std::unique_ptr<ProbePool> probes_;
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
    RunSupport run(state);
    ExecuteRun(plan, catalogue, state.g_pAdoConn.get(), run.Log(), state.lastRun, &state.runStop);
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

std::string StatusBarText(const MainState& state) {
    return state.stsRunRows.empty() ? state.stsRunFeedback
                                    : state.stsRunFeedback + " (" + state.stsRunRows + ")";
}

void ClearRunStatus(MainState& state) {
    SetStatusWindow(state, "");
}

}  // namespace tabvet
