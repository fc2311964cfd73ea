// Text values as JSON string literals, for the machine-readable results.
#pragma once

#include <string>
#include <string_view>

namespace tabvet {

/// What becomes of a byte that is not part of valid UTF-8.
enum class StrayByte {
    Replaced,  ///< \ufffd: the text stays readable, though different bytes then read alike
    Escaped,   ///< \udcXX for byte XX: every text keeps a string of its own (finding keys)
};

/// The characters a JSON string writes as a backslash and one letter, and that letter: written so by
/// JsonString and read back by the strict reader.
struct ShortEscape {
    char character;
    char letter;
};
inline constexpr ShortEscape kShortEscapes[] = {{'"', '"'},  {'\\', '\\'}, {'\b', 'b'}, {'\f', 'f'},
                                                {'\n', 'n'}, {'\r', 'r'},  {'\t', 't'}};

/// `text` as a quoted JSON string: quotes, backslashes and control characters escaped, valid UTF-8
/// passed through unchanged, and any byte that is not part of valid UTF-8 replaced by U+FFFD (or escaped)
/// so the document stays valid whatever a driver returned.
std::string JsonString(std::string_view text, StrayByte stray = StrayByte::Replaced);

/// Length of the valid UTF-8 sequence that starts at text[i], or 0 when the bytes there are not one
/// (overlong forms, surrogates and values past U+10FFFF included).
std::size_t Utf8SequenceLength(std::string_view text, std::size_t i);

}  // namespace tabvet
