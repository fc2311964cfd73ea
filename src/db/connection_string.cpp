// Only keys are rewritten; values are copied byte for byte, so passwords with odd characters survive.
#include "connection_string.h"

#include <algorithm>
#include <cctype>

namespace tabvet {
namespace {

std::string NormalisedKey(std::string_view key) {
    const auto begin = key.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    const auto end = key.find_last_not_of(" \t");
    std::string folded(key.substr(begin, end - begin + 1));
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return folded;
}

// Length of the pair starting at `start`, up to and including its semicolon (if any). A value that
// begins with "{" runs to the matching "}" ("}}" inside braces stands for one "}").
std::size_t PairLength(std::string_view text, std::size_t start) {
    std::size_t i = start;
    const std::size_t equals = text.find('=', start);
    const std::size_t semicolon = text.find(';', start);
    if (equals == std::string_view::npos || (semicolon != std::string_view::npos && semicolon < equals)) {
        // No "=" before the next separator: an empty or key-only piece.
        return (semicolon == std::string_view::npos ? text.size() : semicolon + 1) - start;
    }
    i = equals + 1;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) {
        ++i;
    }
    if (i < text.size() && text[i] == '{') {
        ++i;
        while (i < text.size()) {
            if (text[i] == '}') {
                if (i + 1 < text.size() && text[i + 1] == '}') {
                    i += 2;
                    continue;
                }
                ++i;
                break;
            }
            ++i;
        }
    }
    const std::size_t next = text.find(';', i);
    return (next == std::string_view::npos ? text.size() : next + 1) - start;
}

// Calls `visit(key, pair, equals)` for each piece of the string that is a pair ("key=value;"), in order, and
// `visit("", piece, npos)` for each piece that is not.
template <typename Visit>
void ForEachPair(std::string_view connectionString, Visit visit) {
    std::size_t pos = 0;
    while (pos < connectionString.size()) {
        const std::size_t length = PairLength(connectionString, pos);
        const std::string_view pair = connectionString.substr(pos, length);
        pos += length;
        const std::size_t equals = pair.find('=');
        const std::size_t semicolon = pair.find(';');
        if (equals == std::string_view::npos || (semicolon != std::string_view::npos && semicolon < equals)) {
            visit(std::string(), pair, std::string_view::npos);
        } else {
            visit(NormalisedKey(pair.substr(0, equals)), pair, equals);
        }
    }
}

}  // namespace

bool HasPassword(std::string_view connectionString) {
    bool found = false;
    ForEachPair(connectionString, [&](const std::string& key, std::string_view pair, std::size_t equals) {
        if (key == "pwd" || key == "password") {
            std::string_view value = pair.substr(equals + 1);
            if (!value.empty() && value.back() == ';') {
                value.remove_suffix(1);
            }
            found = found || value.find_first_not_of(" \t{}") != std::string_view::npos;
        }
    });
    return found;
}

std::string TranslateConnectionString(std::string_view connectionString) {
    std::string out;
    out.reserve(connectionString.size());
    ForEachPair(connectionString, [&](const std::string& key, std::string_view pair, std::size_t equals) {
        if (equals == std::string_view::npos) {
            out += pair;
            return;
        }
        if (key == "provider") {
            return;
        }
        if (key == "user id") {
            out += "UID";
        } else if (key == "password") {
            out += "PWD";
        } else if (key == "data source") {
            out += "DSN";
        } else {
            out += pair.substr(0, equals);
        }
        out += pair.substr(equals);  // "=value;" as written
    });
    return out;
}

}  // namespace tabvet
