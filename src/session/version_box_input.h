// What may go into the three version boxes by keyboard, clipboard or drop: digits that the 16-bit
// conversion takes, so that no "Overflow" can be typed; a dotted version fills the boxes in turn.
#pragma once

#include <string>

#include "main_state.h"

namespace tabvet {

/// The three version boxes, in their order on the window.
enum class VersionBox { Major, Minor, Bugfix };

/// Whether text fits a version box: empty, or digits whose number the 16-bit conversion takes.
bool VersionBoxTextFits(const std::string& text);

/// An edit of a version box by the user; `text` is the box's text after it. Taken when the text fits,
/// when the edit only deleted characters (a number the server gave can always be erased), or when it is a
/// dotted version ("9.1.0") whose parts fit this box and the ones after it: each box then takes one part.
/// Anything else leaves the model as it was and returns false; either way the view is told.
bool VersionBoxEdited(MainState& state, VersionBox box, const std::string& text);

}  // namespace tabvet
