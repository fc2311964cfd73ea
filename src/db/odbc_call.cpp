// Some drivers attach several records to one failure (a connect through a DSN may give the driver
// manager's record and the driver's); all of them go into the error list.
#include "odbc_call.h"

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
        if (!OdbcOk(rc)) {
            break;  // SQL_NO_DATA after the last record, or nothing more can be read
        }
        const std::size_t length =
            std::min<std::size_t>(static_cast<std::size_t>(messageLength), message.size() - 1);
        records.push_back({FromOdbcWide(state.data(), 5), static_cast<std::int32_t>(native),
                           FromOdbcWide(message.data(), length)});
    }
    return records;
}

bool OdbcCall(SQLRETURN rc, SQLSMALLINT handleType, SQLHANDLE handle, ErrorList& errors,
              const char* callName) {
    if (OdbcOk(rc) || rc == SQL_NO_DATA) {
        return OdbcOk(rc);
    }
    const std::vector<DiagRecord> records = ReadDiagRecords(handleType, handle);
    for (const DiagRecord& record : records) {
        errors.Add({record.nativeError, record.message});
    }
    if (records.empty()) {
        errors.Add(
            {static_cast<std::int32_t>(rc), std::string(callName) + " failed without a diagnostic record"});
    }
    return false;
}

}  // namespace tabvet
