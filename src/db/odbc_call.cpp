// Some drivers attach several records to one failure (a connect through a DSN may give the driver
// manager's record and the driver's); all of them go into the error list.
#include "odbc_call.h"

#include <algorithm>
#include <array>

#include "utf16.h"

namespace tabvet {

std::vector<DiagRecord> ReadDiagRecords(SQLSMALLINT handleType, SQLHANDLE handle) {
    std::vector<DiagRecord> records;
    if (handle == SQL_NULL_HANDLE) {
        return records;
    }
    for (SQLSMALLINT recNumber = 1;; ++recNumber) {
        std::array<SQLWCHAR, 6> state{};
        SQLINTEGER native = 0;
        std::vector<SQLWCHAR> message(1024);
        SQLSMALLINT messageLength = 0;
        SQLRETURN rc = SQLGetDiagRecW(handleType, handle, recNumber, state.data(), &native, message.data(),
                                      static_cast<SQLSMALLINT>(message.size()), &messageLength);
        if (rc == SQL_SUCCESS_WITH_INFO && static_cast<std::size_t>(messageLength) >= message.size()) {
            // The message was cut: ask again with room for all of it.
            message.resize(static_cast<std::size_t>(messageLength) + 1);
            rc = SQLGetDiagRecW(handleType, handle, recNumber, state.data(), &native, message.data(),
                                static_cast<SQLSMALLINT>(message.size()), &messageLength);
        }
        if (rc != SQL_SUCCESS && rc != SQL_SUCCESS_WITH_INFO) {
            break;  // SQL_NO_DATA after the last record, or nothing more can be read
        }
        const std::size_t length =
            std::min<std::size_t>(static_cast<std::size_t>(messageLength), message.size() - 1);
        records.push_back({FromOdbcWide(state.data(), 5), static_cast<std::int32_t>(native),
                           FromOdbcWide(message.data(), length)});
    }
    return records;
}

OdbcResult::OdbcResult(const char* call, SQLRETURN code, SQLSMALLINT handleType, SQLHANDLE handle)
    : call_(call), code_(code) {
    if (!Ok() && !NoData()) {
        diagnostics_ = ReadDiagRecords(handleType, handle);
    }
}

bool OdbcResult::Succeeded(ErrorList& errors) const {
    if (Ok() || NoData()) {
        return Ok();
    }
    for (const DiagRecord& record : diagnostics_) {
        errors.Add({record.nativeError, record.message, record.sqlState});
    }
    if (diagnostics_.empty()) {
        // The wide and the narrow form of a call are one call to the reader: SQLExecDirectW is SQLExecDirect.
        std::string name(call_);
        if (name.size() > 3 && name.back() == 'W') {
            name.pop_back();
        }
        errors.Add({static_cast<std::int32_t>(code_), name + " failed without a diagnostic record"});
    }
    return false;
}

}  // namespace tabvet
