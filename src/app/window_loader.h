// Opens the main window from its module, so that the headless mode never loads the display libraries.
#pragma once

#include <ostream>

namespace tabvet {

/// Loads the window module that lies next to the executable and runs the window: its exit status. When the
/// module cannot be loaded, says why on `err` and returns exit_code::kCannotStart.
int RunWindowFromModule(int argc, char** argv, std::ostream& err);

}  // namespace tabvet
