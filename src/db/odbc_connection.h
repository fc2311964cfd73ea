// The real connection: ODBC through the platform's driver manager.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "connection.h"
#include "odbc_handles.h"

namespace tabvet {

/// A connection over ODBC. Only the login and query timeouts are set; cursor library and access mode stay
/// the driver's defaults.
class OdbcConnection final : public Connection {
  public:
    OdbcConnection() = default;
    ~OdbcConnection() override;

    void Close() override;
    int State() const override { return connected_ ? kStateOpen : kStateClosed; }
    std::unique_ptr<Connection> NewProbeConnection() const override;
    /// What the driver says of the link (SQL_ATTR_CONNECTION_DEAD); a driver that cannot tell is taken at
    /// its word that the connection lives.
    bool Lost() const override;

  protected:
    bool DoOpen(const std::string& connectionString) override;
    bool DoQuery(const std::string& sql, ResultTable& out) override;
    void DoCancel() override;

  private:
    // Declared in this order so that the statement handle is freed before its connection, and the connection
    // before its environment.
    EnvHandle env_;
    DbcHandle dbc_;
    // One statement handle serves every query: each query reads its rows completely and closes its cursor
    // before it returns, and allocating a handle costs the driver more than a small statement does.
    StmtHandle stmt_;
    // Held while the statement handle is made or freed, and by a cancel from another thread, so that a
    // cancel never reaches a handle being freed. The statement itself runs without it.
    std::mutex stmtMutex_;
    // True while the driver executes a statement: only then is there something to cancel.
    std::atomic<bool> executing_ = false;
    // Where cells are read into; it keeps the size of the longest cell so far, not the cells.
    std::vector<SQLWCHAR> cellBuffer_;
    bool connected_ = false;
};

/// A new, closed ODBC connection: the connection factory the program gives its window's model.
std::unique_ptr<Connection> NewOdbcConnection();

}  // namespace tabvet
