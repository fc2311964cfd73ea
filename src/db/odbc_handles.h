// Move-only owners of ODBC handles: each frees its handle exactly once, in a noexcept destructor.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <utility>

namespace tabvet {

/// Owns one ODBC handle of kind `Type` (SQL_HANDLE_ENV, SQL_HANDLE_DBC, SQL_HANDLE_STMT).
template <SQLSMALLINT Type>
class OdbcHandle {
  public:
    OdbcHandle() = default;
    explicit OdbcHandle(SQLHANDLE handle) : handle_(handle) {}
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

    SQLHANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void Reset() noexcept {
        if (handle_ != nullptr) {
            SQLFreeHandle(Type, handle_);
            handle_ = nullptr;
        }
    }

  private:
    SQLHANDLE handle_ = nullptr;
};

using EnvHandle = OdbcHandle<SQL_HANDLE_ENV>;
using DbcHandle = OdbcHandle<SQL_HANDLE_DBC>;
using StmtHandle = OdbcHandle<SQL_HANDLE_STMT>;

/// An ODBC 3 environment, or an empty handle when the driver manager cannot give one.
EnvHandle AllocateEnvironment();

}  // namespace tabvet
