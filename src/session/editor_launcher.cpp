// posix_spawnp reports a program that cannot be executed as a failed spawn, which is what "Editor not
// available" needs; a shell would start fine and fail later, out of sight.
#include "editor_launcher.h"

#include <algorithm>

#ifdef _WIN32
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace tabvet {

const char* EditorProgram() {
#if defined(_WIN32)
    return "Notepad.exe";
#elif defined(__APPLE__)
    return "open";
#else
    return "xdg-open";
#endif
}

SpawnEditorLauncher::~SpawnEditorLauncher() {
    ReapFinished();
}

#ifdef _WIN32

bool SpawnEditorLauncher::Launch(const std::string& program, const std::string& path) {
    // Notepad takes the rest of its command line as the file name, blanks included, so it is not quoted.
    std::string commandLine = program + " " + path;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

void SpawnEditorLauncher::ReapFinished() {}

#else

bool SpawnEditorLauncher::Launch(const std::string& program, const std::string& path) {
    ReapFinished();
    std::string programArg = program;
    std::string pathArg = path;
    char* argv[] = {programArg.data(), pathArg.data(), nullptr};
    pid_t pid = 0;
    if (posix_spawnp(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0 || pid <= 0) {
        return false;
    }
    running_.push_back(pid);
    return true;
}

void SpawnEditorLauncher::ReapFinished() {
    running_.erase(std::remove_if(running_.begin(), running_.end(),
                                  [](long pid) {
                                      int status = 0;
                                      return waitpid(static_cast<pid_t>(pid), &status, WNOHANG) != 0;
                                  }),
                   running_.end());
}

#endif

}  // namespace tabvet
