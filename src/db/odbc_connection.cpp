// Reads every row of a statement and closes its cursor before the next one runs, so that the checks may keep
// several result sets open on one connection whatever the driver allows.
#include "odbc_connection.h"

#include <algorithm>
#include <vector>

#include "connection_string.h"
#include "odbc_call.h"
#include "utf16.h"

namespace tabvet {
namespace {

constexpr std::size_t kCellBufferUnits = 256;
// How far the buffer grows for a value whose length the driver cannot tell.
constexpr std::size_t kMaxGuessedCellBufferUnits = 1 << 16;
// A driver's row count is only trusted this far for reserving room: a wrong answer must not cost a huge
// allocation up front.
constexpr SQLLEN kMaxReservedRows = 1 << 20;

// Reads one column of the current row as text into `cell`, through `buffer`; false on a driver error.
bool ReadCell(const StmtHandle& stmt, SQLUSMALLINT column, std::vector<SQLWCHAR>& buffer, FieldValue& cell,
              ErrorList& errors) {
    OdbcWideString rest;  // pieces of a value longer than the buffer
    std::size_t got = 0;
    for (;;) {
        SQLLEN indicator = 0;
        const OdbcResult read =
            TABVET_ODBC(SQLGetData, stmt, column, SQL_C_WCHAR, buffer.data(),
                        static_cast<SQLLEN>(buffer.size() * sizeof(SQLWCHAR)), &indicator);
        if (read.NoData()) {
            break;
        }
        if (!read.Succeeded(errors)) {
            return false;
        }
        if (indicator == SQL_NULL_DATA) {
            cell.reset();
            return true;
        }
        const std::size_t capacity = buffer.size() - 1;  // one unit is the terminator
        // A driver that cannot tell how long the value is says SQL_NO_TOTAL, even for its last piece: the
        // piece then ends at its terminator, which is the end of the buffer when the piece was cut short.
        const auto end = buffer.begin() + static_cast<std::ptrdiff_t>(capacity);
        got = indicator == SQL_NO_TOTAL
                  ? static_cast<std::size_t>(std::find(buffer.begin(), end, SQLWCHAR{0}) - buffer.begin())
                  : std::min(capacity, static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR));
        if (read.Code() == SQL_SUCCESS && rest.empty()) {
            break;  // the common case: the whole value in one piece, converted straight from the buffer
        }
        rest.append(buffer.data(), got);
        got = 0;
        if (read.Code() == SQL_SUCCESS) {
            break;
        }
        // Grow to take the rest in the next call, or, not knowing the rest, to take more of it.
        buffer.resize(indicator == SQL_NO_TOTAL
                          ? std::max(buffer.size(), std::min(buffer.size() * 2, kMaxGuessedCellBufferUnits))
                          : std::max(buffer.size(), static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR)));
    }
    cell = rest.empty() ? FromOdbcWide(buffer.data(), got) : FromOdbcWide(rest.data(), rest.size());
    return true;
}

// Errors the layer finds itself, before any driver is involved.
constexpr std::int32_t kLayerErrorNumber = -1;

// SQLDriverConnect takes the string's length as a 16-bit number: a longer string would reach the driver
// cut short (and connect with what is left) or be refused with a bare "invalid length".
constexpr std::size_t kMaxConnectionStringUnits = 32767;

// Closes the cursor of the shared statement handle however a query ends, so that the next one finds it
// ready and no result is kept in the driver after use.
class CursorCloser {
  public:
    explicit CursorCloser(const StmtHandle& stmt) : stmt_(stmt) {}
    ~CursorCloser() {
        try {
            // Closing a cursor that is not open does no harm; a close that fails leaves the query's own
            // outcome standing, and the next query reports whatever the statement handle then says.
            (void)TABVET_ODBC(SQLFreeStmt, stmt_, SQL_CLOSE);
        } catch (...) {
            // Reading the failure's records ran out of memory; the query has ended either way.
        }
    }
    CursorCloser(const CursorCloser&) = delete;
    CursorCloser& operator=(const CursorCloser&) = delete;

  private:
    const StmtHandle& stmt_;
};

}  // namespace

std::unique_ptr<Connection> NewOdbcConnection() {
    return std::make_unique<OdbcConnection>();
}

OdbcConnection::~OdbcConnection() {
    Close();
}

std::unique_ptr<Connection> OdbcConnection::NewProbeConnection() const {
    return std::make_unique<OdbcConnection>();
}

