// Every rule here reads the pairs the same way the driver manager does, so a password in braces with a
// semicolon inside is still recognised as one value.
#include "connection_string_pairs.h"

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

// The end of the value that starts at `i`: past a closing brace when it is braced, then up to the next ";".
std::size_t ValueEnd(std::string_view text, std::size_t i) {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) {
        ++i;
    }
    if (i < text.size() && text[i] == '{') {
        for (++i; i < text.size(); ++i) {
            if (text[i] == '}') {
                if (i + 1 < text.size() && text[i + 1] == '}') {
                    ++i;
                    continue;
                }
                ++i;
                break;
            }
        }
    }
    const std::size_t next = text.find(';', i);
    return next == std::string_view::npos ? text.size() : next;
}

bool IsPasswordKey(const std::string& key) {
    return key == "pwd" || key == "password";
}

// The bytes that start a character in UTF-8: every byte but a continuation byte.
bool StartsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

}  // namespace

std::vector<ConnectionStringPair> SplitConnectionString(std::string_view connectionString) {
    std::vector<ConnectionStringPair> pairs;
    std::size_t pos = 0;
    while (pos < connectionString.size()) {
        const std::size_t equals = connectionString.find('=', pos);
        const std::size_t semicolon = connectionString.find(';', pos);
        if (equals == std::string_view::npos || (semicolon != std::string_view::npos && semicolon < equals)) {
            // No "=" before the next separator: an empty or key-only piece.
            const std::size_t end =
                semicolon == std::string_view::npos ? connectionString.size() : semicolon + 1;
            pairs.push_back({connectionString.substr(pos, end - pos), false, {}, 0, 0});
            pos = end;
            continue;
        }
        const std::size_t valueEnd = ValueEnd(connectionString, equals + 1);
        const std::size_t end = std::min(valueEnd + 1, connectionString.size());
        pairs.push_back({connectionString.substr(pos, end - pos), true,
                         NormalisedKey(connectionString.substr(pos, equals - pos)), equals + 1 - pos,
                         valueEnd - pos});
        pos = end;
    }
    return pairs;
}

std::string MaskPasswords(std::string_view connectionString) {
    std::string shown;
    shown.reserve(connectionString.size());
    for (const ConnectionStringPair& pair : SplitConnectionString(connectionString)) {
        if (!pair.isPair || !IsPasswordKey(pair.key)) {
            shown += pair.text;
            continue;
        }
        shown += pair.text.substr(0, pair.valueStart);
        const std::string_view value = pair.text.substr(pair.valueStart, pair.valueEnd - pair.valueStart);
        shown.append(static_cast<std::size_t>(std::count_if(value.begin(), value.end(), StartsCharacter)),
                     '*');
        shown += pair.text.substr(pair.valueEnd);
    }
    return shown;
}

std::string WithoutPasswords(std::string_view connectionString) {
    std::string kept;
    for (const ConnectionStringPair& pair : SplitConnectionString(connectionString)) {
        if (!pair.isPair || !IsPasswordKey(pair.key)) {
            kept += pair.text;
        }
    }
    return kept;
}

std::string ConnectionStringValue(std::string_view connectionString, const std::vector<std::string>& keys) {
    for (const ConnectionStringPair& pair : SplitConnectionString(connectionString)) {
        if (!pair.isPair || std::find(keys.begin(), keys.end(), pair.key) == keys.end()) {
            continue;
        }
        std::string_view value = pair.text.substr(pair.valueStart, pair.valueEnd - pair.valueStart);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        value.remove_suffix(value.size() - std::min(value.find_last_not_of(" \t") + 1, value.size()));
        if (value.size() >= 2 && value.front() == '{' && value.back() == '}') {
            std::string unbraced;
            for (std::size_t i = 1; i + 1 < value.size(); ++i) {
                unbraced += value[i];
                i += value[i] == '}' && value[i + 1] == '}' ? 1 : 0;
            }
            return unbraced;
        }
        return std::string(value);
    }
    return {};
}

}  // namespace tabvet
