// The headless program must not load the display libraries (they would double its start-up and add
// megabytes to every scheduled run); the window comes from a module beside it, and a missing module is
// reported rather than crashing.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/temp_folder.h"

namespace tabvet {
namespace {

// Runs a shell command line; its exit status and what it writes (standard error included).
std::pair<int, std::string> RunCommand(const std::string& command) {
    const testsupport::TempFolder folder;
    const int raw = std::system((command + " > '" + folder.File("said") + "' 2>&1").c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, testsupport::ReadBytes(folder.File("said"))};
}

TEST(WindowModule, HeadlessProgramLoadsNoDisplayLibraryAndTheWindowComesFromTheModuleBesideIt) {
    // What the dynamic loader would load, as ldd asks it.
    const auto [status, libraries] = RunCommand("env LD_TRACE_LOADED_OBJECTS=1 '" TABVET_EXECUTABLE "'");
    ASSERT_EQ(status, 0) << libraries;
    EXPECT_NE(libraries.find("libodbc"), std::string::npos) << libraries;
    EXPECT_EQ(libraries.find("libQt"), std::string::npos) << libraries;

    const std::string module =
        (std::filesystem::path(TABVET_EXECUTABLE).parent_path() / TABVET_WINDOW_MODULE_NAME).string();
    // Kept loaded: what the display libraries allocate once would otherwise look like a leak after unloading.
    void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_NE(handle, nullptr) << dlerror();
    EXPECT_NE(dlsym(handle, "tabvet_run_window"), nullptr);
    dlclose(handle);

    const testsupport::TempFolder folder;
    std::filesystem::copy_file(TABVET_EXECUTABLE, folder.File("tabvet"));
    const auto [copyStatus, said] = RunCommand("'" + folder.File("tabvet") + "'");
    EXPECT_EQ(copyStatus, 2);
    EXPECT_EQ(said.rfind("tabvet: cannot load the main window: ", 0), 0u) << said;
    EXPECT_NE(said.find(folder.File(TABVET_WINDOW_MODULE_NAME)), std::string::npos) << said;
}

}  // namespace
}  // namespace tabvet
