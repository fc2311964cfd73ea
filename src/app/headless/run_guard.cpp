// The watcher is an ordinary thread: it may take locks and call the driver, which a signal handler may not.
#include "run_guard.h"

#include <algorithm>
#include <string>

namespace tabvet {
namespace {

// A cancel can reach the driver just before its statement begins, and is then lost: it is sent again
// this often until the run has ended.
constexpr int kCancelAgainMs = 200;
// The longest single wait, so that a limit of years never overflows a wait's timeout.
constexpr long long kLongestWaitMs = 60 * 60 * 1000;

std::string TimeLimitText(unsigned seconds) {
    return "time limit of " + std::to_string(seconds) + (seconds == 1 ? " second" : " seconds") + " reached";
}

}  // namespace

RunGuard::RunGuard(RunStop& stop, unsigned timeLimitSeconds)
    : stop_(stop),
      timeLimitSeconds_(timeLimitSeconds),
      deadline_(std::chrono::steady_clock::now() + std::chrono::seconds(timeLimitSeconds)),
      watcher_([this] { Watch(); }) {}

RunGuard::~RunGuard() {
    signals_.Quit();
    watcher_.join();
}

void RunGuard::Watch() {
    bool stopAsked = false;
    for (;;) {
        long long waitMs = -1;
        if (stopAsked) {
            waitMs = kCancelAgainMs;
        } else if (timeLimitSeconds_ > 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline_ - std::chrono::steady_clock::now());
            waitMs = std::clamp<long long>(left.count(), 0, kLongestWaitMs);
        }
        const StopWake wake = signals_.Wait(waitMs);
        switch (wake.kind) {
            case StopWake::Kind::Quit:
            case StopWake::Kind::Broken:
                return;  // broken: nothing left to watch with; the run goes on unguarded
            case StopWake::Kind::Timeout:
                if (stopAsked) {
                    stop_.CancelAgain();
                } else if (std::chrono::steady_clock::now() >= deadline_) {
                    stop_.Request(TimeLimitText(timeLimitSeconds_));
                    stopAsked = true;
                }
                break;
            case StopWake::Kind::Signal:
                if (!stopAsked) {
                    stop_.Request(wake.signal + " received");
                    stopAsked = true;
                }
                break;
        }
    }
}

}  // namespace tabvet
