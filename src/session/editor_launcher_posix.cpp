// posix_spawnp reports a program that cannot be executed as a failed spawn, which is what "Editor not
// available" needs; a shell would start fine and fail later, out of sight.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "editor_launcher.h"

extern char** environ;

namespace tabvet {

const char* EditorProgram() {
#if defined(__APPLE__)
    return "open";
#else
    return "xdg-open";
#endif
}

SpawnEditorLauncher::~SpawnEditorLauncher() {
    ReapFinished();
}

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

}  // namespace tabvet
