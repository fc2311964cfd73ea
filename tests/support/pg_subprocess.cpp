// Child processes through posix_spawn: arguments go to the child as they are, output comes back over a pipe.
// Every descriptor and spawn attribute is owned by a small RAII type so that no failure path leaks one.
#include "support/pg_subprocess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace tabvet::testsupport {
namespace {

class Fd {
  public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        if (this != &other) {
            Reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() { Reset(); }

    int Get() const { return fd_; }
    void Reset() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    // Hands the descriptor over to code that must keep it open for the rest of the process.
    int Release() { return std::exchange(fd_, -1); }

  private:
    int fd_ = -1;
};

[[noreturn]] void RaiseErrno(const std::string& what, int error) {
    throw std::runtime_error(what + ": " + std::strerror(error));
}

struct Pipe {
    Fd read;
    Fd write;
};

Pipe MakePipe() {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) {
        RaiseErrno("pipe", errno);
    }
    return {Fd(fds[0]), Fd(fds[1])};
}

class SpawnActions {
  public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    // dup2 clears close-on-exec on the copy, so only the named descriptors reach the child.
    void Dup(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    const posix_spawn_file_actions_t* Get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

class SpawnAttributes {
  public:
    SpawnAttributes() { posix_spawnattr_init(&attributes_); }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    void NewSession() { posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID); }
    const posix_spawnattr_t* Get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_;
};

pid_t Spawn(const std::vector<std::string>& argv, const SpawnActions& actions,
            const SpawnAttributes& attributes) {
    if (argv.empty()) {
        throw std::invalid_argument("RunProcess needs a program");
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));  // posix_spawn's signature predates const
    }
    args.push_back(nullptr);
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, args[0], actions.Get(), attributes.Get(), args.data(), environ);
    if (error != 0) {
        RaiseErrno("cannot start " + argv[0], error);
    }
    return pid;
}

int WaitFor(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            RaiseErrno("waitpid", errno);
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& argv) {
    Pipe output = MakePipe();
    Fd devNull(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    SpawnActions actions;
    actions.Dup(devNull.Get(), STDIN_FILENO);
    actions.Dup(output.write.Get(), STDOUT_FILENO);
    actions.Dup(output.write.Get(), STDERR_FILENO);
    const pid_t pid = Spawn(argv, actions, SpawnAttributes{});
    output.write.Reset();  // the child holds the only write end now, so reading ends when it exits

    ProcessResult result;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(output.read.Get(), buffer, sizeof buffer);
        if (got > 0) {
            result.output.append(buffer, static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    result.exitCode = WaitFor(pid);
    return result;
}

void StartWatchdog(const std::vector<std::string>& argv) {
    Pipe lifeline = MakePipe();
    SpawnActions actions;
    actions.Dup(lifeline.read.Get(), STDIN_FILENO);
    SpawnAttributes attributes;
    attributes.NewSession();  // Ctrl-C at the terminal must not kill the watchdog with the tests
    Spawn(argv, actions, attributes);
    // Kept open, and close-on-exec, until this process ends; then the kernel closes it for us.
    lifeline.write.Release();
}

}  // namespace tabvet::testsupport
