// Runs each statement on its own statement handle and reads every row before releasing it, so that the
// checks may keep several result sets open on one connection whatever the driver allows.
#include "odbc_connection.h"

#include <vector>

#include "connection_string.h"
#include "odbc_call.h"
#include "utf16.h"

namespace tabvet {
namespace {

// Reads one column of the current row as text; false on a driver error.
bool ReadCell(SQLHSTMT stmt, SQLUSMALLINT column, FieldValue& cell, ErrorList& errors) {
    std::vector<SQLWCHAR> buffer(256);
    OdbcWideString text;
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN rc = SQLGetData(stmt, column, SQL_C_WCHAR, buffer.data(),
                                        static_cast<SQLLEN>(buffer.size() * sizeof(SQLWCHAR)), &indicator);
        if (rc == SQL_NO_DATA) {
            break;
        }
        if (!OdbcCall(rc, SQL_HANDLE_STMT, stmt, errors, "SQLGetData")) {
            return false;
        }
        if (indicator == SQL_NULL_DATA) {
            cell.reset();
            return true;
        }
        const std::size_t capacity = buffer.size() - 1;  // one unit is the terminator
        std::size_t got = capacity;
        if (indicator != SQL_NO_TOTAL && static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR) < capacity) {
            got = static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR);
        }
        text.append(buffer.data(), got);
        if (rc == SQL_SUCCESS) {
            break;
        }
        if (indicator != SQL_NO_TOTAL) {
            // Grow once to take the rest in the next call.
            buffer.resize(
                std::max<std::size_t>(buffer.size(), static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR)));
        }
    }
    cell = FromOdbcWide(text.data(), text.size());
    return true;
}

// Errors the layer finds itself, before any driver is involved.
constexpr std::int32_t kLayerErrorNumber = -1;

// SQLDriverConnect takes the string's length as a 16-bit number: a longer string would reach the driver
// cut short (and connect with what is left) or be refused with a bare "invalid length".
constexpr std::size_t kMaxConnectionStringUnits = 32767;

}  // namespace

OdbcConnection::~OdbcConnection() {
    Close();
}

bool OdbcConnection::DoOpen(const std::string& connectionString) {
    Close();
    OdbcWideString wide = ToOdbcWide(TranslateConnectionString(connectionString));
    if (wide.size() > kMaxConnectionStringUnits) {
        Errors().Add({kLayerErrorNumber, "The connection string is " + std::to_string(wide.size()) +
                                             " characters long; ODBC accepts at most " +
                                             std::to_string(kMaxConnectionStringUnits)});
        return false;
    }
    env_ = AllocateEnvironment();
    if (!env_) {
        Errors().Add({kLayerErrorNumber, "The ODBC driver manager could not allocate an environment"});
        return false;
    }
    SQLHANDLE dbc = SQL_NULL_HANDLE;
    if (!OdbcCall(SQLAllocHandle(SQL_HANDLE_DBC, env_.Get(), &dbc), SQL_HANDLE_ENV, env_.Get(), Errors(),
                  "SQLAllocHandle")) {
        return false;
    }
    dbc_ = DbcHandle(dbc);
    SQLWCHAR unused[8];
    SQLSMALLINT unusedLength = 0;
    const SQLRETURN rc =
        SQLDriverConnectW(dbc_.Get(), nullptr, wide.data(), static_cast<SQLSMALLINT>(wide.size()), unused, 0,
                          &unusedLength, SQL_DRIVER_NOPROMPT);
    if (!OdbcCall(rc, SQL_HANDLE_DBC, dbc_.Get(), Errors(), "SQLDriverConnect")) {
        dbc_.Reset();
        env_.Reset();
        return false;
    }
    connected_ = true;
    return true;
}

void OdbcConnection::Close() {
    if (connected_) {
        SQLDisconnect(dbc_.Get());  // a failing disconnect still leaves us closed
        connected_ = false;
    }
    dbc_.Reset();
    env_.Reset();
}

bool OdbcConnection::DoQuery(const std::string& sql, ResultTable& out) {
    SQLHANDLE raw = SQL_NULL_HANDLE;
    if (!OdbcCall(SQLAllocHandle(SQL_HANDLE_STMT, dbc_.Get(), &raw), SQL_HANDLE_DBC, dbc_.Get(), Errors(),
                  "SQLAllocHandle")) {
        return false;
    }
    StmtHandle stmt(raw);
    OdbcWideString wide = ToOdbcWide(sql);
    if (!OdbcCall(SQLExecDirectW(stmt.Get(), wide.data(), static_cast<SQLINTEGER>(wide.size())),
                  SQL_HANDLE_STMT, stmt.Get(), Errors(), "SQLExecDirect")) {
        return false;
    }
    SQLSMALLINT columns = 0;
    if (!OdbcCall(SQLNumResultCols(stmt.Get(), &columns), SQL_HANDLE_STMT, stmt.Get(), Errors(),
                  "SQLNumResultCols")) {
        return false;
    }
    out.columns = static_cast<std::size_t>(columns < 0 ? 0 : columns);
    if (out.columns == 0) {
        return true;
    }
    for (;;) {
        const SQLRETURN rc = SQLFetch(stmt.Get());
        if (rc == SQL_NO_DATA) {
            break;
        }
        if (!OdbcCall(rc, SQL_HANDLE_STMT, stmt.Get(), Errors(), "SQLFetch")) {
            out = ResultTable{};
            return false;
        }
        for (SQLUSMALLINT c = 1; c <= out.columns; ++c) {
            FieldValue cell;
            if (!ReadCell(stmt.Get(), c, cell, Errors())) {
                out = ResultTable{};
                return false;
            }
            out.cells.push_back(std::move(cell));
        }
    }
    return true;
}

}  // namespace tabvet
