// The process's stop requests from outside (SIGINT and SIGTERM; Ctrl+C and Ctrl+Break on Windows), caught
// while an object lives and handed to one waiting thread.
#pragma once

#include <memory>
#include <string>

namespace tabvet {

/// What woke a waiter of StopSignals.
struct StopWake {
    enum class Kind { Timeout, Signal, Quit, Broken };
    Kind kind = Kind::Timeout;
    std::string signal;  ///< with Kind::Signal: its name, "SIGINT", "SIGTERM" or "SIGBREAK"
};

/// While it lives, the first stop signal is caught and kept for Wait; the next one ends the process at once,
/// as without tabvet. One at a time per process; the earlier handling comes back when it ends.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Waits up to `waitMs` milliseconds (negative: without a limit) for a signal or Quit. Broken when
    /// waiting is no longer possible.
    StopWake Wait(long long waitMs);
    /// Wakes the waiter with Kind::Quit. Safe from any thread.
    void Quit();

  private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
};

}  // namespace tabvet
