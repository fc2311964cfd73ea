// An opt-in record of every statement sent, for measuring a run against the bare driver.
#pragma once

#include <string_view>

namespace tabvet {

/// When the environment variable TABVET_STATEMENT_TRACE names a file, every statement sent is appended to
/// it, one per line. Off by default; costs one check per statement when off.
class StatementTrace {
  public:
    static void Record(std::string_view sql);
};

}  // namespace tabvet
