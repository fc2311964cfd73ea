// Opens the main window from its module, so that the headless mode never loads the display libraries.
#pragma once

#include <ostream>

namespace tabvet {

/// Loads the window module (installed in ../lib/tabvet from the executable's folder, or beside it in the
/// build tree) and runs the window: its exit status. When the module cannot be loaded, says why on `err` and
/// returns exit_code::kCannotStart.
int RunWindowFromModule(int argc, char** argv, std::ostream& err);

}  // namespace tabvet
