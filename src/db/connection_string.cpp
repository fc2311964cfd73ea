// Only keys are rewritten; values are copied byte for byte, so passwords with odd characters survive.
#include "connection_string.h"

#include "connection_string_pairs.h"

namespace tabvet {

bool HasPassword(std::string_view connectionString) {
    for (const ConnectionStringPair& pair : SplitConnectionString(connectionString)) {
        if (pair.isPair && (pair.key == "pwd" || pair.key == "password") &&
            pair.text.substr(pair.valueStart, pair.valueEnd - pair.valueStart).find_first_not_of(" \t{}") !=
                std::string_view::npos) {
            return true;
        }
    }
    return false;
}

std::string TranslateConnectionString(std::string_view connectionString) {
    std::string out;
    out.reserve(connectionString.size());
    for (const ConnectionStringPair& pair : SplitConnectionString(connectionString)) {
        if (!pair.isPair) {
            out += pair.text;
            continue;
        }
        if (pair.key == "provider") {
            continue;
        }
        const std::size_t equals = pair.valueStart - 1;
        if (pair.key == "user id") {
            out += "UID";
        } else if (pair.key == "password") {
            out += "PWD";
        } else if (pair.key == "data source") {
            out += "DSN";
        } else {
            out += pair.text.substr(0, equals);
        }
        out += pair.text.substr(equals);  // "=value;" as written
    }
    return out;
}

}  // namespace tabvet
