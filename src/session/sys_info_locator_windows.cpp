// The registry is read with the wide calls, so a folder name outside the ANSI code page survives; keys are
// opened only to read: the program writes nothing there, and asking for more is refused to a user who is
// not an administrator.
#include <windows.h>
// after windows.h, which declares its types
#include <shellapi.h>

#include "about_box.h"
#include "db/utf16.h"

namespace tabvet {
namespace {

constexpr DWORD kValueBufferBytes = 1024;

std::wstring Wide(const std::string& text) {
    const OdbcWideString wide = ToOdbcWide(text);
    return std::wstring(wide.begin(), wide.end());
}

std::optional<std::string> ReadRegistryValue(const std::string& key, const std::string& valueName) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, Wide(key).c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    wchar_t buffer[kValueBufferBytes / sizeof(wchar_t)];
    DWORD size = kValueBufferBytes;
    DWORD type = 0;
    const LONG rc = RegQueryValueExW(handle, Wide(valueName).c_str(), nullptr, &type,
                                     reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(handle);
    if (rc != ERROR_SUCCESS) {
        return std::nullopt;
    }
    if (type == REG_DWORD && size == 4) {
        // A number is returned as its decimal text.
        const auto* bytes = reinterpret_cast<const unsigned char*>(buffer);
        const unsigned long number =
            bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<unsigned long>(bytes[3]) << 24);
        return std::to_string(number);
    }
    std::size_t length = size / sizeof(wchar_t);
    if (length > 0 && buffer[length - 1] == L'\0') {
        --length;
    }
    return FromOdbcWide(reinterpret_cast<const SQLWCHAR*>(buffer), length);
}

bool FileExists(const std::string& path) {
    return GetFileAttributesW(Wide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool StartProgram(const std::string& path) {
    return reinterpret_cast<INT_PTR>(
               ShellExecuteW(nullptr, L"open", Wide(path).c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

}  // namespace

SysInfoLocator PlatformSysInfoLocator() {
    return {ReadRegistryValue, FileExists, StartProgram};
}

}  // namespace tabvet
