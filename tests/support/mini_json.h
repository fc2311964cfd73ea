// A strict JSON validator for tests: a results document must be one valid document as a whole (RFC 8259: no
// trailing commas or comments, no raw control characters, well-formed UTF-8, paired surrogate escapes).
#pragma once

#include <algorithm>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tabvet::testsupport {

class JsonParser {
  public:
    /// Throws std::runtime_error when `text` is not exactly one JSON document.
    static void Parse(std::string_view text) {
        JsonParser p{text};
        p.Value();
        p.Check(p.Peek() == '\0' && p.at_ == text.size(), "text after the document");
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
    bool Match(const std::regex& pattern) {
        std::cmatch match;
        const bool found = std::regex_search(t_.data() + at_, t_.data() + t_.size(), match, pattern,
                                             std::regex_constants::match_continuous);
        at_ += found ? match.length(0) : 0;
        return found;
    }

    void Value() {
        static const std::regex scalar(R"(null|true|false|-?(0|[1-9]\d*)(\.\d+)?([eE][+-]?\d+)?)");
        const char open = Peek();
        if (open == '"') {
            String();
        } else if (open != '{' && open != '[') {
            Check(Match(scalar), "value expected");
        } else if (++at_; !Take(static_cast<char>(open + 2))) {  // '{' + 2 is '}', '[' + 2 is ']'
            do {
                if (open == '{') {
                    Check(Peek() == '"', "member name expected");
                    String();
                    Check(Take(':'), "':' expected");
                }
                Value();
            } while (Take(','));
            Check(Take(static_cast<char>(open + 2)), "end of object or array expected");
        }
    }

    void String() {
        static const std::regex escape(
            R"(["\\/bfnrt]|u([dD][89abAB][0-9a-fA-F]{2}\\u[dD][c-fC-F]|(?![dD][89a-fA-F])[0-9a-fA-F]{2})[0-9a-fA-F]{2})");
        for (++at_;;) {
            Check(at_ < t_.size(), "unterminated string");
            const auto c = static_cast<unsigned char>(t_[at_++]);
            if (c == '"') {
                return;
            }
            Check(c >= 0x20, "raw control character in string");
            Check(c != '\\' || Match(escape), "bad escape or unpaired surrogate");
            // The continuation bytes a UTF-8 lead byte asks for.
            const int more = c < 0x80                 ? 0
                             : c >= 0xC2 && c <= 0xDF ? 1
                             : c >= 0xE0 && c <= 0xEF ? 2
                             : c >= 0xF0 && c <= 0xF4 ? 3
                                                      : -1;
            Check(more >= 0 && at_ + more <= t_.size(), "invalid UTF-8");
            for (int k = 0; k < more; ++k) {
                Check((t_[at_++] & 0xC0) == 0x80, "invalid UTF-8");
            }
        }
    }

    std::string_view t_;
    std::size_t at_ = 0;
};

}  // namespace tabvet::testsupport
