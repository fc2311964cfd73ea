// Entry point: with arguments tabvet runs headless; without, it opens the main window.
#include <clocale>
#include <iostream>
#include <string>
#include <vector>

#include "headless_run.h"

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");  // dates and times in the user's own format
    std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty()) {
        return tabvet::RunHeadless(args, std::cout, std::cerr);
    }
    std::cerr
        << "tabvet: the main window is not part of this build yet; use the headless mode (tabvet --help)\n";
    return tabvet::exit_code::kCannotStart;
}
