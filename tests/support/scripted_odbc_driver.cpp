// An ODBC driver for unixODBC that answers from a script, for the states of a driver that neither real
// driver of the tests produces: several diagnostic records for one failure, lengths reported as
// SQL_NO_TOTAL, warnings on reads that were not cut short, a fetch that fails after the first row. The
// statement text is the script (the row count is always -1):
//   FAIL k        the statement fails with k records
//   LONGFAIL n    it fails with one record whose message is n m's
//   TEXT n        one row: 'a' n times
//   NOTOTAL n     as TEXT, every length SQL_NO_TOTAL
//   WARN n        as TEXT, every read a warning
//   ROWS n        n rows: 1 to n
//   NULL          one row holding NULL
//   FETCHFAIL k   one row, then the fetch fails with k records
// A connection string with FAIL=k fails to connect with k records. Built as a module that only the test
// that registers it loads.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Diagnostic {
    std::string state;
    SQLINTEGER native;
    std::string message;
};

struct Handle {
    std::vector<Diagnostic> diagnostics;
};

struct Statement : Handle {
    std::vector<std::optional<std::string>> rows;
    std::ptrdiff_t row = -1;
    std::size_t offset = 0;  // units of the current value already returned
    bool valueDone = false;  // the current value was returned whole
    bool noTotal = false;
    bool warn = false;
    int fetchFailRecords = 0;  // the fetch after the first row fails with this many records
};

std::string Narrow(const SQLWCHAR* text, SQLINTEGER length) {
    std::string narrow;
    for (SQLINTEGER i = 0; length == SQL_NTS ? text[i] != 0 : i < length; ++i) {
        narrow.push_back(static_cast<char>(text[i]));
    }
    return narrow;
}

// Copies ASCII `text` into a wide buffer of `bytes` bytes, cut to fit with its terminator.
void Widen(const std::string& text, SQLWCHAR* out, SQLINTEGER bytes) {
    if (out == nullptr || bytes < static_cast<SQLINTEGER>(sizeof(SQLWCHAR))) {
        return;
    }
    const std::size_t fits = std::min(text.size(), static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR) - 1);
    std::copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(fits), out);
    out[fits] = 0;
}

SQLRETURN Fail(Handle& handle, int records) {
    for (int i = 1; i <= records; ++i) {
        handle.diagnostics.push_back(
            {"HY000", 100 + i, "record " + std::to_string(i) + " of " + std::to_string(records)});
    }
    return SQL_ERROR;
}

// The number after "FAIL=" in a connection string; -1 when there is none.
int ConnectFailures(const std::string& connectionString) {
    const std::size_t at = connectionString.find("FAIL=");
    return at == std::string::npos ? -1 : std::atoi(connectionString.c_str() + at + 5);
}

}  // namespace

