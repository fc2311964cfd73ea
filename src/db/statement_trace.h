// An opt-in record of every statement sent, for measuring a run against the bare driver.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tabvet {

/// When the environment variable TABVET_STATEMENT_TRACE names a file (read once, at the first statement),
/// every statement sent is appended to it by the ODBC door just before the driver gets it, one per line, with
/// backslash, carriage return and line feed written as \\, \r and \n. Off by default: then a statement costs
/// one test and nothing is kept.
class StatementTrace {
  public:
    static void Record(std::string_view sql);
    /// Appends statements kept by a Deferral, as Record would have written them.
    static void Write(const std::vector<std::string>& statements);

    /// While it lives, the statements this thread sends are kept in `into` instead of being written (only
    /// when the trace is on), so that the thread that uses their results writes them in the order it uses
    /// them: a run over several connections leaves the trace a run over one would.
    class Deferral {
      public:
        explicit Deferral(std::vector<std::string>& into);
        ~Deferral();
        Deferral(const Deferral&) = delete;
        Deferral& operator=(const Deferral&) = delete;

      private:
        std::vector<std::string>* outer_;
    };
};

}  // namespace tabvet
