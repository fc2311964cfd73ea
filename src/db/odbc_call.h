// The one door for every ODBC call: check the return code and, on failure, read every diagnostic record.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <vector>

#include "error_list.h"

namespace tabvet {

/// One diagnostic record as the driver (or driver manager) reported it.
struct DiagRecord {
    std::string sqlState;
    std::int32_t nativeError = 0;
    std::string message;
};

/// Every diagnostic record attached to a handle, in the driver's order.
std::vector<DiagRecord> ReadDiagRecords(SQLSMALLINT handleType, SQLHANDLE handle);

/// True for SQL_SUCCESS and SQL_SUCCESS_WITH_INFO (warnings never count as failures).
inline bool OdbcOk(SQLRETURN rc) {
    return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO;
}

/// Checks the result of an ODBC call made on `handle`. On failure every diagnostic record is appended to
/// `errors` (native number and message); when the driver gave none, one entry names the failed call.
bool OdbcCall(SQLRETURN rc, SQLSMALLINT handleType, SQLHANDLE handle, ErrorList& errors,
              const char* callName);

}  // namespace tabvet