bool OdbcConnection::Lost() const {
    if (!connected_) {
        return true;
    }
    SQLUINTEGER dead = SQL_CD_FALSE;
    return TABVET_ODBC(SQLGetConnectAttrW, dbc_, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr).Ok() &&
           dead == SQL_CD_TRUE;
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
    if (!dbc_.Allocate(env_).Succeeded(Errors())) {
        return false;
    }
    // A driver that does not support the attribute connects without a limit, as it always has.
    (void)TABVET_ODBC(SQLSetConnectAttrW, dbc_, SQL_ATTR_LOGIN_TIMEOUT,
                      reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(Timeouts().loginSeconds)),
                      SQL_IS_UINTEGER);
    SQLWCHAR unused[8];
    SQLSMALLINT unusedLength = 0;
    if (!TABVET_ODBC(SQLDriverConnectW, dbc_, nullptr, wide.data(), static_cast<SQLSMALLINT>(wide.size()),
                     unused, 0, &unusedLength, SQL_DRIVER_NOPROMPT)
             .Succeeded(Errors())) {
        dbc_.Reset();
        env_.Reset();
        return false;
    }
    connected_ = true;
    return true;
}

void OdbcConnection::Close() {
    {
        const std::lock_guard lock(stmtMutex_);
        stmt_.Reset();  // before the disconnect, which would free it behind our back
    }
    if (connected_) {
        // A failing disconnect still leaves us closed: the handles go next, and nothing is left to retry.
        (void)TABVET_ODBC(SQLDisconnect, dbc_);
        connected_ = false;
    }
    dbc_.Reset();
    env_.Reset();
    cellBuffer_ = std::vector<SQLWCHAR>();
}

bool OdbcConnection::DoQuery(const std::string& sql, ResultTable& out) {
    if (!stmt_) {
        const std::lock_guard lock(stmtMutex_);
        if (!stmt_.Allocate(dbc_).Succeeded(Errors())) {
            return false;
        }
        // A driver that does not support the attribute runs statements without a limit, as it always has.
        (void)TABVET_ODBC(SQLSetStmtAttrW, stmt_, SQL_ATTR_QUERY_TIMEOUT,
                          reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(Timeouts().statementSeconds)),
                          SQL_IS_UINTEGER);
        cellBuffer_.resize(kCellBufferUnits);
    }
    const CursorCloser closer(stmt_);
    OdbcWideString wide = ToOdbcWide(sql);
    executing_ = true;
    const OdbcResult executed = TABVET_ODBC(SQLExecDirectW, stmt_, SentStatement{sql, wide.data()},
                                            static_cast<SQLINTEGER>(wide.size()));
    executing_ = false;
    if (!executed.Succeeded(Errors())) {
        return false;
    }
    SQLSMALLINT columns = 0;
    if (!TABVET_ODBC(SQLNumResultCols, stmt_, &columns).Succeeded(Errors())) {
        return false;
    }
    out.columns = static_cast<std::size_t>(columns < 0 ? 0 : columns);
    if (out.columns == 0) {
        return true;
    }
    // Drivers that buffer the whole result know its size: room for exactly that many cells spares a long
    // result the copies and the slack of a growing vector. Only a hint: a driver may say nothing (-1), and
    // a driver that cannot say is no failure of the query.
    SQLLEN rows = -1;
    if (TABVET_ODBC(SQLRowCount, stmt_, &rows).Ok() && rows > 0) {
        out.cells.reserve(static_cast<std::size_t>(std::min(rows, kMaxReservedRows)) * out.columns);
    }
    for (;;) {
        const OdbcResult fetched = TABVET_ODBC(SQLFetch, stmt_);
        if (fetched.NoData()) {
            break;
        }
        if (!fetched.Succeeded(Errors())) {
            out = ResultTable{};
            return false;
        }
        for (SQLUSMALLINT c = 1; c <= out.columns; ++c) {
            FieldValue cell;
            if (!ReadCell(stmt_, c, cellBuffer_, cell, Errors())) {
                out = ResultTable{};
                return false;
            }
            out.cells.push_back(std::move(cell));
        }
    }
    return true;
}

void OdbcConnection::DoCancel() {
    const std::lock_guard lock(stmtMutex_);
    if (stmt_ && executing_) {
        // A cancel that fails leaves the statement to end by itself; Connection refuses the ones after it.
        (void)TABVET_ODBC(SQLCancel, stmt_);
    }
}

}  // namespace tabvet
