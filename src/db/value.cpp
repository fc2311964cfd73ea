// Conversions of field values: the rules of the classic data-access layer the checks were written for.
#include "value.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "runtime_error.h"

namespace tabvet {
namespace {

[[noreturn]] void RaiseNull() {
    throw RuntimeError(errnum::kInvalidUseOfNull, "Invalid use of Null");
}
[[noreturn]] void RaiseOverflow() {
    throw RuntimeError(errnum::kOverflow, "Overflow");
}

template <typename Int>
Int RoundToInt(double number) {
    if (!std::isfinite(number)) {
        RaiseOverflow();
    }
    // nearbyint honours the default rounding mode, round-half-to-even.
    const double rounded = std::nearbyint(number);
    if (rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<Int>::max())) {
        RaiseOverflow();
    }
    return static_cast<Int>(rounded);
}

// A whole text that must be a number (surrounding blanks allowed), as a text-to-integer conversion wants.
double StrictNumber(const std::string& text) {
    std::size_t begin = text.find_first_not_of(" \t");
    std::size_t end = text.find_last_not_of(" \t");
    if (begin == std::string::npos) {
        throw RuntimeError(errnum::kTypeMismatch, "Type mismatch");
    }
    const std::string trimmed = text.substr(begin, end - begin + 1);
    // strtod would accept hex floats, "inf" and "nan"; only plain decimal numbers are numbers here.
    for (char c : trimmed) {
        if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '+' || c == '-' || c == 'e' ||
              c == 'E')) {
            throw RuntimeError(errnum::kTypeMismatch, "Type mismatch");
        }
    }
    char* stop = nullptr;
    const double number = std::strtod(trimmed.c_str(), &stop);
    if (stop == trimmed.c_str() || *stop != '\0') {
        throw RuntimeError(errnum::kTypeMismatch, "Type mismatch");
    }
    return number;
}

}  // namespace

std::string ToText(const FieldValue& value) {
    if (!value) {
        RaiseNull();
    }
    return *value;
}

std::string TextOrEmpty(const FieldValue& value) {
    return value ? *value : std::string();
}

std::int16_t ToInt16(const FieldValue& value) {
    return RoundToInt16(StrictNumber(ToText(value)));
}

std::int32_t ToInt32(const FieldValue& value) {
    return RoundToInt32(StrictNumber(ToText(value)));
}

std::int16_t RoundToInt16(double number) {
    return RoundToInt<std::int16_t>(number);
}

std::int32_t RoundToInt32(double number) {
    return RoundToInt<std::int32_t>(number);
}

double LeadingNumber(std::string_view text) {
    // Blanks, tabs and line feeds are skipped wherever they stand, as the classic conversion does.
    std::string compact;
    for (char c : text) {
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
            compact.push_back(c);
        }
    }
    if (compact.size() > 2 && compact[0] == '&' &&
        (compact[1] == 'H' || compact[1] == 'h' || compact[1] == 'O' || compact[1] == 'o')) {
        const int base = (compact[1] == 'H' || compact[1] == 'h') ? 16 : 8;
        double result = 0;
        for (std::size_t i = 2; i < compact.size(); ++i) {
            const int digit = std::isxdigit(static_cast<unsigned char>(compact[i]))
                                  ? (std::isdigit(static_cast<unsigned char>(compact[i]))
                                         ? compact[i] - '0'
                                         : std::toupper(static_cast<unsigned char>(compact[i])) - 'A' + 10)
                                  : base;
            if (digit >= base) {
                break;
            }
            result = result * base + digit;
        }
        return result;
    }
    std::size_t i = 0;
    std::string number;
    if (i < compact.size() && (compact[i] == '+' || compact[i] == '-')) {
        number.push_back(compact[i++]);
    }
    bool digits = false;
    while (i < compact.size() && std::isdigit(static_cast<unsigned char>(compact[i]))) {
        number.push_back(compact[i++]);
        digits = true;
    }
    if (i < compact.size() && compact[i] == '.') {
        number.push_back(compact[i++]);
        while (i < compact.size() && std::isdigit(static_cast<unsigned char>(compact[i]))) {
            number.push_back(compact[i++]);
            digits = true;
        }
    }
    if (!digits) {
        return 0;
    }
    if (i < compact.size() &&
        (compact[i] == 'e' || compact[i] == 'E' || compact[i] == 'd' || compact[i] == 'D')) {
        std::string exponent = "e";
        std::size_t j = i + 1;
        if (j < compact.size() && (compact[j] == '+' || compact[j] == '-')) {
            exponent.push_back(compact[j++]);
        }
        bool expDigits = false;
        while (j < compact.size() && std::isdigit(static_cast<unsigned char>(compact[j]))) {
            exponent.push_back(compact[j++]);
            expDigits = true;
        }
        if (expDigits) {
            number += exponent;
        }
    }
    return std::strtod(number.c_str(), nullptr);
}

std::string TrimBlanks(const std::string& text) {
    const auto begin = text.find_first_not_of(' ');
    if (begin == std::string::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::string UpperCaseAscii(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

}  // namespace tabvet
