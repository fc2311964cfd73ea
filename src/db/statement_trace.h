// An opt-in record of every statement sent, for measuring a run against the bare driver.
#pragma once

#include <string_view>

namespace tabvet {

/// When the environment variable TABVET_STATEMENT_TRACE names a file (read once, at the first statement),
/// every statement sent is appended to it by the ODBC door just before the driver gets it, one per line, with
/// backslash, carriage return and line feed written as \\, \r and \n. Off by default: then a statement costs
/// one test and nothing is kept.
class StatementTrace {
  public:
    static void Record(std::string_view sql);
};

}  // namespace tabvet
