// The floor of a run: the statements a run sent, read from its trace, sent again in the same order over the
// same ODBC driver with nothing on top, each result fetched completely.
//
// Usage: tabvet_floor [--mark FILE] CONNECTION_STRING TRACE_FILE
// Prints "statements=S failed=F" and exits 0; 2 when it cannot connect or read the trace. With --mark, a line
// is appended to FILE just before the first statement is sent, as the run's own trace does, so that
// tabvet_measure can time the floor's start-up the same way.
#include <sql.h>
#include <sqlext.h>

#include <array>
#include <cstdio>
#include <string>

#include "trace_reader.h"

namespace {

// One ODBC handle, freed once.
class Handle {
  public:
    Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
        if (!SQL_SUCCEEDED(SQLAllocHandle(type, parent, &handle_))) {
            handle_ = SQL_NULL_HANDLE;
        }
    }
    ~Handle() {
        if (handle_ != SQL_NULL_HANDLE) {
            SQLFreeHandle(type_, handle_);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    SQLHANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != SQL_NULL_HANDLE; }

  private:
    SQLSMALLINT type_;
    SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

void PrintDiagnostic(SQLSMALLINT type, SQLHANDLE handle) {
    std::array<SQLCHAR, 6> state{};
    std::array<SQLCHAR, 1024> message{};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (SQL_SUCCEEDED(SQLGetDiagRec(type, handle, 1, state.data(), &native, message.data(),
                                    static_cast<SQLSMALLINT>(message.size()), &length))) {
        std::fprintf(stderr, "tabvet_floor: %s %s\n", reinterpret_cast<const char*>(state.data()),
                     reinterpret_cast<const char*>(message.data()));
    }
}

// Reads every column of every row as text, as a run does; the values themselves are not needed.
void FetchAll(SQLHSTMT stmt) {
    SQLSMALLINT columns = 0;
    SQLNumResultCols(stmt, &columns);
    std::array<char, 4096> buffer;
    while (SQL_SUCCEEDED(SQLFetch(stmt))) {
        for (SQLUSMALLINT c = 1; c <= static_cast<SQLUSMALLINT>(columns); ++c) {
            SQLLEN indicator = 0;
            // Long values come in pieces: ask until the driver has nothing more.
            while (SQLGetData(stmt, c, SQL_C_CHAR, buffer.data(), static_cast<SQLLEN>(buffer.size()),
                              &indicator) == SQL_SUCCESS_WITH_INFO) {
            }
        }
    }
}

void Mark(const char* path) {
    if (std::FILE* file = std::fopen(path, "a")) {
        std::fputs("first statement\n", file);
        std::fclose(file);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const char* markPath = nullptr;
    if (argc == 5 && std::string(argv[1]) == "--mark") {
        markPath = argv[2];
        argv += 2;
        argc -= 2;
    }
    if (argc != 3) {
        std::fprintf(stderr, "usage: tabvet_floor [--mark FILE] CONNECTION_STRING TRACE_FILE\n");
        return 2;
    }
    tabvet::bench::TraceReader trace(argv[2]);
    if (!trace.Good()) {
        std::fprintf(stderr, "tabvet_floor: cannot read %s\n", argv[2]);
        return 2;
    }
    Handle env(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    if (!env || !SQL_SUCCEEDED(SQLSetEnvAttr(env.Get(), SQL_ATTR_ODBC_VERSION,
                                             reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0))) {
        std::fprintf(stderr, "tabvet_floor: no ODBC environment\n");
        return 2;
    }
    Handle dbc(SQL_HANDLE_DBC, env.Get());
    std::string connection = argv[1];
    if (!dbc || !SQL_SUCCEEDED(SQLDriverConnect(
                    dbc.Get(), nullptr, reinterpret_cast<SQLCHAR*>(connection.data()),
                    static_cast<SQLSMALLINT>(connection.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT))) {
        PrintDiagnostic(SQL_HANDLE_DBC, dbc.Get());
        return 2;
    }
    long statements = 0;
    long failed = 0;
    {
        Handle stmt(SQL_HANDLE_STMT, dbc.Get());
        std::string sql;
        while (trace.Next(sql)) {
            if (statements == 0 && markPath != nullptr) {
                Mark(markPath);
            }
            ++statements;
            const SQLRETURN rc = SQLExecDirect(stmt.Get(), reinterpret_cast<SQLCHAR*>(sql.data()),
                                               static_cast<SQLINTEGER>(sql.size()));
            if (SQL_SUCCEEDED(rc)) {
                FetchAll(stmt.Get());
            } else {
                ++failed;
            }
            SQLFreeStmt(stmt.Get(), SQL_CLOSE);
        }
    }
    SQLDisconnect(dbc.Get());
    std::printf("statements=%ld failed=%ld\n", statements, failed);
    return 0;
}