// Handles cross the C interface as plain pointers: the driver manager owns them from SQLAllocHandle to
// SQLFreeHandle.
extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT type, SQLHANDLE, SQLHANDLE* output) {
    *output = type == SQL_HANDLE_STMT ? static_cast<Handle*>(new Statement) : new Handle;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
    if (type == SQL_HANDLE_STMT) {
        delete static_cast<Statement*>(handle);
    } else {
        delete static_cast<Handle*>(handle);
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetStmtAttrW(SQLHSTMT, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetInfoW(SQLHDBC, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT bytes,
                              SQLSMALLINT* length) {
    const std::string text = type == SQL_DRIVER_ODBC_VER ? "03.80" : "";
    Widen(text, static_cast<SQLWCHAR*>(value), bytes);
    if (length != nullptr) {
        *length = static_cast<SQLSMALLINT>(text.size() * sizeof(SQLWCHAR));
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC dbc, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR*,
                                    SQLSMALLINT, SQLSMALLINT* outLength, SQLUSMALLINT) {
    auto& handle = *static_cast<Handle*>(dbc);
    handle.diagnostics.clear();
    if (outLength != nullptr) {
        *outLength = 0;
    }
    const int records = ConnectFailures(Narrow(in, inLength));
    return records >= 0 ? Fail(handle, records) : SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDisconnect(SQLHDBC) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLCancel(SQLHSTMT) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) {
    auto& s = *static_cast<Statement*>(stmt);
    s.diagnostics.clear();
    const std::string script = Narrow(text, length);
    std::istringstream in(script);
    std::string command;
    int n = 0;
    in >> command >> n;
    s.rows.clear();
    s.row = -1;
    s.noTotal = command == "NOTOTAL";
    s.warn = command == "WARN";
    s.fetchFailRecords = 0;
    if (command == "FAIL") {
        return Fail(s, n);
    }
    if (command == "LONGFAIL") {
        s.diagnostics.push_back({"HY000", 7, std::string(static_cast<std::size_t>(n), 'm')});
        return SQL_ERROR;
    }
    if (command == "TEXT" || command == "NOTOTAL" || command == "WARN") {
        s.rows.push_back(std::string(static_cast<std::size_t>(n), 'a'));
    } else if (command == "ROWS") {
        for (int i = 1; i <= n; ++i) {
            s.rows.push_back(std::to_string(i));
        }
    } else if (command == "NULL") {
        s.rows.push_back(std::nullopt);
    } else if (command == "FETCHFAIL") {
        s.rows.push_back("1");
        s.fetchFailRecords = n;
    } else {
        s.diagnostics.push_back({"42000", 1, "not in the script: " + script});
        return SQL_ERROR;
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT, SQLSMALLINT* columns) {
    *columns = 1;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLRowCount(SQLHSTMT, SQLLEN* rows) {
    *rows = -1;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFetch(SQLHSTMT stmt) {
    auto& s = *static_cast<Statement*>(stmt);
    s.diagnostics.clear();
    if (s.fetchFailRecords > 0 && s.row == 0) {
        return Fail(s, s.fetchFailRecords);
    }
    if (s.row + 1 >= static_cast<std::ptrdiff_t>(s.rows.size())) {
        return SQL_NO_DATA;
    }
    ++s.row;
    s.offset = 0;
    s.valueDone = false;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetData(SQLHSTMT stmt, SQLUSMALLINT, SQLSMALLINT, SQLPOINTER value, SQLLEN bytes,
                             SQLLEN* indicator) {
    auto& s = *static_cast<Statement*>(stmt);
    s.diagnostics.clear();
    const auto& cell = s.rows[static_cast<std::size_t>(s.row)];
    if (s.valueDone) {
        return SQL_NO_DATA;
    }
    if (!cell) {
        *indicator = SQL_NULL_DATA;
        s.valueDone = true;
        return SQL_SUCCESS;
    }
    const std::size_t rest = cell->size() - s.offset;
    const std::size_t fits = std::min(rest, static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR) - 1);
    auto* out = static_cast<SQLWCHAR*>(value);
    std::copy(cell->begin() + static_cast<std::ptrdiff_t>(s.offset),
              cell->begin() + static_cast<std::ptrdiff_t>(s.offset + fits), out);
    out[fits] = 0;
    *indicator = s.noTotal ? SQL_NO_TOTAL : static_cast<SQLLEN>(rest * sizeof(SQLWCHAR));
    s.offset += fits;
    s.valueDone = fits == rest;
    if (!s.valueDone) {
        s.diagnostics.push_back({"01004", 0, "String data, right truncated"});
        return SQL_SUCCESS_WITH_INFO;
    }
    if (s.warn) {
        s.diagnostics.push_back({"01000", 0, "a warning about nothing"});
        return SQL_SUCCESS_WITH_INFO;
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT stmt, SQLUSMALLINT) {
    static_cast<Statement*>(stmt)->rows.clear();
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT record, SQLWCHAR* state,
                                 SQLINTEGER* native, SQLWCHAR* message, SQLSMALLINT capacity,
                                 SQLSMALLINT* length) {
    const auto& diagnostics = static_cast<Handle*>(handle)->diagnostics;
    if (record < 1 || static_cast<std::size_t>(record) > diagnostics.size()) {
        return SQL_NO_DATA;
    }
    const Diagnostic& d = diagnostics[static_cast<std::size_t>(record - 1)];
    Widen(d.state, state, 6 * sizeof(SQLWCHAR));
    *native = d.native;
    Widen(d.message, message, capacity * static_cast<SQLINTEGER>(sizeof(SQLWCHAR)));
    *length = static_cast<SQLSMALLINT>(d.message.size());
    return d.message.size() < static_cast<std::size_t>(capacity) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

SQLRETURN SQL_API SQLGetDiagFieldW(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT record, SQLSMALLINT field,
                                   SQLPOINTER value, SQLSMALLINT, SQLSMALLINT*) {
    if (record == 0 && field == SQL_DIAG_NUMBER) {
        *static_cast<SQLINTEGER*>(value) =
            static_cast<SQLINTEGER>(static_cast<Handle*>(handle)->diagnostics.size());
        return SQL_SUCCESS;
    }
    return SQL_NO_DATA;
}

}  // extern "C"
