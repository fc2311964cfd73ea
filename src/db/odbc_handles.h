// Move-only owners of ODBC handles: each frees its handle exactly once, in a noexcept destructor.
#pragma once

#include "db/odbc_api.h"

#include <utility>

#include "odbc_call.h"

namespace tabvet {

/// Owns one ODBC handle of kind `Type` (SQL_HANDLE_ENV, SQL_HANDLE_DBC, SQL_HANDLE_STMT).
template <SQLSMALLINT Type>
class OdbcHandle {
  public:
    static constexpr SQLSMALLINT kType = Type;

    OdbcHandle() = default;
    ~OdbcHandle() { Reset(); }
    OdbcHandle(const OdbcHandle&) = delete;
    OdbcHandle& operator=(const OdbcHandle&) = delete;
    OdbcHandle(OdbcHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    OdbcHandle& operator=(OdbcHandle&& other) noexcept {
        if (this != &other) {
            Reset();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }

    /// A new handle of this kind under `parent` (none for an environment). On failure the handle stays
    /// empty and the result says why.
    template <typename Parent>
    OdbcResult Allocate(const Parent& parent) {
        Reset();
        SQLHANDLE made = SQL_NULL_HANDLE;
        OdbcResult result = CallOdbc(
            "SQLAllocHandle", parent,
            [](SQLHANDLE input, SQLHANDLE* output) { return SQLAllocHandle(Type, input, output); }, &made);
        if (result.Ok()) {
            handle_ = made;  // whatever a failed call left there is not ours to free
        }
        return result;
    }

    SQLHANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void Reset() noexcept {
        if (handle_ == nullptr) {
            return;
        }
        try {
            // A handle the driver manager will not free cannot be freed by us either; nobody is left to tell.
            (void)CallOdbc("SQLFreeHandle", *this,
                           [](SQLHANDLE handle) { return SQLFreeHandle(Type, handle); });
        } catch (...) {
            // Reading the failure's records ran out of memory: the handle is given up all the same.
        }
        handle_ = nullptr;
    }

  private:
    SQLHANDLE handle_ = nullptr;
};

using EnvHandle = OdbcHandle<SQL_HANDLE_ENV>;
using DbcHandle = OdbcHandle<SQL_HANDLE_DBC>;
using StmtHandle = OdbcHandle<SQL_HANDLE_STMT>;

/// The parent of an environment: there is none, so a failure has no records to read.
struct NoParentHandle {
    static constexpr SQLSMALLINT kType = SQL_HANDLE_ENV;
    SQLHANDLE Get() const { return SQL_NULL_HANDLE; }
};

/// An ODBC 3 environment, or an empty handle when the driver manager cannot give one.
EnvHandle AllocateEnvironment();

}  // namespace tabvet
