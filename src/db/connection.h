// A data-access connection: open, close, state and an error list; statements run through Query.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "error_list.h"
#include "result_table.h"
#include "statements_ahead.h"

namespace tabvet {

/// How long the driver may wait, in seconds; 0 is no limit. The defaults are those of the classic layer
/// the checks were written for.
struct ConnectionTimeouts {
    static constexpr unsigned kDefaultLoginSeconds = 15;
    static constexpr unsigned kDefaultStatementSeconds = 30;
    unsigned loginSeconds = kDefaultLoginSeconds;          ///< to connect
    unsigned statementSeconds = kDefaultStatementSeconds;  ///< per statement
};

/// The error-list entry of a statement refused after Cancel: the classic "operation cancelled" number.
inline constexpr std::int32_t kStatementCancelledNumber = 3712;
inline constexpr const char* kStatementCancelledText = "Statement not sent: the run was stopped";

/// The connection the checks run on. The real one talks ODBC; tests may script one for states that no
/// real driver produces.
class Connection {
  public:
    static constexpr int kStateClosed = 0;
    static constexpr int kStateOpen = 1;

    virtual ~Connection() = default;
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Opens the connection; false on failure, with every diagnostic record in the error list.
    /// The error list is emptied first.
    bool Open(const std::string& connectionString);
    /// Closes an open connection; does nothing when closed.
    virtual void Close() = 0;
    /// 0 closed, 1 open.
    virtual int State() const = 0;

    ErrorList& Errors() { return errors_; }
    const ErrorList& Errors() const { return errors_; }

    /// The timeouts of the next Open and of the statements after it.
    void SetTimeouts(const ConnectionTimeouts& timeouts) { timeouts_ = timeouts; }
    const ConnectionTimeouts& Timeouts() const { return timeouts_; }

    /// Safe from another thread: cancels the statement running now, and every later Query fails at once
    /// (with kStatementCancelledNumber) until the next Open. So a stopped run is never held up by the rest
    /// of the test that was running.
    void Cancel();
    bool Cancelled() const { return cancelled_; }

    /// Runs one statement and reads all its rows into `out`. The error list is emptied first; on failure
    /// it holds every record of the failure and the result is false. A text with a statement separator
    /// or a comment is never sent. A statement run ahead for this connection is not sent again: its outcome
    /// is taken as it was, error list included.
    bool Query(const std::string& sql, ResultTable& out);

    /// While set, Query takes the outcomes of statements run ahead from `ahead` (null: none). Used only by
    /// the thread that queries.
    void TakeAheadFrom(StatementsAhead* ahead) { ahead_ = ahead; }

    /// A new, closed connection of the same kind, to run probes beside this one; nothing when this kind
    /// has none (a scripted connection, or one whose statements a test counts): the run then uses this
    /// connection alone.
    virtual std::unique_ptr<Connection> NewProbeConnection() const { return nullptr; }
    /// Asked after a failed statement: true when the connection can no longer reach its server.
    virtual bool Lost() const { return false; }

  protected:
    virtual bool DoOpen(const std::string& connectionString) = 0;
    virtual bool DoQuery(const std::string& sql, ResultTable& out) = 0;
    /// Interrupts the statement running now, called from another thread; a scripted connection has none.
    virtual void DoCancel() {}

  private:
    ErrorList errors_;
    ConnectionTimeouts timeouts_;
    std::atomic<bool> cancelled_ = false;
    StatementsAhead* ahead_ = nullptr;
};

}  // namespace tabvet
