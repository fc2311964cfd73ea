// A real ODBC connection that also remembers every statement it was given, so that tests can see which
// statements a component sent to the real driver.
#pragma once

#include <string>
#include <vector>

#include "db/odbc_connection.h"

namespace tabvet::testsupport {

class TracingConnection final : public Connection {
  public:
    void Close() override { inner_.Close(); }
    int State() const override { return inner_.State(); }

    /// Every statement that reached the connection, in order.
    const std::vector<std::string>& Sent() const { return sent_; }

  protected:
    bool DoOpen(const std::string& connectionString) override {
        const bool opened = inner_.Open(connectionString);
        TakeErrors();
        return opened;
    }
    bool DoQuery(const std::string& sql, ResultTable& out) override {
        sent_.push_back(sql);
        const bool ran = inner_.Query(sql, out);
        TakeErrors();
        return ran;
    }

  private:
    void TakeErrors() {
        for (std::int32_t i = 0; i < inner_.Errors().Count(); ++i) {
            Errors().Add(inner_.Errors().Item(i));
        }
    }

    OdbcConnection inner_;
    std::vector<std::string> sent_;
};

}  // namespace tabvet::testsupport
