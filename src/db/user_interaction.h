// How display-free code talks to the person at the screen: message boxes, the file dialog, the editor.
#pragma once

#include <optional>
#include <string>

namespace tabvet {

enum class MsgButtons { Ok, OkCancel, YesNo };
enum class MsgIcon { None, Information, Exclamation, Critical, Question };
enum class MsgAnswer { Ok, Cancel, Yes, No };

/// A modal message box. The window shows a real one; tests answer from a script; the headless mode prints
/// "title: text" to standard error and answers OK or Yes.
class IUserInteraction {
  public:
    virtual ~IUserInteraction() = default;
    /// Shows `text` under `title` (empty: the application's own title) and returns the button pressed.
    virtual MsgAnswer ShowMessage(const std::string& text, const std::string& title, MsgButtons buttons,
                                  MsgIcon icon) = 0;

    /// OK-only box without an icon, the most common kind.
    void Inform(const std::string& text, const std::string& title) {
        ShowMessage(text, title, MsgButtons::Ok, MsgIcon::None);
    }
};

}  // namespace tabvet
