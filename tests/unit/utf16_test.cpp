// Every statement and every value passes through these conversions: names must arrive intact, and broken
// input must become U+FFFD rather than stop a run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/utf16.h"

namespace tabvet {
namespace {

constexpr SQLWCHAR R = 0xFFFD;

TEST(Utf16, Utf8ToOdbcWideAndBack) {
    const std::pair<std::string, std::vector<SQLWCHAR>> toWide[] = {
        {"", {}},
        {"\xC3\xA9t\xE2\x82\xAC", {0xE9, 't', 0x20AC}},
        {"a\xF0\x9F\x98\x80z", {'a', 0xD83D, 0xDE00, 'z'}},  // a surrogate pair
        {"a\x80z\xF8z", {'a', R, 'z', R, 'z'}},              // stray continuation, byte that never starts one
        {"\xC3z!", {R, 'z', '!'}},                           // lead without its continuation
        {"ab\xE2\x82", {'a', 'b', R}},                       // cut at the end
        {"\xED\xA0\x80!", {R, R, R, '!'}},                   // encoded surrogate
        {"\xF4\x90\x80\x80!", {R, R, R, R, '!'}},            // beyond U+10FFFF
    };
    for (const auto& [utf8, units] : toWide) {
        EXPECT_EQ(ToOdbcWide(utf8), OdbcWideString(units.begin(), units.end())) << utf8;
    }
    const std::pair<std::vector<SQLWCHAR>, std::string> toUtf8[] = {
        {{0xE9, 0x20AC, 0xD83D, 0xDE00}, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {{0xD83D, 'x', 0xDE00}, "\xEF\xBF\xBDx\xEF\xBF\xBD"},  // lone high and low surrogates
        {{'x', 0xD83D}, "x\xEF\xBF\xBD"},
    };
    for (const auto& [units, utf8] : toUtf8) {
        EXPECT_EQ(FromOdbcWide(units.data(), units.size()), utf8) << utf8;
    }
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += i % 7 == 0 ? "\xC3\xA9" : (i % 11 == 0 ? "\xF0\x9F\x98\x80" : "x");
    }
    const OdbcWideString wide = ToOdbcWide(text);
    EXPECT_EQ(FromOdbcWide(wide.data(), wide.size()), text);
}

}  // namespace
}  // namespace tabvet
