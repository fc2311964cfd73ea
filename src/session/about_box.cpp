// Two registry places name the program: its full path, or the folder of the shared tools.
#include "about_box.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace tabvet {
namespace {

constexpr const char* kPathKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kFolderKey = "SOFTWARE\\Microsoft\\Shared Tools Location";
constexpr const char* kProgramFile = "\\MSINFO32.EXE";

#ifdef _WIN32
std::optional<std::string> ReadRegistryValue(const std::string& key, const std::string& valueName) {
    HKEY handle = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    char buffer[1024];
    DWORD size = sizeof buffer;
    DWORD type = 0;
    const LONG rc =
        RegQueryValueExA(handle, valueName.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(handle);
    if (rc != ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::string value(buffer, size);
    if (!value.empty() && value.back() == '\0') {
        value.pop_back();
    }
    if (type == REG_DWORD && size == 4) {
        // A number is returned as its decimal text.
        const auto* bytes = reinterpret_cast<const unsigned char*>(buffer);
        const unsigned long number =
            bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<unsigned long>(bytes[3]) << 24);
        return std::to_string(number);
    }
    return value;
}

bool FileExists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool StartProgram(const std::string& path) {
    return reinterpret_cast<INT_PTR>(
               ShellExecuteA(nullptr, "open", path.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}
#endif

}  // namespace

AboutTexts MakeAboutTexts(int major, int minor, int revision) {
    return {
        std::string("About ") + kApplicationTitle, kApplicationTitle,
        "Version " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision)};
}

SysInfoLocator PlatformSysInfoLocator() {
#ifdef _WIN32
    return {ReadRegistryValue, FileExists, StartProgram};
#else
    return {[](const std::string&, const std::string&) { return std::optional<std::string>(); },
            [](const std::string& path) {
                struct stat info {};
                return ::stat(path.c_str(), &info) == 0;
            },
            [](const std::string&) { return false; }};
#endif
}

void StartSysInfo(const SysInfoLocator& locator, IUserInteraction& ui) {
    std::optional<std::string> path = locator.readValue(kPathKey, "PATH");
    if (!path) {
        if (const auto folder = locator.readValue(kFolderKey, "MSINFO")) {
            const std::string candidate = *folder + kProgramFile;
            if (locator.fileExists(candidate)) {
                path = candidate;
            }
        }
    }
    if (!path || !locator.start(*path)) {
        ui.Inform("System Information Is Unavailable At This Time", "");
    }
}

}  // namespace tabvet
