// Outcomes of statements run ahead of time on other connections, handed to the connection that would have
// sent them, so that its error list and results are the ones it would have had itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "error_list.h"
#include "result_table.h"

namespace tabvet {

/// What Connection::Query gave for one statement on another connection.
struct StatementOutcome {
    std::string statement;  ///< the text that was run
    bool ok = false;
    ResultTable rows;
    ErrorList errors;                 ///< the other connection's error list right after the statement
    std::vector<std::string> traced;  ///< what reached that connection's driver, for the statement trace
    bool connectionLost = false;      ///< that connection broke: the outcome says nothing about the statement
};

/// Where a connection takes the outcomes of statements that were run ahead for it.
class StatementsAhead {
  public:
    virtual ~StatementsAhead() = default;
    /// The outcome of `sql` when it was run ahead as the statement the connection sends next, waiting for it
    /// while it still runs; nothing when it was not (the connection then sends it itself).
    virtual std::optional<StatementOutcome> Take(const std::string& sql) = 0;
};

}  // namespace tabvet
