// A small strict JSON reader for tests: proves a document is valid and lets a test look inside it.
#pragma once

#include <cstdint>
#include <memory>
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

/// Parses a complete document (RFC 8259: no trailing commas, no comments, strings valid UTF-8 without raw
/// control characters, nothing after the value). Throws std::runtime_error saying where it is wrong.
class JsonParser {
  public:
    static Json Parse(std::string_view text) {
        JsonParser parser(text);
        Json value = parser.Value();
        parser.Blanks();
        if (parser.at_ != text.size()) {
            parser.Fail("text after the document");
        }
        return value;
    }

  private:
    explicit JsonParser(std::string_view text) : text_(text) {}

    [[noreturn]] void Fail(const std::string& what) const {
        throw std::runtime_error("invalid JSON at byte " + std::to_string(at_) + ": " + what);
    }
    void Blanks() {
        while (at_ < text_.size() &&
               (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n' || text_[at_] == '\r')) {
            ++at_;
        }
    }
    bool Take(char c) {
        Blanks();
        if (at_ < text_.size() && text_[at_] == c) {
            ++at_;
            return true;
        }
        return false;
    }
    void Expect(char c) {
        if (!Take(c)) {
            Fail(std::string("expected '") + c + "'");
        }
    }
    bool Word(std::string_view word) {
        if (text_.substr(at_, word.size()) == word) {
            at_ += word.size();
            return true;
        }
        return false;
    }

    Json Value() {
        Blanks();
        if (at_ >= text_.size()) {
            Fail("value expected");
        }
        const char c = text_[at_];
        if (c == '{')
            return Object();
        if (c == '[')
            return Array();
        if (c == '"')
            return Json{String()};
        if (Word("null"))
            return Json{nullptr};
        if (Word("true"))
            return Json{true};
        if (Word("false"))
            return Json{false};
        return Json{Number()};
    }

    Json Object() {
        auto object = std::make_shared<JsonObject>();
        Expect('{');
        if (!Take('}')) {
            do {
                Blanks();
                if (at_ >= text_.size() || text_[at_] != '"') {
                    Fail("member name expected");
                }
                std::string name = String();
                Expect(':');
                object->emplace_back(std::move(name), Value());
            } while (Take(','));
            Expect('}');
        }
        return Json{object};
    }

    Json Array() {
        auto array = std::make_shared<JsonArray>();
        Expect('[');
        if (!Take(']')) {
            do {
                array->push_back(Value());
            } while (Take(','));
            Expect(']');
        }
        return Json{array};
    }

    double Number() {
        const std::size_t start = at_;
        auto digits = [&] {
            const std::size_t from = at_;
            while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9') {
                ++at_;
            }
            return at_ - from;
        };
        Word("-");
        if (Word("0")) {
        } else if (digits() == 0) {
            Fail("number expected");
        }
        if (Word(".") && digits() == 0) {
            Fail("digits expected after '.'");
        }
        if (Word("e") || Word("E")) {
            Word("+") || Word("-");
            if (digits() == 0) {
                Fail("exponent expected");
            }
        }
        return std::stod(std::string(text_.substr(start, at_ - start)));
    }

    unsigned Hex4() {
        if (at_ + 4 > text_.size()) {
            Fail("short \\u escape");
        }
        unsigned code = 0;
        for (int k = 0; k < 4; ++k) {
            const char h = text_[at_++];
            code <<= 4;
            if (h >= '0' && h <= '9')
                code |= h - '0';
            else if (h >= 'a' && h <= 'f')
                code |= h - 'a' + 10;
            else if (h >= 'A' && h <= 'F')
                code |= h - 'A' + 10;
            else
                Fail("bad hex digit");
        }
        return code;
    }

    static void AppendUtf8(std::string& out, std::uint32_t code) {
        if (code < 0x80) {
            out.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (code >> 6)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (code >> 12)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (code >> 18)));
            out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }

    // Copies one raw UTF-8 sequence, checking that it is well formed.
    void RawUtf8(std::string& out) {
        const auto lead = static_cast<unsigned char>(text_[at_]);
        std::size_t length = lead < 0x80                    ? 1
                             : lead >= 0xC2 && lead <= 0xDF ? 2
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 0;
        if (length == 0 || at_ + length > text_.size()) {
            Fail("invalid UTF-8");
        }
        std::uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text_[at_ + k]);
            if ((next & 0xC0) != 0x80) {
                Fail("invalid UTF-8");
            }
            code = (code << 6) | (next & 0x3F);
        }
        const std::uint32_t minimum[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < minimum[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            Fail("invalid UTF-8");
        }
        out.append(text_.substr(at_, length));
        at_ += length;
    }

    std::string String() {
        ++at_;  // opening quote
        std::string out;
        while (true) {
            if (at_ >= text_.size()) {
                Fail("unterminated string");
            }
            const char c = text_[at_];
            if (c == '"') {
                ++at_;
                return out;
            }
            if (static_cast<unsigned char>(c) < 0x20) {
                Fail("raw control character in string");
            }
            if (c != '\\') {
                RawUtf8(out);
                continue;
            }
            if (++at_ >= text_.size()) {
                Fail("unterminated escape");
            }
            const char e = text_[at_++];
            switch (e) {
                case '"':
                    out.push_back('"');
                    break;
                case '\\':
                    out.push_back('\\');
                    break;
                case '/':
                    out.push_back('/');
                    break;
                case 'b':
                    out.push_back('\b');
                    break;
                case 'f':
                    out.push_back('\f');
                    break;
                case 'n':
                    out.push_back('\n');
                    break;
                case 'r':
                    out.push_back('\r');
                    break;
                case 't':
                    out.push_back('\t');
                    break;
                case 'u': {
                    std::uint32_t code = Hex4();
                    if (code >= 0xD800 && code <= 0xDBFF) {
                        if (!Word("\\u")) {
                            Fail("unpaired surrogate");
                        }
                        const unsigned low = Hex4();
                        if (low < 0xDC00 || low > 0xDFFF) {
                            Fail("unpaired surrogate");
                        }
                        code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    } else if (code >= 0xDC00 && code <= 0xDFFF) {
                        Fail("unpaired surrogate");
                    }
                    AppendUtf8(out, code);
                    break;
                }
                default:
                    Fail("unknown escape");
            }
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace tabvet::testsupport
