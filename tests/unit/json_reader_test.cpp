// The strict JSON reader that baselines go through: every malformed input is refused with what is wrong and
// where.
#include <gtest/gtest.h>

#include "report/json_reader.h"

namespace tabvet {
namespace {

TEST(JsonReader, RefusesEveryMalformedDocumentSayingWhatAndWhere) {
    const struct {
        std::string text;
        std::string error;
    } cases[] = {
        {"", "unexpected end of text, a value expected at line 1, column 1"},
        {"   \n ", "unexpected end of text, a value expected at line 2, column 2"},
        {"{", "unexpected end of text, a member name expected at line 1, column 2"},
        {"{\"a\": 1", "unexpected end of text, ',' or '}' expected at line 1, column 8"},
        {"{\"a\" 1}", "':' expected at line 1, column 6"},
        {"{\"a\": 1,}", "a member name expected at line 1, column 9"},
        {"[1, 2,]", "a value expected at line 1, column 7"},
        {"[1 2]", "',' or ']' expected at line 1, column 4"},
        {"{a: 1}", "a member name expected at line 1, column 2"},
        {"{\"a\": 1, \"a\": 2}", "a member name given twice at line 1, column 10"},
        {"{\"a\": 1} {}", "text after the document at line 1, column 10"},
        {"{} // note", "text after the document at line 1, column 4"},
        {"/* note */ {}", "a value expected at line 1, column 1"},
        {"\xEF\xBB\xBF{}", "a byte order mark at line 1, column 1"},
        {"'text'", "a value expected at line 1, column 1"},
        {"True", "a value expected at line 1, column 1"},
        {"nul", "a value expected at line 1, column 1"},
        {"01", "a number with a leading zero at line 1, column 2"},
        {"-", "unexpected end of text, a value expected at line 1, column 2"},
        {"1.", "unexpected end of text, a digit expected at line 1, column 3"},
        {"1e+", "unexpected end of text, a digit expected at line 1, column 4"},
        {".5", "a value expected at line 1, column 1"},
        {"+1", "a value expected at line 1, column 1"},
        {"NaN", "a value expected at line 1, column 1"},
        {"\"open", "unexpected end of text, the string not closed at line 1, column 6"},
        {"\"a\tb\"", "a control character in a string at line 1, column 3"},
        {"\"a\nb\"", "a control character in a string at line 1, column 3"},
        {"\"\\x41\"", "an unknown escape at line 1, column 3"},
        {"\"\\u12G4\"", "four hexadecimal digits expected after \\u at line 1, column 6"},
        {"\"\\ud83d\"", "an unpaired surrogate escape at line 1, column 8"},
        {"\"\\ud83d\\u0041\"", "an unpaired surrogate escape at line 1, column 14"},
        {"\"\\ude00\"", "an unpaired surrogate escape at line 1, column 8"},
        {"\"\xC3\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xC0\xAF\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xED\xA0\x80\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\xF4\x90\x80\x80\"", "invalid UTF-8 at line 1, column 2"},
        {"\"\x80\"", "invalid UTF-8 at line 1, column 2"},
        {std::string(65, '[') + std::string(65, ']'),
         "arrays and objects nested more than 64 deep at line 1, column 65"},
        {std::string("[\0]", 3), "a value expected at line 1, column 2"},
        // Accepted: what a baseline's values read as is in the unit baseline cases.
        {std::string(64, '[') + std::string(64, ']'), ""},
        {" {\"\": [true, false, null, {}, []]}\r\n", ""},
    };
    for (const auto& c : cases) {
        const JsonParse parsed = ReadJson(c.text);
        EXPECT_EQ(parsed.value.has_value(), c.error.empty()) << c.text;
        EXPECT_EQ(parsed.error, c.error) << c.text;
    }
}

}  // namespace
}  // namespace tabvet
