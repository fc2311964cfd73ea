// An ODBC driver for unixODBC that answers from a script, only for what neither real driver of the tests
// does. The statement text is the script; each gives one row of one column, or none:
//   FAIL k        the statement fails with k records ("record i of k")
//   LONG n        it fails with one record whose message is n m's
//   NOTOTAL n     'a' n times, every length reported as SQL_NO_TOTAL
//   WARN n        'a' n times, every read a warning
//   FETCHFAIL k   a row, then the fetch after it fails with k records
// A connection string with FAIL=k fails to connect with k records. Built as a module that only the test
// that registers it loads.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Diagnostic {
    SQLINTEGER native;
    std::string message;
};

struct Handle {
    std::vector<Diagnostic> diagnostics;
    std::string command, value;  // statements only
    int n = 0, fetched = 0;
    std::size_t offset = 0;  // units of the value already returned
};

std::string Narrow(const SQLWCHAR* text, SQLINTEGER length) {
    std::string narrow;
    for (SQLINTEGER i = 0; length == SQL_NTS ? text[i] != 0 : i < length; ++i) {
        narrow.push_back(static_cast<char>(text[i]));
    }
    return narrow;
}

// Copies ASCII `text` into a wide buffer of `units` units, cut to fit with its terminator; the units copied.
std::size_t Widen(const std::string& text, SQLWCHAR* out, std::size_t units) {
    const std::size_t fits = units == 0 ? 0 : std::min(text.size(), units - 1);
    if (units > 0) {
        std::copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(fits), out);
        out[fits] = 0;
    }
    return fits;
}

SQLRETURN Fail(void* handle, int records) {
    for (int i = 1; i <= records; ++i) {
        static_cast<Handle*>(handle)->diagnostics.push_back(
            {100 + i, "record " + std::to_string(i) + " of " + std::to_string(records)});
    }
    return SQL_ERROR;
}

}  // namespace

// Handles cross the C interface as plain pointers: the driver manager owns them from SQLAllocHandle to
// SQLFreeHandle.
extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT, SQLHANDLE, SQLHANDLE* output) {
    *output = new Handle;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT, SQLHANDLE handle) {
    delete static_cast<Handle*>(handle);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetInfoW(SQLHDBC, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT bytes,
                              SQLSMALLINT* length) {
    const std::string text = type == SQL_DRIVER_ODBC_VER ? "03.80" : "";
    Widen(text, static_cast<SQLWCHAR*>(value), static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR));
    *length = static_cast<SQLSMALLINT>(text.size() * sizeof(SQLWCHAR));
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC dbc, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR*,
                                    SQLSMALLINT, SQLSMALLINT*, SQLUSMALLINT) {
    const std::string text = Narrow(in, inLength);
    const std::size_t at = text.find("FAIL=");
    return at == std::string::npos ? SQL_SUCCESS : Fail(dbc, std::atoi(text.c_str() + at + 5));
}

SQLRETURN SQL_API SQLDisconnect(SQLHDBC) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) {
    auto& s = *static_cast<Handle*>(stmt);
    std::istringstream(Narrow(text, length)) >> s.command >> s.n;
    s.diagnostics.clear();
    s.value = std::string(static_cast<std::size_t>(s.n), 'a');
    s.fetched = 0;
    if (s.command == "FAIL") {
        return Fail(stmt, s.n);
    }
    if (s.command == "LONG") {
        s.diagnostics.push_back({7, std::string(static_cast<std::size_t>(s.n), 'm')});
        return SQL_ERROR;
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT, SQLSMALLINT* columns) {
    *columns = 1;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFetch(SQLHSTMT stmt) {
    auto& s = *static_cast<Handle*>(stmt);
    s.diagnostics.clear();
    s.offset = 0;
    if (s.fetched++ == 0) {
        return SQL_SUCCESS;
    }
    return s.command == "FETCHFAIL" ? Fail(stmt, s.n) : SQL_NO_DATA;
}

SQLRETURN SQL_API SQLGetData(SQLHSTMT stmt, SQLUSMALLINT, SQLSMALLINT, SQLPOINTER value, SQLLEN bytes,
                             SQLLEN* indicator) {
    auto& s = *static_cast<Handle*>(stmt);
    s.diagnostics.clear();
    if (s.offset > s.value.size()) {
        return SQL_NO_DATA;  // the value was returned whole
    }
    const std::size_t rest = s.value.size() - s.offset;
    const std::size_t fits = Widen(s.value.substr(s.offset), static_cast<SQLWCHAR*>(value),
                                   static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR));
    *indicator = s.command == "NOTOTAL" ? SQL_NO_TOTAL : static_cast<SQLLEN>(rest * sizeof(SQLWCHAR));
    s.offset += fits == rest ? fits + 1 : fits;
    if (fits < rest) {
        s.diagnostics.push_back({0, "String data, right truncated"});
    } else if (s.command == "WARN") {
        s.diagnostics.push_back({0, "a warning about nothing"});
    }
    return s.diagnostics.empty() ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT, SQLUSMALLINT) {
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
    Widen("HY000", state, 6);
    *native = d.native;
    *length = static_cast<SQLSMALLINT>(d.message.size());
    const bool whole = Widen(d.message, message, static_cast<std::size_t>(capacity)) == d.message.size();
    return whole ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

// The driver manager counts the records through this before it reads them.
SQLRETURN SQL_API SQLGetDiagFieldW(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT record, SQLSMALLINT field,
                                   SQLPOINTER value, SQLSMALLINT, SQLSMALLINT*) {
    if (record != 0 || field != SQL_DIAG_NUMBER) {
        return SQL_NO_DATA;
    }
    *static_cast<SQLINTEGER*>(value) =
        static_cast<SQLINTEGER>(static_cast<Handle*>(handle)->diagnostics.size());
    return SQL_SUCCESS;
}

}  // extern "C"
