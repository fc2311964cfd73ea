// What bounds an unattended run: a total time limit and the stop signals, watched by a thread of their own.
#pragma once

#include <chrono>
#include <thread>

#include "framework/run_stop.h"
#include "stop_signals.h"

namespace tabvet {

/// While it lives, the first stop signal (SIGINT, SIGTERM; Ctrl+C, Ctrl+Break on Windows) or the time limit
/// passing asks `stop` to stop the run (which cancels the running statement); a second signal ends the
/// process at once. One guard at a time; the signals' earlier handling comes back when it ends.
class RunGuard {
  public:
    /// `timeLimitSeconds` counts from now; 0 is no limit.
    RunGuard(RunStop& stop, unsigned timeLimitSeconds);
    ~RunGuard();
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;

  private:
    void Watch();

    RunStop& stop_;
    unsigned timeLimitSeconds_;
    std::chrono::steady_clock::time_point deadline_;
    StopSignals signals_;
    std::thread watcher_;
};

}  // namespace tabvet
