// Fuzzes the translation of the data-access layer's connection-string keywords. Checks, for any bytes: no
// crash, no "Provider" pair left, every other pair's value byte for byte and in order, only the three
// keys renamed, and a second translation changes nothing.
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
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t i = pos;
        while (i < text.size() && text[i] != '=' && text[i] != ';') {
            ++i;
        }
        if (i == text.size() || text[i] == ';') {
            const std::size_t end = i == text.size() ? i : i + 1;
            pieces.push_back({std::string(text.substr(pos, end - pos)), ""});
            pos = end;
            continue;
        }
        const std::size_t equals = i++;
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
        while (i < text.size() && text[i] != ';') {
            ++i;
        }
        const std::size_t end = i == text.size() ? i : i + 1;
        pieces.push_back(
            {std::string(text.substr(pos, equals - pos)), std::string(text.substr(equals, end - equals))});
        pos = end;
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
