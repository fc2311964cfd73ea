// What the window remembers from one start to the next, and what may never be stored: a password.
#pragma once

#include <optional>
#include <string>

#include "main_state.h"

namespace tabvet {

/// The settings kept between starts. A field without a value is left as stored.
struct RememberedSettings {
    std::optional<std::string> connectionString;  ///< the last string that connected, without passwords
    std::optional<std::string> reportFolder;      ///< the folder of the last report file chosen
};

/// What to store now: the connection string while it is connected, stripped of its PWD and Password
/// pairs; the folder of the report file name once the user has chosen one.
RememberedSettings SettingsToRemember(const MainState& state);

/// Puts stored settings into the model after start-up: the string goes into the box as if typed (Connect
/// is then enabled), the report folder replaces the default one when it still exists.
void RestoreSettings(MainState& state, const RememberedSettings& stored);

}  // namespace tabvet
