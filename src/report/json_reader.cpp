// Recursive descent over the grammar of RFC 8259; the first fault ends the reading with its position, so a
// person can find it in the file.
#include "json_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "db/utf16.h"
#include "json_text.h"

namespace tabvet {
namespace {

struct JsonFault {
    std::string what;
    std::size_t at;
};

class Reader {
  public:
    explicit Reader(std::string_view text) : t_(text) {}

    JsonValue Document() {
        if (t_.starts_with("\xEF\xBB\xBF")) {
            Fail("a byte order mark");
        }
        JsonValue value = Value(0);
        SkipSpace();
        if (at_ != t_.size()) {
            Fail("text after the document");
        }
        return value;
    }

  private:
    [[noreturn]] void Fail(const std::string& what) const {
        throw JsonFault{at_ >= t_.size() ? "unexpected end of text, " + what : what, at_};
    }

    void SkipSpace() {
        while (at_ < t_.size() && (t_[at_] == ' ' || t_[at_] == '\t' || t_[at_] == '\n' || t_[at_] == '\r')) {
            ++at_;
        }
    }

    char Peek() const { return at_ < t_.size() ? t_[at_] : '\0'; }

    void Expect(char c, const char* what) {
        SkipSpace();
        if (at_ >= t_.size() || t_[at_] != c) {
            Fail(std::string(what) + " expected");
        }
        ++at_;
    }

    JsonValue Value(std::size_t depth) {
        SkipSpace();
        switch (Peek()) {
            case '{':
                return Object(depth + 1);
            case '[':
                return Array(depth + 1);
            case '"':
                return {.type = JsonValue::Type::String, .text = String()};
            case 't':
                return Literal("true", {.type = JsonValue::Type::Boolean, .boolean = true});
            case 'f':
                return Literal("false", {.type = JsonValue::Type::Boolean, .boolean = false});
            case 'n':
                return Literal("null", {});
            default:
                return Number();
        }
    }

    JsonValue Literal(std::string_view word, JsonValue value) {
        if (t_.substr(at_, word.size()) != word) {
            Fail("a value expected");
        }
        at_ += word.size();
        return value;
    }

    void Digits() {
        const std::size_t start = at_;
        while (at_ < t_.size() && t_[at_] >= '0' && t_[at_] <= '9') {
            ++at_;
        }
        if (at_ == start) {
            Fail("a digit expected");
        }
    }

    JsonValue Number() {
        const std::size_t start = at_;
        if (Peek() == '-') {
            ++at_;
        }
        if (Peek() < '0' || Peek() > '9') {
            Fail("a value expected");
        }
        if (Peek() == '0') {
            ++at_;
            if (Peek() >= '0' && Peek() <= '9') {
                Fail("a number with a leading zero");
            }
        } else {
            Digits();
        }
        if (Peek() == '.') {
            ++at_;
            Digits();
        }
        if (Peek() == 'e' || Peek() == 'E') {
            ++at_;
            if (Peek() == '+' || Peek() == '-') {
                ++at_;
            }
            Digits();
        }
        return {.type = JsonValue::Type::Number, .text = std::string(t_.substr(start, at_ - start))};
    }

    unsigned Hex4() {
        unsigned value = 0;
        for (int k = 0; k < 4; ++k, ++at_) {
            const char c = Peek();
            const int digit = c >= '0' && c <= '9'   ? c - '0'
                              : c >= 'a' && c <= 'f' ? c - 'a' + 10
                              : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                     : -1;
            if (digit < 0) {
                Fail("four hexadecimal digits expected after \\u");
            }
            value = value * 16 + static_cast<unsigned>(digit);
        }
        return value;
    }

    // The code point of a \u escape whose "\u" has been read, a surrogate pair taken whole.
    std::uint32_t Escape() {
        const std::uint32_t first = Hex4();
        if (first >= 0xDC00 && first <= 0xDFFF) {
            Fail("an unpaired surrogate escape");
        }
        if (first < 0xD800 || first > 0xDBFF) {
            return first;
        }
        if (t_.substr(at_, 2) != "\\u") {
            Fail("an unpaired surrogate escape");
        }
        at_ += 2;
        const std::uint32_t second = Hex4();
        if (second < 0xDC00 || second > 0xDFFF) {
            Fail("an unpaired surrogate escape");
        }
        return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
    }

