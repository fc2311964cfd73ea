// Invalid input never throws: a broken sequence becomes U+FFFD, since the text is shown, not parsed.
#include "utf16.h"

#include <cstdint>

namespace tabvet {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Writes one code point at `out` and returns the position after it.
SQLWCHAR* PutWide(SQLWCHAR* out, char32_t cp) {
    if (cp >= 0x10000) {
        cp -= 0x10000;
        *out++ = static_cast<SQLWCHAR>(0xD800 + (cp >> 10));
        *out++ = static_cast<SQLWCHAR>(0xDC00 + (cp & 0x3FF));
    } else {
        *out++ = static_cast<SQLWCHAR>(cp);
    }
    return out;
}

}  // namespace

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

OdbcWideString ToOdbcWide(std::string_view utf8) {
    // Every statement passes through here, so the text is written in place: no sequence yields more units
    // than it has bytes, so the result is sized once and trimmed at the end.
    OdbcWideString out(utf8.size(), SQLWCHAR{0});
    SQLWCHAR* next = out.data();
    std::size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            *next++ = lead;
            ++i;
            continue;
        }
        std::size_t extra = 0;
        char32_t cp = 0;
        if ((lead & 0xE0) == 0xC0) {
            extra = 1;
            cp = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2;
            cp = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3;
            cp = lead & 0x07;
        } else {
            next = PutWide(next, kReplacement);
            ++i;
            continue;
        }
        if (i + extra >= utf8.size()) {
            next = PutWide(next, kReplacement);
            break;
        }
        bool valid = true;
        for (std::size_t k = 1; k <= extra; ++k) {
            const auto cont = static_cast<unsigned char>(utf8[i + k]);
            if ((cont & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            cp = (cp << 6) | (cont & 0x3F);
        }
        if (!valid || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            next = PutWide(next, kReplacement);
            ++i;
            continue;
        }
        next = PutWide(next, cp);
        i += extra + 1;
    }
    out.resize(static_cast<std::size_t>(next - out.data()));
    return out;
}

std::string FromOdbcWide(const SQLWCHAR* text, std::size_t length) {
    std::string out;
    out.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        char32_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < length && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            unit = kReplacement;
        }
        AppendUtf8(out, unit);
    }
    return out;
}

}  // namespace tabvet
