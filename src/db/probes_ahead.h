// The probes of one check run ahead over a ProbePool and taken by the check's own connection strictly in the
// check's order, so that every result text, finding, limit and escape is what one connection would give.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "probe_pool.h"
#include "statements_ahead.h"

namespace tabvet {

/// Queues the scripts of entries the check will reach and hands their outcomes to the check's connection
/// as it sends the same statements. The check decides how far ahead to queue: never past an entry whose
/// script it could not make, nor past what a report limit lets it reach. Without a pool it does nothing.
class ProbesAhead final : public StatementsAhead {
  public:
    /// Attaches to `conn` for as long as it lives; `pool` may be null.
    ProbesAhead(ProbePool* pool, Connection& conn);
    /// Detaches, and waits for what runs of the scripts not taken, for the statement trace.
    ~ProbesAhead() override;
    ProbesAhead(const ProbesAhead&) = delete;
    ProbesAhead& operator=(const ProbesAhead&) = delete;

    /// Queues the scripts of the entries after those queued so far, from `from` (the check's entry now) to
    /// before `end`, while fewer than `limit` and than the pool can keep busy wait. `scriptOf(entry)` makes
    /// an entry's script, or nothing when the entry sends no statement; when it raises, as the check will at
    /// that entry, nothing more is queued for the check.
    template <typename ScriptOf>
    void Queue(std::size_t from, std::size_t end, std::size_t limit, const ScriptOf& scriptOf) {
        next_ = std::max(next_, from);
        while (!stopped_ && next_ < end && queued_.size() < std::min(limit, Depth())) {
            try {
                std::optional<ProbeScript> script = scriptOf(next_);
                if (script) {
                    Submit(next_, std::move(*script));
                }
            } catch (const std::exception&) {
                stopped_ = true;
                return;
            }
            ++next_;
        }
    }
    /// The check now sends the statements of entry `key`: they are taken from its script as far as it
    /// ran the same statements. Scripts of earlier entries that were not entered are dropped.
    void Enter(std::size_t key);

    std::optional<StatementOutcome> Take(const std::string& sql) override;

  private:
    /// How many scripts are worth queueing ahead: enough to keep every connection busy; 0 without a pool.
    std::size_t Depth() const;
    /// Queues the statements of entry `key`; keys rise in the order the check reaches its entries.
    void Submit(std::size_t key, ProbeScript script);

    struct Entry {
        std::size_t key;
        std::shared_ptr<ProbeTask> task;
    };
    void DropCurrent();

    ProbePool* pool_;
    Connection& conn_;
    std::deque<Entry> queued_;
    std::shared_ptr<ProbeTask> current_;  // the entered script; null: its statements go out as designed
    std::size_t taken_ = 0;               // outcomes of current_ already taken
    std::size_t next_ = 0;                // the first entry whose script was not made yet
    bool stopped_ = false;                // an entry's script could not be made: nothing more is queued
};

}  // namespace tabvet
