// Text is UTF-8 everywhere inside tabvet; a file name becomes the system's own form only at the call that
// opens the file (wide characters on Windows, the bytes as they are elsewhere).
#pragma once

#include <filesystem>
#include <string>

namespace tabvet {

/// The path named by the UTF-8 text `name`.
inline std::filesystem::path FilePath(const std::string& name) {
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

/// The UTF-8 text of `path`.
inline std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace tabvet
