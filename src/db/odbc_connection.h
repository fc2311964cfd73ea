// The real connection: ODBC through the platform's driver manager.
#pragma once

#include <string>

#include "connection.h"
#include "odbc_handles.h"

namespace tabvet {

/// A connection over ODBC. No connection attribute is set: timeouts, cursor library and access mode stay
/// the driver's defaults.
class OdbcConnection final : public Connection {
  public:
    OdbcConnection() = default;
    ~OdbcConnection() override;

    void Close() override;
    int State() const override { return connected_ ? kStateOpen : kStateClosed; }

  protected:
    bool DoOpen(const std::string& connectionString) override;
    bool DoQuery(const std::string& sql, ResultTable& out) override;

  private:
    // Declared in this order so that the connection handle is freed before its environment.
    EnvHandle env_;
    DbcHandle dbc_;
    bool connected_ = false;
};

}  // namespace tabvet
