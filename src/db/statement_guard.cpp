// The check is on the raw text, quotes included: none of our own statements needs these characters.
#include "statement_guard.h"

namespace tabvet {

bool IsSingleStatement(std::string_view sql) {
    return sql.find(';') == std::string_view::npos && sql.find("--") == std::string_view::npos &&
           sql.find("/*") == std::string_view::npos;
}

}  // namespace tabvet
