// A connection that answers statements from a script. Only for states no real driver produces (a fresh
// cursor past its last row, Informix naming) and for checking what a component sends.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "db/connection.h"
#include "db/statement_trace.h"

namespace tabvet::testsupport {

/// What a scripted statement gives back: rows, or a failure with error entries.
struct ScriptedAnswer {
    std::vector<std::vector<FieldValue>> rows{};
    std::size_t columns = 0;
    std::vector<AdoError> errors{};  ///< non-empty: the statement fails with these entries
    bool freshCursorAfterLast = false;
};

/// Rows from text cells; std::nullopt stands for NULL.
inline ScriptedAnswer Rows(std::size_t columns, std::vector<std::vector<FieldValue>> rows) {
    return {.rows = std::move(rows), .columns = columns};
}

inline ScriptedAnswer Failure(std::vector<AdoError> errors) {
    return {.errors = std::move(errors)};
}

class ScriptedConnection final : public Connection {
  public:
    /// Answers `sql` exactly; statements without an answer fail like a missing table.
    void Answer(const std::string& sql, ScriptedAnswer answer) { answers_[sql] = std::move(answer); }
    /// Answers every statement that no exact answer covers.
    void AnswerOthers(std::function<ScriptedAnswer(const std::string&)> answer) {
        fallback_ = std::move(answer);
    }

    /// Every statement that reached the connection, in order.
    const std::vector<std::string>& Sent() const { return sent_; }

    void Close() override { open_ = false; }
    int State() const override { return open_ ? kStateOpen : kStateClosed; }

  protected:
    bool DoOpen(const std::string&) override {
        open_ = true;
        return true;
    }
    bool DoQuery(const std::string& sql, ResultTable& out) override {
        // In place of a driver: what reaches it is traced, as the ODBC door traces what reaches a real one.
        StatementTrace::Record(sql);
        sent_.push_back(sql);
        const auto it = answers_.find(sql);
        const ScriptedAnswer answer = it != answers_.end() ? it->second
                                      : fallback_
                                          ? fallback_(sql)
                                          : Failure({{1, "ERROR: no scripted answer for this statement"}});
        for (const AdoError& error : answer.errors) {
            Errors().Add(error);
        }
        if (!answer.errors.empty()) {
            return false;
        }
        out.columns = answer.columns;
        for (const auto& row : answer.rows) {
            out.cells.insert(out.cells.end(), row.begin(), row.end());
        }
        out.freshCursorAfterLast = answer.freshCursorAfterLast;
        return true;
    }

  private:
    bool open_ = false;
    std::map<std::string, ScriptedAnswer> answers_;
    std::function<ScriptedAnswer(const std::string&)> fallback_;
    std::vector<std::string> sent_;
};

}  // namespace tabvet::testsupport
