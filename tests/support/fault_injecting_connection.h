// A real ODBC connection that runs a fault (stop the server, end the session) right before a chosen
// statement, so that a test can break a run at an exact point instead of racing it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "db/connection.h"
#include "db/odbc_connection.h"

namespace tabvet::testsupport {

class FaultInjectingConnection final : public Connection {
  public:
    /// Decides, before each statement, whether the fault strikes now; `number` counts statements from 1.
    using Trigger = std::function<bool(const std::string& sql, std::size_t number)>;

    /// The fault runs once, before the first statement for which `trigger` is true.
    void InjectBefore(Trigger trigger, std::function<void()> fault) {
        trigger_ = std::move(trigger);
        fault_ = std::move(fault);
        injected_ = false;
    }
    bool Injected() const { return injected_; }
    /// How many statements reached the driver.
    std::size_t Sent() const { return sent_; }

    /// The server process behind this session, read on the session itself (not counted as a statement).
    std::string BackendPid() {
        ResultTable table;
        return inner_.Query("SELECT pg_backend_pid()", table) && !table.cells.empty() ? *table.cells[0] : "";
    }

    /// Lets a run open extra connections for its probes: plain ones, which no fault strikes.
    void AllowProbeConnections() { probes_ = true; }

    void Close() override { inner_.Close(); }
    int State() const override { return inner_.State(); }
    std::unique_ptr<Connection> NewProbeConnection() const override {
        return probes_ ? inner_.NewProbeConnection() : nullptr;
    }

  protected:
    bool DoOpen(const std::string& connectionString) override {
        const bool opened = inner_.Open(connectionString);
        CopyErrors();
        return opened;
    }
    bool DoQuery(const std::string& sql, ResultTable& out) override {
        ++sent_;
        if (!injected_ && trigger_ && trigger_(sql, sent_)) {
            injected_ = true;
            fault_();
        }
        const bool ok = inner_.Query(sql, out);
        CopyErrors();
        return ok;
    }

  private:
    void CopyErrors() {
        for (std::int32_t i = 0; i < inner_.Errors().Count(); ++i) {
            Errors().Add(inner_.Errors().Item(i));
        }
    }

    OdbcConnection inner_;
    Trigger trigger_;
    std::function<void()> fault_;
    bool injected_ = false;
    bool probes_ = false;
    std::size_t sent_ = 0;
};

}  // namespace tabvet::testsupport
