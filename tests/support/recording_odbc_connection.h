// A real ODBC connection that also keeps every statement it sends, so that tests against the real driver can
// tell exactly what a check asked the database, and what it did not ask.
#pragma once

#include <string>
#include <vector>

#include "db/connection.h"
#include "db/odbc_connection.h"

namespace tabvet::testsupport {

class RecordingOdbcConnection final : public Connection {
  public:
    /// Every statement that reached the driver, in order.
    const std::vector<std::string>& Sent() const { return sent_; }

    void Close() override { inner_.Close(); }
    int State() const override { return inner_.State(); }

  protected:
    bool DoOpen(const std::string& connectionString) override {
        const bool opened = inner_.Open(connectionString);
        CopyErrors();
        return opened;
    }
    bool DoQuery(const std::string& sql, ResultTable& out) override {
        sent_.push_back(sql);
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
    std::vector<std::string> sent_;
};

}  // namespace tabvet::testsupport
