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

// The folder of the running executable, wherever it was started from.
std::filesystem::path OwnFolder(const char* argv0) {
    std::error_code ec;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) {
        self = std::filesystem::absolute(argv0, ec);
    }
    return self.parent_path();
}

struct ModuleChoice {
    std::string path;
    std::string missing;  // when no candidate exists: what was looked for
};

// An installed tabvet has its module in the library folder reached from its own folder (bin/../lib/tabvet),
// so a tree moved as a whole, or a package unpacked anywhere, still finds its own; the build tree has the
// module beside the executable.
ModuleChoice ChooseModule(const char* argv0) {
    const std::filesystem::path folder = OwnFolder(argv0);
    const std::filesystem::path installed =
        (folder / TABVET_INSTALLED_MODULE_DIR / TABVET_WINDOW_MODULE).lexically_normal();
    const std::filesystem::path beside = folder / TABVET_WINDOW_MODULE;
    std::error_code ec;
    if (std::filesystem::exists(installed, ec)) {
        return {installed.string(), ""};
    }
    if (std::filesystem::exists(beside, ec)) {
        return {beside.string(), ""};
    }
    return {"", "neither " + installed.string() + " nor " + beside.string() + " exists"};
}

}  // namespace

int RunWindowFromModule(int argc, char** argv, std::ostream& err) {
    const ModuleChoice choice = ChooseModule(argv[0]);
    if (choice.path.empty()) {
        err << "tabvet: cannot load the main window: " << choice.missing << "\n";
        return exit_code::kCannotStart;
    }
    const std::unique_ptr<void, ModuleCloser> module(dlopen(choice.path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!module) {
        const char* reason = dlerror();
        err << "tabvet: cannot load the main window: " << (reason != nullptr ? reason : choice.path) << "\n";
        return exit_code::kCannotStart;
    }
    using RunWindow = int (*)(int, char**);
    const auto run = reinterpret_cast<RunWindow>(dlsym(module.get(), "tabvet_run_window"));
    if (run == nullptr) {
        err << "tabvet: cannot load the main window: " << choice.path << " has no entry point\n";
        return exit_code::kCannotStart;
    }
    return run(argc, argv);
}

}  // namespace tabvet
