// Stands in for Notepad and the system-information program in the Windows tests: writes the command line it
// was started with (UTF-8) into the file that TABVET_RECORD_FILE names, and ends.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

int main() {
    const wchar_t* record = _wgetenv(L"TABVET_RECORD_FILE");
    if (record == nullptr) {
        return 2;
    }
    const wchar_t* line = GetCommandLineW();
    const int length = WideCharToMultiByte(CP_UTF8, 0, line, -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, line, -1, text.data(), length, nullptr, nullptr);
    text.resize(text.size() - 1);  // the terminating zero
    std::FILE* file = _wfopen(record, L"wb");
    if (file == nullptr) {
        return 3;
    }
    std::fwrite(text.data(), 1, text.size(), file);
    return std::fclose(file) == 0 ? 0 : 4;
}
