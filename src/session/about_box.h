// What the about box shows, and how it finds the system-information program.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "db/user_interaction.h"

namespace tabvet {

inline constexpr const char* kApplicationTitle = "Tessel System Table Diagnostics";

/// The about box's caption, title and version line.
struct AboutTexts {
    std::string caption;
    std::string title;
    std::string version;
};

/// "About " + title, the title, and "Version " major.minor.revision.
AboutTexts MakeAboutTexts(int major, int minor, int revision);

/// Where the system-information program can be read from: the registry on Windows, nothing elsewhere.
struct SysInfoLocator {
    /// A value under HKEY_LOCAL_MACHINE, or nothing when it cannot be read.
    std::function<std::optional<std::string>(const std::string& key, const std::string& valueName)> readValue;
    std::function<bool(const std::string& path)> fileExists;
    /// Starts the program; false when it could not be started.
    std::function<bool(const std::string& path)> start;
};

/// The locator of this platform (on systems without that registry, every read comes back empty).
SysInfoLocator PlatformSysInfoLocator();

/// Starts the system-information program, or says "System Information Is Unavailable At This Time".
void StartSysInfo(const SysInfoLocator& locator, IUserInteraction& ui);

}  // namespace tabvet
