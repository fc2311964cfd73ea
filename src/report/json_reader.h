// A small strict JSON reader, for the earlier results a run is compared with. Strict because a baseline
// that half-parses would silently accept too little or too much.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tabvet {

/// One JSON value. Numbers keep their text; strings are UTF-8; object members keep their order.
struct JsonValue {
    enum class Type { Null, Boolean, Number, String, Array, Object };

    Type type = Type::Null;
    bool boolean = false;
    std::string text = {};  ///< a string's value, or a number as written
    std::vector<JsonValue> items = {};
    std::vector<std::pair<std::string, JsonValue>> members = {};

    /// The member called `name` of an object; null when there is none or this is no object.
    const JsonValue* Member(std::string_view name) const;
    /// A number written as a whole number that fits 32 bits ("3", "-1"; not "3.0" or "1e2").
    std::optional<std::int32_t> WholeNumber() const;
};

struct JsonParse {
    std::optional<JsonValue> value;  ///< empty when the text is not one JSON document
    std::string error;               ///< what is wrong and where: "':' expected at line 3, column 9"
};

/// Reads `text` as exactly one JSON document (RFC 8259): no comments, trailing commas, byte order mark,
/// raw control characters in strings, unpaired surrogate escapes, invalid UTF-8 or duplicate member names,
/// nothing after the document but white space, and at most kMaxJsonDepth nested arrays and objects.
JsonParse ReadJson(std::string_view text);

inline constexpr std::size_t kMaxJsonDepth = 64;

}  // namespace tabvet
