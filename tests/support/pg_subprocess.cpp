// Child processes through posix_spawn: arguments go to the child as they are, output comes back over a pipe.
// Descriptors and spawn attributes are released by scope guards so that no failure path leaks one.
#include "support/pg_subprocess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

extern char** environ;

namespace tabvet::testsupport {
namespace {

[[noreturn]] void RaiseErrno(const std::string& what, int error) {
    throw std::runtime_error(what + ": " + std::strerror(error));
}

// A descriptor closed when it goes out of scope, unless released.
struct FdCloser {
    void operator()(int* fd) const {
        ::close(*fd);
        delete fd;
    }
};
using Fd = std::unique_ptr<int, FdCloser>;

std::pair<Fd, Fd> MakePipe() {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) {
        RaiseErrno("pipe", errno);
    }
    return {Fd(new int(fds[0])), Fd(new int(fds[1]))};
}

// dup2 clears close-on-exec on the copy, so only the given descriptors reach the child.
pid_t Spawn(const std::vector<std::string>& argv, const std::vector<std::pair<int, int>>& dups,
            bool newSession) {
    if (argv.empty()) {
        throw std::invalid_argument("RunProcess needs a program");
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));  // posix_spawn's signature predates const
    }
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    std::unique_ptr<posix_spawn_file_actions_t, int (*)(posix_spawn_file_actions_t*)> actionsGuard(
        &actions, posix_spawn_file_actions_destroy);
    for (const auto& [from, to] : dups) {
        posix_spawn_file_actions_adddup2(&actions, from, to);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    std::unique_ptr<posix_spawnattr_t, int (*)(posix_spawnattr_t*)> attributesGuard(&attributes,
                                                                                    posix_spawnattr_destroy);
    if (newSession) {
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    }
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, args[0], &actions, &attributes, args.data(), environ);
    if (error != 0) {
        RaiseErrno("cannot start " + argv[0], error);
    }
    return pid;
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& argv) {
    auto [readEnd, writeEnd] = MakePipe();
    const Fd devNull(new int(::open("/dev/null", O_RDONLY | O_CLOEXEC)));
    const pid_t pid = Spawn(
        argv, {{*devNull, STDIN_FILENO}, {*writeEnd, STDOUT_FILENO}, {*writeEnd, STDERR_FILENO}}, false);
    writeEnd.reset();  // the child holds the only write end now, so reading ends when it exits

    ProcessResult result;
    char buffer[4096];
    for (ssize_t got; (got = ::read(*readEnd, buffer, sizeof buffer)) != 0;) {
        if (got > 0) {
            result.output.append(buffer, static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            break;
        }
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            RaiseErrno("waitpid", errno);
        }
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

void StartWatchdog(const std::vector<std::string>& argv) {
    auto [readEnd, writeEnd] = MakePipe();
    // A new session: Ctrl-C at the terminal must not kill the watchdog with the tests.
    Spawn(argv, {{*readEnd, STDIN_FILENO}}, true);
    // Kept open, and close-on-exec, until this process ends; then the kernel closes it for us.
    static std::vector<Fd> lifelines;
    lifelines.push_back(std::move(writeEnd));
}

}  // namespace tabvet::testsupport
