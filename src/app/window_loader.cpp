// The display libraries take longer to load than a headless run takes to reach its first statement, and
// hold several megabytes; only a run that opens the window pays for them.
#include "window_loader.h"

#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "app/headless/headless_run.h"

namespace tabvet {
namespace {

struct ModuleCloser {
    void operator()(void* module) const { dlclose(module); }
};

// The module is looked for beside the running executable, wherever it was started from.
std::filesystem::path ModulePath(const char* argv0) {
    std::error_code ec;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) {
        self = std::filesystem::absolute(argv0, ec);
    }
    return self.parent_path() / TABVET_WINDOW_MODULE;
}

}  // namespace

int RunWindowFromModule(int argc, char** argv, std::ostream& err) {
    const std::string path = ModulePath(argv[0]).string();
    const std::unique_ptr<void, ModuleCloser> module(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!module) {
        const char* reason = dlerror();
        err << "tabvet: cannot load the main window: " << (reason != nullptr ? reason : path) << "\n";
        return exit_code::kCannotStart;
    }
    using RunWindow = int (*)(int, char**);
    const auto run = reinterpret_cast<RunWindow>(dlsym(module.get(), "tabvet_run_window"));
    if (run == nullptr) {
        err << "tabvet: cannot load the main window: " << path << " has no entry point\n";
        return exit_code::kCannotStart;
    }
    return run(argc, argv);
}

}  // namespace tabvet
