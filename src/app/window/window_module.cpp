// The main window as a module of its own, which tabvet loads only to open the window (see window_loader.h).
#include "window_main.h"

// The loader looks this symbol up by its C name.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) int tabvet_run_window(int argc, char** argv) {
    return tabvet::RunWindow(argc, argv);
}
