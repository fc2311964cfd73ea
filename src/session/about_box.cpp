// Two registry places name the program: its full path, or the folder of the shared tools.
#include "about_box.h"

namespace tabvet {
namespace {

constexpr const char* kPathKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kFolderKey = "SOFTWARE\\Microsoft\\Shared Tools Location";
constexpr const char* kProgramFile = "\\MSINFO32.EXE";

}  // namespace

AboutTexts MakeAboutTexts(int major, int minor, int revision) {
    return {
        std::string("About ") + kApplicationTitle, kApplicationTitle,
        "Version " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision)};
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
