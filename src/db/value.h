// Field values and the classic conversions that the checks apply to them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tabvet {

/// A field as read from a result set: NULL, or text (numbers in the driver's text form, e.g. "16777216").
using FieldValue = std::optional<std::string>;

/// The text of a value; NULL raises "Invalid use of Null".
std::string ToText(const FieldValue& value);

/// The text of a value for NULL-tolerant concatenation: NULL adds nothing.
std::string TextOrEmpty(const FieldValue& value);

/// Converts to a 16-bit integer: halves round to even, out of range raises "Overflow", NULL raises
/// "Invalid use of Null", text that is not a number raises "Type mismatch".
std::int16_t ToInt16(const FieldValue& value);

/// As ToInt16, for 32-bit integers.
std::int32_t ToInt32(const FieldValue& value);

/// The leading number of a text, as typed into a box: blanks are ignored, reading stops at the first
/// character that cannot continue a number, and text without a leading number gives 0.
double LeadingNumber(std::string_view text);

/// A 16-bit integer from a number: halves round to even, out of range raises "Overflow".
std::int16_t RoundToInt16(double number);

/// A 32-bit integer from a number: halves round to even, out of range raises "Overflow".
std::int32_t RoundToInt32(double number);

/// The text without its leading and trailing blanks (tabs and other white space stay).
std::string TrimBlanks(const std::string& text);

/// The text with its ASCII letters upper-cased; every other byte (UTF-8 included) stays as it is, so the
/// result does not depend on the process locale.
std::string UpperCaseAscii(std::string text);

}  // namespace tabvet
