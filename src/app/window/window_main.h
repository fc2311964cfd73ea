// Runs tabvet with its main window.
#pragma once

namespace tabvet {

/// Creates the application and the main window and runs until shutdown is confirmed; the exit status.
int RunWindow(int& argc, char** argv);

}  // namespace tabvet
