// The text of a connection's error list, and the warning box that shows it.
#pragma once

#include <string>

#include "connection.h"
#include "user_interaction.h"

namespace tabvet {

/// Accumulates the text of a connection's error list. A second Build appends to the first; callers that
/// want a fresh text use a fresh object.
class clsConnErrorString {
  public:
    explicit clsConnErrorString(IUserInteraction& ui) : ui_(ui) {}

    /// Builds from the error list of `conn` (may be null) and returns the held text.
    const std::string& Build(const Connection* conn);
    const std::string& Value() const { return text_; }

  private:
    IUserInteraction& ui_;
    std::string text_;
};

/// The main window's warning box listing the errors of `conn` under `title`.
void DisplayAdoErrors(const Connection* conn, const std::string& title, IUserInteraction& ui);

}  // namespace tabvet
