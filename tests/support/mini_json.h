// A small strict JSON reader for tests: proves a document is valid and lets a test look inside it.
#pragma once

#include <cstdint>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tabvet::testsupport {

struct Json;
using JsonArray = std::vector<Json>;
using JsonObject = std::vector<std::pair<std::string, Json>>;  // in document order

struct Json {
    std::variant<std::nullptr_t, bool, double, std::string, std::shared_ptr<JsonArray>,
                 std::shared_ptr<JsonObject>>
        value;

    bool IsNull() const { return std::holds_alternative<std::nullptr_t>(value); }
    bool Bool() const { return std::get<bool>(value); }
    double Number() const { return std::get<double>(value); }
    const std::string& String() const { return std::get<std::string>(value); }
    const JsonArray& Array() const { return *std::get<std::shared_ptr<JsonArray>>(value); }
    const JsonObject& Object() const { return *std::get<std::shared_ptr<JsonObject>>(value); }
    /// The member `key` of an object; throws when there is none.
    const Json& operator[](const std::string& key) const {
        for (const auto& [name, member] : Object()) {
            if (name == key) {
                return member;
            }
        }
        throw std::out_of_range("no member " + key);
    }
    std::vector<std::string> Keys() const {
        std::vector<std::string> keys;
        for (const auto& member : Object()) {
            keys.push_back(member.first);
        }
        return keys;
    }
};

/// Parses a complete document (RFC 8259: no trailing commas, no comments, no raw control characters in
/// strings, well-formed UTF-8 sequences, nothing after the value). Throws std::runtime_error when invalid.
class JsonParser {
  public:
    static Json Parse(std::string_view text) {
        JsonParser parser(text);
        Json value = parser.Value();
        parser.Check(parser.Peek() == '\0' && parser.at_ == text.size(), "text after the document");
        return value;
    }

  private:
    explicit JsonParser(std::string_view text) : t_(text) {}

    void Check(bool ok, const char* what) const {
        if (!ok) {
            throw std::runtime_error("invalid JSON at byte " + std::to_string(at_) + ": " + what);
        }
    }
    char Peek() {
        while (at_ < t_.size() && std::string_view(" \t\n\r").find(t_[at_]) != std::string_view::npos) {
            ++at_;
        }
        return at_ < t_.size() ? t_[at_] : '\0';
    }
    bool Take(char c) {
        const bool found = Peek() == c;
        at_ += found ? 1 : 0;
        return found;
    }
    bool Word(std::string_view word) {
        const bool found = t_.substr(at_, word.size()) == word;
        at_ += found ? word.size() : 0;
        return found;
    }

    Json Value() {
        if (Take('{')) {
            auto object = std::make_shared<JsonObject>();
            if (!Take('}')) {
                do {
                    Check(Peek() == '"', "member name expected");
                    std::string name = String();
                    Check(Take(':'), "':' expected");
                    object->emplace_back(std::move(name), Value());
                } while (Take(','));
                Check(Take('}'), "'}' expected");
            }
            return Json{object};
        }
        if (Take('[')) {
            auto array = std::make_shared<JsonArray>();
            if (!Take(']')) {
                do {
                    array->push_back(Value());
                } while (Take(','));
                Check(Take(']'), "']' expected");
            }
            return Json{array};
        }
        if (Peek() == '"') {
            return Json{String()};
        }
        if (Word("null")) {
            return Json{nullptr};
        }
        if (Word("true")) {
            return Json{true};
        }
        if (Word("false")) {
            return Json{false};
        }
        static const std::regex number(R"(-?(0|[1-9]\d*)(\.\d+)?([eE][+-]?\d+)?)");
        std::cmatch match;
        Check(std::regex_search(t_.data() + at_, t_.data() + t_.size(), match, number,
                                std::regex_constants::match_continuous),
              "value expected");
        at_ += match.length(0);
        return Json{std::stod(match.str(0))};
    }

    std::string String() {
        ++at_;  // opening quote
        std::string out;
        for (;;) {
            Check(at_ < t_.size(), "unterminated string");
            const auto c = static_cast<unsigned char>(t_[at_++]);
            if (c == '"') {
                return out;
            }
            Check(c >= 0x20, "raw control character in string");
            if (c != '\\') {  // one UTF-8 sequence
                const int more = c < 0x80                 ? 0
                                 : c >= 0xC2 && c <= 0xDF ? 1
                                 : c >= 0xE0 && c <= 0xEF ? 2
                                 : c >= 0xF0 && c <= 0xF4 ? 3
                                                          : -1;
                Check(more >= 0 && at_ + more <= t_.size(), "invalid UTF-8");
                out.push_back(static_cast<char>(c));
                for (int k = 0; k < more; ++k) {
                    Check((t_[at_] & 0xC0) == 0x80, "invalid UTF-8");
                    out.push_back(t_[at_++]);
                }
                continue;
            }
            Check(at_ < t_.size(), "unterminated escape");
            const char e = t_[at_++];
            if (const auto k = std::string_view("\"\\/bfnrt").find(e); k != std::string_view::npos) {
                out.push_back("\"\\/\b\f\n\r\t"[k]);
                continue;
            }
            Check(e == 'u', "bad escape");
            std::uint32_t code = Hex4();
            if (code >= 0xD800 && code <= 0xDBFF) {
                Check(Word("\\u"), "unpaired surrogate");
                const std::uint32_t low = Hex4();
                Check(low >= 0xDC00 && low <= 0xDFFF, "unpaired surrogate");
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            }
            Check(code < 0xDC00 || code > 0xDFFF, "unpaired surrogate");
            const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
            const unsigned lead[] = {0x00, 0xC0, 0xE0, 0xF0};
            out.push_back(static_cast<char>(lead[more] | (code >> (6 * more))));
            for (int k = more - 1; k >= 0; --k) {
                out.push_back(static_cast<char>(0x80 | ((code >> (6 * k)) & 0x3F)));
            }
        }
    }

    std::uint32_t Hex4() {
        const std::string hex(t_.substr(at_, 4));
        Check(hex.size() == 4 && hex.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos,
              "bad \\u escape");
        at_ += 4;
        return static_cast<std::uint32_t>(std::stoul(hex, nullptr, 16));
    }

    std::string_view t_;
    std::size_t at_ = 0;
};

}  // namespace tabvet::testsupport
