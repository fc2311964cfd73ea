// A strict JSON reader for tests: a results document must be one valid document as a whole (RFC 8259: no
// trailing commas or comments, no raw control characters, well-formed UTF-8, paired surrogate escapes), and
// the tests read its values back.
#pragma once

#include <algorithm>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tabvet::testsupport {

struct JsonValue {
    enum class Kind { Literal, String, Array, Object };
    Kind kind = Kind::Literal;
    std::string text;              ///< a string's value, or a number, true, false or null as written
    std::string name;              ///< of an object's member
    std::vector<JsonValue> items;  ///< of an array, or the members of an object

    /// The member `name` of an object; null when there is none.
    const JsonValue& operator[](std::string_view member) const {
        static const JsonValue kNull{.kind = Kind::Literal, .text = "null", .name = {}, .items = {}};
        const auto it =
            std::find_if(items.begin(), items.end(), [&](const JsonValue& m) { return m.name == member; });
        return kind != Kind::Object || it == items.end() ? kNull : *it;
    }
};

class JsonParser {
  public:
    /// Throws std::runtime_error when `text` is not exactly one JSON document.
    static JsonValue Parse(std::string_view text) {
        JsonParser p{text};
        JsonValue value = p.Value();
        p.Check(p.Peek() == '\0' && p.at_ == text.size(), "text after the document");
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
        at_ = std::min(t_.find_first_not_of(" \t\n\r", at_), t_.size());
        return at_ < t_.size() ? t_[at_] : '\0';
    }
    bool Take(char c) { return Peek() == c && ++at_ > 0; }
    bool Match(const std::regex& pattern, std::string* matched = nullptr) {
        std::cmatch match;
        const bool found = std::regex_search(t_.data() + at_, t_.data() + t_.size(), match, pattern,
                                             std::regex_constants::match_continuous);
        if (found && matched != nullptr) {
            *matched = match.str(0);
        }
        at_ += found ? match.length(0) : 0;
        return found;
    }

    JsonValue Value() {
        static const std::regex scalar(R"(null|true|false|-?(0|[1-9]\d*)(\.\d+)?([eE][+-]?\d+)?)");
        JsonValue value;
        const char open = Peek();
        if (open == '"') {
            value.kind = JsonValue::Kind::String;
            value.text = String();
        } else if (open != '{' && open != '[') {
            Check(Match(scalar, &value.text), "value expected");
        } else if (++at_; value.kind = open == '{' ? JsonValue::Kind::Object : JsonValue::Kind::Array,
                          !Take(static_cast<char>(open + 2))) {  // '{' + 2 is '}', '[' + 2 is ']'
            do {
                std::string name;
                if (open == '{') {
                    Check(Peek() == '"', "member name expected");
                    name = String();
                    Check(Take(':'), "':' expected");
                }
                value.items.push_back(Value());
                value.items.back().name = std::move(name);
            } while (Take(','));
            Check(Take(static_cast<char>(open + 2)), "end of object or array expected");
        }
        return value;
    }

    // The UTF-8 of a code point written as \uXXXX (with its low surrogate when it has one).
    static std::string Utf8(const std::string& escape) {
        unsigned long cp = std::stoul(escape.substr(1, 4), nullptr, 16);
        if (escape.size() > 5) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (std::stoul(escape.substr(7, 4), nullptr, 16) - 0xDC00);
        }
        static constexpr unsigned char kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
        const int extra = cp < 0x80 ? 0 : cp < 0x800 ? 1 : cp < 0x10000 ? 2 : 3;
        std::string out(1, static_cast<char>(kLead[extra] | (cp >> (6 * extra))));
        for (int k = extra - 1; k >= 0; --k) {
            out += static_cast<char>(0x80 | ((cp >> (6 * k)) & 0x3F));
        }
        return out;
    }

    std::string String() {
        static const std::regex escape(
            R"(["\\/bfnrt]|u([dD][89abAB][0-9a-fA-F]{2}\\u[dD][c-fC-F]|(?![dD][89a-fA-F])[0-9a-fA-F]{2})[0-9a-fA-F]{2})");
        std::string out;
        for (++at_;;) {
            Check(at_ < t_.size(), "unterminated string");
            const auto c = static_cast<unsigned char>(t_[at_++]);
            if (c == '"') {
                return out;
            }
            Check(c >= 0x20, "raw control character in string");
            if (c == '\\') {
                std::string e;
                Check(Match(escape, &e), "bad escape or unpaired surrogate");
                const std::size_t simple = std::string_view("\"\\/bfnrt").find(e[0]);
                out += e[0] == 'u' ? Utf8(e) : std::string(1, "\"\\/\b\f\n\r\t"[simple]);
                continue;
            }
            // The continuation bytes a UTF-8 lead byte asks for.
            const int more = c < 0x80                 ? 0
                             : c >= 0xC2 && c <= 0xDF ? 1
                             : c >= 0xE0 && c <= 0xEF ? 2
                             : c >= 0xF0 && c <= 0xF4 ? 3
                                                      : -1;
            Check(more >= 0 && at_ + more <= t_.size(), "invalid UTF-8");
            out += static_cast<char>(c);
            for (int k = 0; k < more; ++k) {
                Check((t_[at_] & 0xC0) == 0x80, "invalid UTF-8");
                out += t_[at_++];
            }
        }
    }

    std::string_view t_;
    std::size_t at_ = 0;
};

}  // namespace tabvet::testsupport
