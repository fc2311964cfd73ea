// Fuzzes the translation of the data-access layer's connection-string keywords. Checks, for any bytes: no
// crash, no "Provider" pair left, every other pair's value byte for byte and in order, only the three
// keys renamed, and a second translation changes nothing.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "db/connection_string.h"

namespace {

struct Piece {
    std::string key;   // as written, before "="; the whole piece when it has no "="
    std::string rest;  // "=" and everything after it, the semicolon included; empty without "="
    bool operator==(const Piece&) const = default;
};

// The pair rules, written down once more independently: pairs end at ";" outside braces, a value that
// starts with "{" (after blanks) runs to its "}" ("}}" inside stands for "}"), a last pair needs no ";".
std::vector<Piece> Split(std::string_view text) {
    std::vector<Piece> pieces;
    for (std::size_t pos = 0, i = 0; pos < text.size(); pos = i = std::min(i + 1, text.size())) {
        i = std::min(text.find_first_of("=;", pos), text.size());
        if (i == text.size() || text[i] == ';') {
            pieces.push_back({std::string(text.substr(pos, i + 1 - pos)), ""});
            continue;
        }
        const std::size_t equals = i;
        i = std::min(text.find_first_not_of(" \t", i + 1), text.size());
        if (i < text.size() && text[i] == '{') {
            while (++i < text.size() && (text[i] != '}' || text.substr(i, 2) == "}}")) {
                i += text[i] == '}' ? 1 : 0;
            }
        }
        i = std::min(text.find(';', i), text.size());
        pieces.push_back(
            {std::string(text.substr(pos, equals - pos)), std::string(text.substr(equals, i + 1 - equals))});
    }
    return pieces;
}

std::string Folded(std::string key) {
    key.erase(0, key.find_first_not_of(" \t"));
    key.erase(key.find_last_not_of(" \t") + 1);
    for (char& c : key) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return key;
}

[[noreturn]] void Fail(const char* what, const std::string& input, const std::string& output) {
    std::fprintf(stderr, "%s\ninput:  [%s]\noutput: [%s]\n", what, input.c_str(), output.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string output = tabvet::TranslateConnectionString(input);
    if (output.size() > input.size()) {
        Fail("the translation grew", input, output);
    }
    if (tabvet::TranslateConnectionString(output) != output) {
        Fail("a second translation changed the string", input, output);
    }
    std::vector<Piece> expected;
    for (Piece piece : Split(input)) {
        if (piece.rest.empty()) {
            expected.push_back(piece);
            continue;
        }
        const std::string key = Folded(piece.key);
        if (key == "provider") {
            continue;
        }
        const std::map<std::string, std::string> renamed{
            {"user id", "UID"}, {"password", "PWD"}, {"data source", "DSN"}};
        if (const auto it = renamed.find(key); it != renamed.end()) {
            piece.key = it->second;
        }
        expected.push_back(piece);
    }
    if (Split(output) != expected) {
        Fail("a pair changed, went missing or was added", input, output);
    }
    return 0;
}
