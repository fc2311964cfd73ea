// What bounds an unattended run: a total time limit and the stop signals, watched by a thread of their own.
#pragma once

#include <chrono>
#include <csignal>
#include <thread>

#include "framework/run_stop.h"

namespace tabvet {

/// While it lives, the first SIGINT or SIGTERM, or the time limit passing, asks `stop` to stop the run (which
/// cancels the running statement); a second signal ends the process at once. One guard at a time; the
/// signals' earlier handling comes back when it ends.
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
    int wake_[2] = {-1, -1};  // read end for the watcher; the signal handler and the destructor write
    struct sigaction earlierInt_ {};
    struct sigaction earlierTerm_ {};
    std::thread watcher_;
};

}  // namespace tabvet
