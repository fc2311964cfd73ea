// A few extra connections that run a check's independent probes ahead of it: a run then costs about one
// round trip per connection's worth of probes instead of one per probe, however far away the server is.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "connection.h"
#include "statements_ahead.h"

namespace tabvet {

/// What a script sends its statements through.
class ProbeSender {
  public:
    virtual ~ProbeSender() = default;
    /// Runs `sql` and keeps its outcome; true when it worked (its error list stayed empty), which is what a
    /// script decides its next statement by.
    virtual bool Send(const std::string& sql) = 0;
};

/// The statements of one entry of a check (a row, a layer), sent in the order the check sends them. It must
/// decide as the check does and may not touch anything the check uses: it runs on another thread.
using ProbeScript = std::function<void(ProbeSender&)>;

/// One queued script and the outcomes it has given so far.
class ProbeTask;

/// Connections opened with the main connection's string and timeouts, each on a thread of its own, that
/// run queued scripts in the order they were queued. A connection that cannot be opened, or that is lost,
/// leaves the pool; scripts nobody took are withdrawn by the thread that waits for them, which then sends
/// the statements itself. Opened at the first script and closed when the pool ends.
class ProbePool {
  public:
    /// `connections` are closed connections with their timeouts set; they open with `connectionString`.
    ProbePool(std::vector<std::unique_ptr<Connection>> connections, std::string connectionString);
    /// Waits for the statements that run, then closes every connection.
    ~ProbePool();
    ProbePool(const ProbePool&) = delete;
    ProbePool& operator=(const ProbePool&) = delete;

    /// How many connections the pool was given (some may have failed to open).
    std::size_t Size() const { return size_; }

    /// Queues a script.
    std::shared_ptr<ProbeTask> Submit(ProbeScript script);
    /// True, and the task is withdrawn, when no connection has begun it.
    bool Withdraw(ProbeTask& task);
    /// The outcome after the first `taken` of `task`, waiting while the task runs; nothing once it ended
    /// without one.
    std::optional<StatementOutcome> Next(ProbeTask& task, std::size_t taken);
    /// Waits for `task` to end (withdrawing it if nobody began it) and gives what its outcomes after the
    /// first `taken` sent, for the statement trace.
    std::vector<std::string> Drop(ProbeTask& task, std::size_t taken);

    /// Safe from any thread: cancels the statement running on each connection, and every later statement
    /// of the pool fails at once, as on a cancelled connection.
    void Cancel();

  private:
    void Work(std::unique_ptr<Connection> conn);
    void Start();

    const std::size_t size_;
    const std::string connectionString_;
    std::vector<std::unique_ptr<Connection>> waiting_;  // not yet handed to their threads
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<ProbeTask>> queue_;  // not yet begun, first queued first
    std::vector<Connection*> open_;                 // to cancel
    bool cancelled_ = false;
    bool quitting_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace tabvet
