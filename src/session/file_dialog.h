// The file dialog of the "Create Report" step, as display-free code sees it.
#pragma once

#include <optional>
#include <string>

namespace tabvet {

/// The one file dialog both report buttons share. The window shows a real one; tests answer from a script.
class IFileDialog {
  public:
    virtual ~IFileDialog() = default;
    /// Shows the save dialog titled `title`, offering `fileName`. Returns the file name the user accepted
    /// (possibly empty), or nothing when the user cancelled.
    virtual std::optional<std::string> ShowSave(const std::string& title, const std::string& fileName) = 0;
    /// The same for choosing an existing file to open.
    virtual std::optional<std::string> ShowOpen(const std::string& title, const std::string& fileName) = 0;
};

}  // namespace tabvet
