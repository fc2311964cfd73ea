// The pool's threads never decide anything the user sees: they only send statements and keep what came
// back. Whatever goes wrong on one of them (it cannot connect, its link breaks, a script fails) makes the
// pool smaller or leaves statements to the main connection, never changes an outcome.
#include "probe_pool.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "statement_trace.h"

namespace tabvet {

class ProbeTask {
  public:
    enum class Stage { Queued, Running, Ended, Withdrawn };

    explicit ProbeTask(ProbeScript probes) : script(std::move(probes)) {}

    ProbeScript script;
    Stage stage = Stage::Queued;
    std::vector<StatementOutcome> outcomes;
};

namespace {

// Connecting and disconnecting happen one at a time across the pool's threads: psqlODBC switches the
// process's locale while it connects, and another thread's connect then reads freed memory.
std::mutex& ConnectMutex() {
    static std::mutex mutex;
    return mutex;
}

// The link failed (SQLSTATE class 08) or the server ended the session (57P01 to 57P03: shut down, crashed,
// or the session was terminated by an administrator). psqlODBC reports a session ended while idle as 57P01
// on the next statement, before it can tell that the connection is dead. A cancelled statement (57014)
// is not among them: it is what the run's own connection would have reported.
bool IsConnectionFailure(const ErrorList& errors) {
    static constexpr std::array<std::string_view, 3> kSessionEnded = {"57P01", "57P02", "57P03"};
    for (std::int32_t i = 0; i < errors.Count(); ++i) {
        const std::string& state = errors.Item(i).sqlState;
        if (state.starts_with("08") || std::ranges::find(kSessionEnded, state) != kSessionEnded.end()) {
            return true;
        }
    }
    return false;
}

// Sends a script's statements on one pool connection and hands each outcome over as soon as it is there.
class PoolSender final : public ProbeSender {
  public:
    PoolSender(Connection& conn, ProbeTask& task, std::mutex& mutex, std::condition_variable& changed)
        : conn_(conn), task_(task), mutex_(mutex), changed_(changed) {}

    bool Send(const std::string& sql) override {
        if (lost_) {
            return false;  // the rest of the script is left to the main connection
        }
        StatementOutcome outcome;
        outcome.statement = sql;
        {
            const StatementTrace::Deferral deferral(outcome.traced);
            outcome.ok = conn_.Query(sql, outcome.rows);
        }
        outcome.errors = conn_.Errors();
        const bool worked = conn_.Errors().Count() == 0;
        // A stopped run is no broken link: its refusals and cancelled statements are what the main
        // connection would have given.
        if (!worked && !conn_.Cancelled() && (conn_.Lost() || IsConnectionFailure(outcome.errors))) {
            lost_ = true;
            outcome.connectionLost = true;
        }
        {
            const std::lock_guard lock(mutex_);
            task_.outcomes.push_back(std::move(outcome));
        }
        changed_.notify_all();
        return worked;
    }

    bool LostConnection() const { return lost_; }

  private:
    Connection& conn_;
    ProbeTask& task_;
    std::mutex& mutex_;
    std::condition_variable& changed_;
    bool lost_ = false;
};

}  // namespace

ProbePool::ProbePool(std::vector<std::unique_ptr<Connection>> connections, std::string connectionString)
    : size_(connections.size()),
      connectionString_(std::move(connectionString)),
      waiting_(std::move(connections)) {}

ProbePool::~ProbePool() {
    {
        const std::lock_guard lock(mutex_);
        quitting_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void ProbePool::Start() {
    for (std::unique_ptr<Connection>& conn : waiting_) {
        try {
            threads_.emplace_back(&ProbePool::Work, this, std::move(conn));
        } catch (const std::system_error&) {
            // No thread to be had: the pool makes do with fewer connections.
        }
    }
    waiting_.clear();
}

std::shared_ptr<ProbeTask> ProbePool::Submit(ProbeScript script) {
    auto task = std::make_shared<ProbeTask>(std::move(script));
    {
        const std::lock_guard lock(mutex_);
        if (!waiting_.empty()) {
            Start();
        }
        queue_.push_back(task);
    }
    changed_.notify_all();
    return task;
}

bool ProbePool::Withdraw(ProbeTask& task) {
    const std::lock_guard lock(mutex_);
    if (task.stage != ProbeTask::Stage::Queued) {
        return false;
    }
    queue_.erase(std::find_if(queue_.begin(), queue_.end(), [&](const auto& t) { return t.get() == &task; }));
    task.stage = ProbeTask::Stage::Withdrawn;
    return true;
}

std::optional<StatementOutcome> ProbePool::Next(ProbeTask& task, std::size_t taken) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] {
        return task.outcomes.size() > taken || task.stage == ProbeTask::Stage::Ended ||
               task.stage == ProbeTask::Stage::Withdrawn;
    });
    if (task.outcomes.size() > taken) {
        return std::move(task.outcomes[taken]);
    }
    return std::nullopt;
}

std::vector<std::string> ProbePool::Drop(ProbeTask& task, std::size_t taken) {
    if (Withdraw(task)) {
        return {};
    }
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return task.stage != ProbeTask::Stage::Running; });
    std::vector<std::string> sent;
    for (std::size_t i = taken; i < task.outcomes.size(); ++i) {
        sent.insert(sent.end(), task.outcomes[i].traced.begin(), task.outcomes[i].traced.end());
    }
    return sent;
}

void ProbePool::Cancel() {
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
    for (Connection* conn : open_) {
        conn->Cancel();
    }
}

void ProbePool::Work(std::unique_ptr<Connection> conn) {
    {
        const std::lock_guard connecting(ConnectMutex());
        if (!conn->Open(connectionString_)) {
            return;  // the run goes on with the connections that opened
        }
    }
    {
        const std::lock_guard lock(mutex_);
        open_.push_back(conn.get());
        if (cancelled_) {
            conn->Cancel();
        }
    }
    for (;;) {
        std::shared_ptr<ProbeTask> task;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return quitting_ || !queue_.empty(); });
            if (quitting_) {
                break;
            }
            task = queue_.front();
            queue_.pop_front();
            task->stage = ProbeTask::Stage::Running;
        }
        PoolSender sender(*conn, *task, mutex_, changed_);
        try {
            task->script(sender);
        } catch (...) {
            // The statements it did not get to are sent by the main connection, which meets the same
            // failure where the check expects it.
        }
        {
            const std::lock_guard lock(mutex_);
            task->stage = ProbeTask::Stage::Ended;
        }
        changed_.notify_all();
        if (sender.LostConnection()) {
            break;
        }
    }
    {
        const std::lock_guard lock(mutex_);
        open_.erase(std::find(open_.begin(), open_.end(), conn.get()));
    }
    const std::lock_guard disconnecting(ConnectMutex());
    conn->Close();
}

}  // namespace tabvet
