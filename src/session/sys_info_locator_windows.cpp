// The registry is read with the wide calls, so a folder name outside the ANSI code page survives. Keys are
// opened with all value rights plus read, as the system-information lookup always has: where that is refused
// (a user who is not an administrator), the tool is reported unavailable, as before.
#include <windows.h>
// after windows.h, which declares its types
#include <shellapi.h>

#include <cstdint>

#include "about_box.h"
#include "db/utf16.h"

namespace tabvet {
namespace {

constexpr DWORD kValueBufferBytes = 1024;
constexpr REGSAM kAllValueRightsPlusRead = 0x2003F;

std::wstring Wide(const std::string& text) {
    const OdbcWideString wide = ToOdbcWide(text);
    return std::wstring(wide.begin(), wide.end());
}

std::optional<std::string> ReadRegistryValue(const std::string& key, const std::string& valueName) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, Wide(key).c_str(), 0, kAllValueRightsPlusRead, &handle) !=
        ERROR_SUCCESS) {
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
        // A number is returned as the decimal text of its 32-bit signed value.
        const auto* bytes = reinterpret_cast<const unsigned char*>(buffer);
        const std::uint32_t bits =
            bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
        return std::to_string(static_cast<std::int32_t>(bits));
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
