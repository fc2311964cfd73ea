// The narrow argv and environment of a Windows program hold only the ANSI code page; the wide ones hold
// everything the user typed.
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// after windows.h, which declares its types
#include <shellapi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>

#include "db/utf16.h"
#include "process_text.h"

namespace tabvet {
namespace {

std::string Utf8(const wchar_t* text) {
    return FromOdbcWide(reinterpret_cast<const SQLWCHAR*>(text), std::wcslen(text));
}

struct LocalFreer {
    void operator()(wchar_t** arguments) const { LocalFree(arguments); }
};

}  // namespace

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalFreer> wide(CommandLineToArgvW(GetCommandLineW(), &count));
    if (!wide || count != argc) {
        // The C runtime split the line differently: its view stands.
        return std::vector<std::string>(argv + 1, argv + argc);
    }
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(Utf8(wide.get()[i]));
    }
    return arguments;
}

StandardStreams::StandardStreams() {
    for (std::FILE* stream : {stdin, stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    const UINT earlier = GetConsoleOutputCP();
    if (earlier != 0 && earlier != CP_UTF8 && SetConsoleOutputCP(CP_UTF8)) {
        earlierConsoleCodePage_ = earlier;
    }
}

StandardStreams::~StandardStreams() {
    if (earlierConsoleCodePage_ != 0) {
        SetConsoleOutputCP(earlierConsoleCodePage_);
    }
}

bool StandardErrorIsTerminal() {
    // A console, not a pipe or file: _isatty says yes for the NUL device too, GetConsoleMode does not.
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

std::optional<std::string> EnvironmentText(const char* name) {
    const std::wstring wideName(name, name + std::strlen(name));
    const wchar_t* value = _wgetenv(wideName.c_str());
    return value != nullptr && *value != L'\0' ? std::optional<std::string>(Utf8(value)) : std::nullopt;
}

}  // namespace tabvet
