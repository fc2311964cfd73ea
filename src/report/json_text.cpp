// Result texts come from the database and may hold line breaks, tabs or stray bytes; each must survive
// as a valid JSON string.
#include "json_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace tabvet {
namespace {

struct LeadByte {
    std::uint8_t first;
    std::uint8_t last;
    std::size_t length;
    std::uint32_t minimum;  // smaller values are overlong forms
    std::uint8_t payloadMask;
};

constexpr LeadByte kLeadBytes[] = {
    {.first = 0xC2, .last = 0xDF, .length = 2, .minimum = 0x80, .payloadMask = 0x1F},
    {.first = 0xE0, .last = 0xEF, .length = 3, .minimum = 0x800, .payloadMask = 0x0F},
    {.first = 0xF0, .last = 0xF4, .length = 4, .minimum = 0x10000, .payloadMask = 0x07},
};

}  // namespace

std::size_t Utf8SequenceLength(std::string_view text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
    for (const LeadByte& lead : kLeadBytes) {
        if (byte(i) < lead.first || byte(i) > lead.last) {
            continue;
        }
        if (i + lead.length > text.size()) {
            return 0;
        }
        std::uint32_t code = byte(i) & lead.payloadMask;
        for (std::size_t k = 1; k < lead.length; ++k) {
            if ((byte(i + k) & 0xC0) != 0x80) {
                return 0;
            }
            code = (code << 6) | (byte(i + k) & 0x3F);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        return code < lead.minimum || code > 0x10FFFF || surrogate ? 0 : lead.length;
    }
    return 0;
}

std::string JsonString(std::string_view text, StrayByte stray) {
    std::string out;
    out.reserve(text.size() + 2);
    out.push_back('"');
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            const std::size_t length = Utf8SequenceLength(text, i);
            if (length == 0) {
                if (stray == StrayByte::Replaced) {
                    out += "\\ufffd";
                } else {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\udc%02x", c);
                    out += escaped;
                }
                ++i;
            } else {
                out.append(text.substr(i, length));
                i += length;
            }
            continue;
        }
        const auto* shortEscape =
            std::ranges::find(kShortEscapes, static_cast<char>(c), &ShortEscape::character);
        if (shortEscape != std::end(kShortEscapes)) {
            out += '\\';
            out += shortEscape->letter;
        } else if (c < 0x20 || c == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out.push_back(static_cast<char>(c));
        }
        ++i;
    }
    out.push_back('"');
    return out;
}

}  // namespace tabvet
