// A data-access connection: open, close, state and an error list; statements run through Query.
#pragma once

#include <string>

#include "error_list.h"
#include "result_table.h"

namespace tabvet {

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

    /// Runs one statement and reads all its rows into `out`. The error list is emptied first; on failure
    /// it holds every record of the failure and the result is false. A text with a statement separator
    /// or a comment is never sent.
    bool Query(const std::string& sql, ResultTable& out);

  protected:
    virtual bool DoOpen(const std::string& connectionString) = 0;
    virtual bool DoQuery(const std::string& sql, ResultTable& out) = 0;

  private:
    ErrorList errors_;
};

}  // namespace tabvet
