// The one door for every ODBC call: it makes the call on an owned handle, names it once, reads every
// diagnostic record of a failure, and writes each statement it sends to the statement trace.
#pragma once

#include "db/odbc_api.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "error_list.h"
#include "statement_trace.h"

namespace tabvet {

/// One diagnostic record as the driver (or driver manager) reported it.
struct DiagRecord {
    std::string sqlState;
    std::int32_t nativeError = 0;
    std::string message;
};

/// Every diagnostic record attached to a handle, in the driver's order.
std::vector<DiagRecord> ReadDiagRecords(SQLSMALLINT handleType, SQLHANDLE handle);

/// What one ODBC call gave back: its return code and, when it failed, every diagnostic record.
class [[nodiscard]] OdbcResult {
  public:
    /// Reads the records of a failed call on `handle` at once, before another call on it replaces them.
    OdbcResult(const char* call, SQLRETURN code, SQLSMALLINT handleType, SQLHANDLE handle);

    SQLRETURN Code() const { return code_; }
    /// SQL_SUCCESS or SQL_SUCCESS_WITH_INFO: warnings never count as failures.
    bool Ok() const { return code_ == SQL_SUCCESS || code_ == SQL_SUCCESS_WITH_INFO; }
    bool NoData() const { return code_ == SQL_NO_DATA; }
    const std::vector<DiagRecord>& Diagnostics() const { return diagnostics_; }

    /// True when the call succeeded. After a failure every record is appended to `errors` (native number and
    /// message), or one entry that names the call when the driver gave none; SQL_NO_DATA adds nothing.
    bool Succeeded(ErrorList& errors) const;

  private:
    const char* call_;
    SQLRETURN code_;
    std::vector<DiagRecord> diagnostics_;
};

/// A statement text for the door: the driver gets its wide form, the statement trace its own text.
struct SentStatement {
    std::string_view text;
    SQLWCHAR* wide;
};

namespace odbc_door {
template <typename Arg>
decltype(auto) Passed(Arg&& arg) {
    if constexpr (std::is_same_v<std::decay_t<Arg>, SentStatement>) {
        return arg.wide;
    } else {
        return std::forward<Arg>(arg);
    }
}
template <typename Arg>
void Trace(const Arg& arg) {
    if constexpr (std::is_same_v<Arg, SentStatement>) {
        StatementTrace::Record(arg.text);
    }
}
}  // namespace odbc_door

/// Calls `function(handle, args...)`, named `call`, and checks it. `Handle` is one of the owners in
/// odbc_handles.h (or anything with Get() and kType); a SentStatement argument is traced before it is sent.
template <typename Handle, typename Function, typename... Args>
OdbcResult CallOdbc(const char* call, const Handle& handle, Function function, Args&&... args) {
    (odbc_door::Trace(args), ...);
    const SQLRETURN code = function(handle.Get(), odbc_door::Passed(std::forward<Args>(args))...);
    return OdbcResult(call, code, Handle::kType, handle.Get());
}

}  // namespace tabvet

/// The door for the ODBC functions that take their handle first, named by the function itself:
/// TABVET_ODBC(SQLFetch, stmt) or TABVET_ODBC(SQLGetData, stmt, column, ...).
#define TABVET_ODBC(function, handle, ...) \
    ::tabvet::CallOdbc(#function, handle, function __VA_OPT__(, ) __VA_ARGS__)
