// Conversions that decide whether a check reads a value or ends the run with an error.
#include <gtest/gtest.h>

#include "db/runtime_error.h"
#include "db/value.h"

namespace tabvet {
namespace {

// Number of the error a conversion raises, or 0 when it succeeds.
template <typename F>
std::int32_t RaisedNumber(F convert) {
    try {
        convert();
        return 0;
    } catch (const RuntimeError& e) {
        return e.Number();
    }
}

TEST(ValueConversionTest, IntegerConversions) {
    struct Case {
        FieldValue input;
        std::int32_t as16;  // expected value when no error
        std::int32_t error16;
        std::int32_t as32;
        std::int32_t error32;
    };
    const Case cases[] = {
        {"9", 9, 0, 9, 0},
        {" 42 ", 42, 0, 42, 0},
        {"2.5", 2, 0, 2, 0},  // halves go to the even neighbour
        {"-2.5", -2, 0, -2, 0},
        {"32767", 32767, 0, 32767, 0},
        {"32768", 0, errnum::kOverflow, 32768, 0},
        {"16777216", 0, errnum::kOverflow, 16777216, 0},
        {"2147483648", 0, errnum::kOverflow, 0, errnum::kOverflow},
        {"1e3", 1000, 0, 1000, 0},
        {std::nullopt, 0, errnum::kInvalidUseOfNull, 0, errnum::kInvalidUseOfNull},
        {"", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
        {"abc", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
        {"inf", 0, errnum::kTypeMismatch, 0, errnum::kTypeMismatch},
    };
    for (const Case& c : cases) {
        const std::string label = c.input ? "'" + *c.input + "'" : "NULL";
        EXPECT_EQ(RaisedNumber([&] { (void)ToInt16(c.input); }), c.error16) << label;
        EXPECT_EQ(RaisedNumber([&] { (void)ToInt32(c.input); }), c.error32) << label;
        if (c.error16 == 0) {
            EXPECT_EQ(ToInt16(c.input), c.as16) << label;
        }
        if (c.error32 == 0) {
            EXPECT_EQ(ToInt32(c.input), c.as32) << label;
        }
    }
}

TEST(ValueConversionTest, NullToTextRaisesButConcatenationToleratesIt) {
    EXPECT_EQ(RaisedNumber([] { (void)ToText(std::nullopt); }), errnum::kInvalidUseOfNull);
    EXPECT_EQ(ToText(FieldValue{""}), "");
    EXPECT_EQ(TextOrEmpty(std::nullopt), "");
    EXPECT_EQ(TextOrEmpty(FieldValue{"x"}), "x");
}

TEST(ValueConversionTest, LeadingNumberOfTypedText) {
    struct Case {
        const char* text;
        double expected;
    };
    const Case cases[] = {
        {"", 0},    {"9.1", 9.1}, {"  8 ", 8},    {"1 2", 12},      {"12abc", 12}, {"abc12", 0},
        {"-3", -3}, {".5", 0.5},  {"1e", 1},      {"2d1", 20},      {"&H1F", 31},  {"&O17", 15},
        {"-", 0},   {"9.0.0", 9}, {"1.2.3", 1.2}, {"99999", 99999},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(LeadingNumber(c.text), c.expected) << "'" << c.text << "'";
    }
}

}  // namespace
}  // namespace tabvet
