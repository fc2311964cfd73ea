// The headless program must not load the display libraries (they would double its start-up and add
// megabytes to every scheduled run); the window comes from a module beside it, and a missing module is
// reported rather than crashing.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "support/temp_folder.h"

namespace tabvet {
namespace {

struct Outcome {
    int status = -1;
    std::string output;
};

// Runs a shell command line and collects what it writes (standard error included).
Outcome RunCommand(const std::string& command) {
    Outcome outcome;
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return outcome;
    }
    std::array<char, 4096> buffer{};
    while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe) != nullptr) {
        outcome.output += buffer.data();
    }
    const int raw = pclose(pipe);
    outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return outcome;
}

TEST(WindowModuleTest, HeadlessProgramLoadsNoDisplayLibrary) {
    // What the dynamic loader would load, as ldd asks it.
    const Outcome listing = RunCommand("env LD_TRACE_LOADED_OBJECTS=1 '" TABVET_EXECUTABLE "'");
    ASSERT_EQ(listing.status, 0) << listing.output;
    EXPECT_NE(listing.output.find("libodbc"), std::string::npos) << listing.output;
    EXPECT_EQ(listing.output.find("libQt"), std::string::npos) << listing.output;
}

TEST(WindowModuleTest, WithoutItsModuleTheWindowCannotOpenAndSaysWhy) {
    const testsupport::TempFolder folder;
    const std::string copy = folder.File("tabvet");
    std::filesystem::copy_file(TABVET_EXECUTABLE, copy);
    const Outcome outcome = RunCommand("'" + copy + "'");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output.rfind("tabvet: cannot load the main window: ", 0), 0u) << outcome.output;
    EXPECT_NE(outcome.output.find(folder.File(TABVET_WINDOW_MODULE_NAME)), std::string::npos)
        << outcome.output;
}

TEST(WindowModuleTest, ModuleBesideTheProgramOffersTheWindow) {
    const std::string module =
        (std::filesystem::path(TABVET_EXECUTABLE).parent_path() / TABVET_WINDOW_MODULE_NAME).string();
    // Kept loaded: what the display libraries allocate once would otherwise look like a leak after unloading.
    void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_NE(handle, nullptr) << dlerror();
    EXPECT_NE(dlsym(handle, "tabvet_run_window"), nullptr);
    dlclose(handle);
}

}  // namespace
}  // namespace tabvet
