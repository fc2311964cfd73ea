// Every statement and every value passes through these conversions: names must arrive intact, and broken
// input must become U+FFFD rather than stop a run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/utf16.h"

namespace tabvet {
namespace {

constexpr SQLWCHAR kReplacement = 0xFFFD;

OdbcWideString Units(std::vector<SQLWCHAR> units) {
    return OdbcWideString(units.begin(), units.end());
}

TEST(Utf16Test, Utf8ToOdbcWide) {
    struct Case {
        const char* label;
        std::string utf8;
        OdbcWideString wide;
    };
    const Case cases[] = {
        {"empty", "", Units({})},
        {"ascii", "SELECT 1", Units({'S', 'E', 'L', 'E', 'C', 'T', ' ', '1'})},
        {"two-byte", "\xC3\xA9t\xC3\xA9", Units({0xE9, 't', 0xE9})},
        {"three-byte", "\xE2\x82\xAC", Units({0x20AC})},
        {"four-byte becomes a surrogate pair", "a\xF0\x9F\x98\x80z", Units({'a', 0xD83D, 0xDE00, 'z'})},
        {"stray continuation byte", "a\x80z", Units({'a', kReplacement, 'z'})},
        {"byte that never starts a sequence", "\xF8z", Units({kReplacement, 'z'})},
        {"lead without its continuation", "\xC3z!", Units({kReplacement, 'z', '!'})},
        {"sequence cut at the end stops the text", "ab\xE2\x82", Units({'a', 'b', kReplacement})},
        {"lone lead byte at the end", "ab\xC3", Units({'a', 'b', kReplacement})},
        {"encoded surrogate", "\xED\xA0\x80!", Units({kReplacement, kReplacement, kReplacement, '!'})},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80!",
         Units({kReplacement, kReplacement, kReplacement, kReplacement, '!'})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ToOdbcWide(c.utf8), c.wide) << c.label;
    }
}

TEST(Utf16Test, OdbcWideToUtf8) {
    struct Case {
        const char* label;
        OdbcWideString wide;
        std::string utf8;
    };
    const Case cases[] = {
        {"empty", Units({}), ""},
        {"ascii", Units({'O', 'K'}), "OK"},
        {"two and three bytes", Units({0xE9, 0x20AC}), "\xC3\xA9\xE2\x82\xAC"},
        {"surrogate pair", Units({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80"},
        {"lone high surrogate", Units({0xD83D, 'x'}), "\xEF\xBF\xBDx"},
        {"lone low surrogate", Units({0xDE00}), "\xEF\xBF\xBD"},
        {"high surrogate at the end", Units({'x', 0xD83D}), "x\xEF\xBF\xBD"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FromOdbcWide(c.wide.data(), c.wide.size()), c.utf8) << c.label;
    }
}

TEST(Utf16Test, LongTextsSurviveTheRoundTrip) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += i % 7 == 0 ? "\xC3\xA9" : (i % 11 == 0 ? "\xF0\x9F\x98\x80" : "x");
    }
    const OdbcWideString wide = ToOdbcWide(text);
    EXPECT_EQ(FromOdbcWide(wide.data(), wide.size()), text);
}

}  // namespace
}  // namespace tabvet
