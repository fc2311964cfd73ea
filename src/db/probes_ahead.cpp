// An outcome is used only for the very statement that produced it, at the very point the check sends it;
// whatever does not line up is dropped and sent again on the check's connection.
#include "probes_ahead.h"

#include "statement_trace.h"

namespace tabvet {
namespace {

// Queued scripts per connection: one running and one waiting, so that no connection idles between two.
constexpr std::size_t kScriptsPerConnection = 2;

}  // namespace

ProbesAhead::ProbesAhead(ProbePool* pool, Connection& conn) : pool_(pool), conn_(conn) {
    if (pool_ != nullptr) {
        conn_.TakeAheadFrom(this);
    }
}

ProbesAhead::~ProbesAhead() {
    if (pool_ == nullptr) {
        return;
    }
    conn_.TakeAheadFrom(nullptr);
    try {
        DropCurrent();
        for (const Entry& entry : queued_) {
            StatementTrace::Write(pool_->Drop(*entry.task, 0));
        }
    } catch (...) {
        // Only the trace of statements nobody used is at stake.
    }
}

std::size_t ProbesAhead::Depth() const {
    return pool_ != nullptr ? kScriptsPerConnection * pool_->Size() : 0;
}

void ProbesAhead::Submit(std::size_t key, ProbeScript script) {
    if (pool_ != nullptr) {
        queued_.push_back({key, pool_->Submit(std::move(script))});
    }
}

void ProbesAhead::Enter(std::size_t key) {
    if (pool_ == nullptr) {
        return;
    }
    DropCurrent();
    while (!queued_.empty() && queued_.front().key < key) {
        StatementTrace::Write(pool_->Drop(*queued_.front().task, 0));
        queued_.pop_front();
    }
    if (queued_.empty() || queued_.front().key != key) {
        return;
    }
    std::shared_ptr<ProbeTask> task = std::move(queued_.front().task);
    queued_.pop_front();
    // When no connection of the pool has begun it, this connection is the one free to send it.
    if (!pool_->Withdraw(*task)) {
        current_ = std::move(task);
        taken_ = 0;
    }
}

std::optional<StatementOutcome> ProbesAhead::Take(const std::string& sql) {
    if (current_ == nullptr) {
        return std::nullopt;
    }
    std::optional<StatementOutcome> outcome = pool_->Next(*current_, taken_);
    if (!outcome) {
        current_ = nullptr;  // the script ended before this statement: the rest is sent here
        return std::nullopt;
    }
    ++taken_;
    if (outcome->statement != sql) {
        // The check went another way than its script: this outcome is of no use, but it was sent.
        StatementTrace::Write(outcome->traced);
        DropCurrent();
        return std::nullopt;
    }
    if (outcome->connectionLost) {
        DropCurrent();  // that connection is gone; the outcome still goes to the trace if it was sent
    }
    return outcome;
}

void ProbesAhead::DropCurrent() {
    if (current_ != nullptr) {
        StatementTrace::Write(pool_->Drop(*current_, taken_));
        current_ = nullptr;
    }
}

}  // namespace tabvet
