// A request, from another thread, that a run stop after the test now running: a time limit or a signal.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "db/connection.h"
#include "db/probe_pool.h"

namespace tabvet {

/// Shared by the run, which asks between tests whether to go on, and a watcher thread, which asks it to stop.
/// The watched connection has its running statement cancelled, so the test then running ends soon.
class RunStop {
  public:
    /// Asks the run to stop, for `why` (the first request's reason stands), and cancels the statement
    /// running on the watched connection. Safe from any thread.
    void Request(const std::string& why);
    /// Cancels again: a cancel that reached the driver just before its statement began is lost.
    void CancelAgain();
    /// Why a stop was asked for; nothing while none was.
    std::optional<std::string> Requested() const;

    /// The connection whose statements a stop cancels (null: none). The caller keeps it alive until it
    /// watches another or none. A stop already asked for cancels it at once.
    void Watch(Connection* conn);
    /// The extra connections of the run now going on (null: none), cancelled with the watched one and after
    /// it, so that an outcome of theirs that a stop changed is taken only once the main connection is
    /// cancelled too. The caller keeps the pool alive until it watches none.
    void WatchProbes(ProbePool* probes);

  private:
    void CancelWatched();

    mutable std::mutex mutex_;
    std::optional<std::string> why_;
    Connection* watched_ = nullptr;
    ProbePool* probes_ = nullptr;
};

}  // namespace tabvet
