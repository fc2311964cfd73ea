// Readers of a report on Windows open it as ANSI text (Notepad without a byte-order mark does), so it is
// written in the ANSI code page, without the system's best-fit substitutes: what the page cannot hold
// shows as "?" rather than as a look-alike letter.
#include <windows.h>

#include <string>

#include "report_encoding.h"

namespace tabvet {

std::string ReportFileText(const std::string& text) {
    if (text.empty()) {
        return text;
    }
    // A byte that is not UTF-8 becomes U+FFFD here, and "?" below.
    const int wideLength =
        MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(wideLength), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), wideLength);
    DWORD flags = WC_NO_BEST_FIT_CHARS;
    const char* missing = "?";
    int length = WideCharToMultiByte(CP_ACP, flags, wide.data(), wideLength, nullptr, 0, missing, nullptr);
    if (length == 0) {
        // A system whose ANSI code page is UTF-8 (or another page without substitutes) takes neither.
        flags = 0;
        missing = nullptr;
        length = WideCharToMultiByte(CP_ACP, flags, wide.data(), wideLength, nullptr, 0, missing, nullptr);
    }
    std::string ansi(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_ACP, flags, wide.data(), wideLength, ansi.data(), length, missing, nullptr);
    return ansi;
}

}  // namespace tabvet
