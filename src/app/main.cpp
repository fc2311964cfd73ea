// Entry point: with arguments tabvet runs headless; without, it opens the main window.
#include <clocale>
#include <iostream>
#include <string>
#include <vector>

#include "app/headless/headless_run.h"
#include "app/headless/process_text.h"
#if defined(TABVET_WINDOW_MODULE)
#include "app/window_loader.h"
#elif defined(TABVET_WITH_WINDOW)
#include "app/window/window_main.h"
#endif

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");  // dates and times in the user's own format
    const tabvet::StandardStreams streams;
    const std::vector<std::string> args = tabvet::CommandLineArguments(argc, argv);
    if (!args.empty()) {
        return tabvet::RunHeadless(args, std::cout, std::cerr, tabvet::StandardErrorIsTerminal());
    }
#if defined(TABVET_WINDOW_MODULE)
    return tabvet::RunWindowFromModule(argc, argv, std::cerr);
#elif defined(TABVET_WITH_WINDOW)
    return tabvet::RunWindow(argc, argv);
#else
    std::cerr << "tabvet: this build has no main window; use the headless mode (tabvet --help)\n";
    return tabvet::exit_code::kCannotStart;
#endif
}