    std::string String() {
        ++at_;  // the opening quote
        std::string out;
        while (true) {
            if (at_ >= t_.size()) {
                Fail("the string not closed");
            }
            const auto c = static_cast<unsigned char>(t_[at_]);
            if (c == '"') {
                ++at_;
                return out;
            }
            if (c < 0x20) {
                Fail("a control character in a string");
            }
            if (c >= 0x80) {
                const std::size_t length = Utf8SequenceLength(t_, at_);
                if (length == 0) {
                    Fail("invalid UTF-8");
                }
                out.append(t_.substr(at_, length));
                at_ += length;
                continue;
            }
            ++at_;
            if (c != '\\') {
                out.push_back(static_cast<char>(c));
                continue;
            }
            const char e = Peek();
            ++at_;
            const auto* shortEscape = std::ranges::find(kShortEscapes, e, &ShortEscape::letter);
            if (e == 'u') {
                AppendUtf8(out, static_cast<char32_t>(Escape()));
            } else if (e == '/') {
                out.push_back(e);  // allowed, though JsonString never writes it
            } else if (shortEscape != std::end(kShortEscapes)) {
                out.push_back(shortEscape->character);
            } else {
                --at_;
                Fail("an unknown escape");
            }
        }
    }

    void CheckDepth(std::size_t depth) const {
        if (depth > kMaxJsonDepth) {
            Fail("arrays and objects nested more than " + std::to_string(kMaxJsonDepth) + " deep");
        }
    }

    JsonValue Array(std::size_t depth) {
        CheckDepth(depth);
        ++at_;
        JsonValue array{.type = JsonValue::Type::Array};
        SkipSpace();
        if (Peek() == ']') {
            ++at_;
            return array;
        }
        while (true) {
            array.items.push_back(Value(depth));
            SkipSpace();
            if (Peek() == ']') {
                ++at_;
                return array;
            }
            Expect(',', "',' or ']'");
        }
    }

    JsonValue Object(std::size_t depth) {
        CheckDepth(depth);
        ++at_;
        JsonValue object{.type = JsonValue::Type::Object};
        SkipSpace();
        if (Peek() == '}') {
            ++at_;
            return object;
        }
        while (true) {
            SkipSpace();
            if (Peek() != '"') {
                Fail("a member name expected");
            }
            const std::size_t nameAt = at_;
            std::string name = String();
            if (object.Member(name) != nullptr) {
                at_ = nameAt;
                Fail("a member name given twice");
            }
            Expect(':', "':'");
            object.members.emplace_back(std::move(name), Value(depth));
            SkipSpace();
            if (Peek() == '}') {
                ++at_;
                return object;
            }
            Expect(',', "',' or '}'");
        }
    }

    std::string_view t_;
    std::size_t at_ = 0;
};

// Line and column (both from 1, the column counted in bytes) of byte `at`.
std::string Position(std::string_view text, std::size_t at) {
    std::size_t line = 1;
    std::size_t lineStart = 0;
    for (std::size_t i = 0; i < at && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(at - lineStart + 1);
}

}  // namespace

const JsonValue* JsonValue::Member(std::string_view name) const {
    for (const auto& [memberName, value] : members) {
        if (memberName == name) {
            return &value;
        }
    }
    return nullptr;
}

std::optional<std::int32_t> JsonValue::WholeNumber() const {
    if (type != Type::Number) {
        return std::nullopt;
    }
    std::int32_t number = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (ec != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

JsonParse ReadJson(std::string_view text) {
    try {
        return {Reader(text).Document(), {}};
    } catch (const JsonFault& fault) {
        return {std::nullopt, fault.what + " at " + Position(text, fault.at)};
    }
}

}  // namespace tabvet
