// The parts of every connection that do not depend on the driver: error-list discipline and the statement
// rule.
#include "connection.h"

#include "runtime_error.h"
#include "statement_guard.h"
#include "statement_trace.h"

namespace tabvet {

bool Connection::Open(const std::string& connectionString) {
    errors_.Clear();
    cancelled_ = false;
    return DoOpen(connectionString);
}

void Connection::Cancel() {
    cancelled_ = true;
    DoCancel();
}

bool Connection::Query(const std::string& sql, ResultTable& out) {
    errors_.Clear();
    out = ResultTable{};
    if (State() != kStateOpen) {
        errors_.Add(
            {errnum::kConnectionNotUsable,
             "The connection cannot be used to perform this operation. It is either closed or invalid "
             "in this context."});
        return false;
    }
    if (cancelled_) {
        errors_.Add({kStatementCancelledNumber, kStatementCancelledText});
        return false;
    }
    // Taken before the refusal below, which the other connection applied alike, so that the outcomes still
    // line up with the statements that follow. A stop asked for while waiting leaves the outcome as it came:
    // a statement of this connection would have been running then.
    std::optional<StatementOutcome> ahead = ahead_ != nullptr ? ahead_->Take(sql) : std::nullopt;
    if (ahead) {
        StatementTrace::Write(ahead->traced);
    }
    if (!IsSingleStatement(sql)) {
        errors_.Add({kStatementRefusedNumber, kStatementRefusedText});
        return false;
    }
    if (ahead && !ahead->connectionLost) {
        out = std::move(ahead->rows);
        errors_ = std::move(ahead->errors);
        return ahead->ok;
    }
    return DoQuery(sql, out);
}

}  // namespace tabvet
