// Runs one program and reports its wall time, CPU time, peak resident memory and exit status; optionally
// also the time from its start to the first statement it writes to its statement trace.
//
// Usage: tabvet_measure [--stdout FILE] [--stderr FILE] [--first-statement TRACE [--stop]] -- PROGRAM ARGS...
// Prints one line: wall_ms=... user_ms=... sys_ms=... peak_rss_kb=... status=... [first_statement_ms=...]
// status is the exit status, or 128 + the signal that ended the program. With --first-statement the trace
// file is emptied first and watched; --stop ends the program (SIGTERM) as soon as its first statement is
// written, for measuring start-up alone.
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "unique_fd.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
    std::string stdoutPath = "/dev/null";
    std::string stderrPath = "/dev/null";
    std::optional<std::string> tracePath;
    bool stopAtFirstStatement = false;
    std::vector<char*> command;  // null-terminated for execvp
};

std::optional<Options> ParseOptions(int argc, char** argv) {
    Options options;
    int i = 1;
    for (; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--") {
            ++i;
            break;
        }
        if (arg == "--stop") {
            options.stopAtFirstStatement = true;
        } else if ((arg == "--stdout" || arg == "--stderr" || arg == "--first-statement") && i + 1 < argc) {
            const std::string value = argv[++i];
            if (arg == "--stdout") {
                options.stdoutPath = value;
            } else if (arg == "--stderr") {
                options.stderrPath = value;
            } else {
                options.tracePath = value;
            }
        } else {
            return std::nullopt;
        }
    }
    if (i >= argc || (options.stopAtFirstStatement && !options.tracePath)) {
        return std::nullopt;
    }
    options.command.assign(argv + i, argv + argc);
    options.command.push_back(nullptr);
    return options;
}

using tabvet::bench::UniqueFd;

[[noreturn]] void ExecChild(const Options& options) {
    const int out = open(options.stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(options.stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (out < 0 || err < 0 || dup2(out, STDOUT_FILENO) < 0 || dup2(err, STDERR_FILENO) < 0) {
        _exit(127);
    }
    close(out);
    close(err);
    execvp(options.command[0], options.command.data());
    _exit(127);
}

double Milliseconds(Clock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

double Milliseconds(const timeval& t) {
    return static_cast<double>(t.tv_sec) * 1000.0 + static_cast<double>(t.tv_usec) / 1000.0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = ParseOptions(argc, argv);
    if (!options) {
        std::fprintf(
            stderr,
            "usage: tabvet_measure [--stdout FILE] [--stderr FILE] [--first-statement TRACE [--stop]] "
            "-- PROGRAM ARGS...\n");
        return 2;
    }
    std::optional<UniqueFd> watch;
    if (options->tracePath) {
        // The program appends to the trace, so an emptied file changes exactly when it sends its first
        // statement.
        const UniqueFd trace(open(options->tracePath->c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
        watch.emplace(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        if (trace.Get() < 0 || watch->Get() < 0 ||
            inotify_add_watch(watch->Get(), options->tracePath->c_str(), IN_MODIFY) < 0) {
            std::fprintf(stderr, "tabvet_measure: cannot watch %s: %s\n", options->tracePath->c_str(),
                         std::strerror(errno));
            return 2;
        }
    }

    const Clock::time_point start = Clock::now();
    const pid_t pid = fork();
    if (pid < 0) {
        std::perror("tabvet_measure: fork");
        return 2;
    }
    if (pid == 0) {
        ExecChild(*options);
    }

    std::optional<double> firstStatementMs;
    int status = 0;
    rusage usage{};
    bool exited = false;
    while (watch && !firstStatementMs && !exited) {
        pollfd event{watch->Get(), POLLIN, 0};
        if (poll(&event, 1, 10) > 0) {
            firstStatementMs = Milliseconds(Clock::now() - start);
            if (options->stopAtFirstStatement) {
                kill(pid, SIGTERM);
            }
        } else {
            exited = wait4(pid, &status, WNOHANG, &usage) == pid;
        }
    }
    if (!exited && wait4(pid, &status, 0, &usage) != pid) {
        std::perror("tabvet_measure: wait");
        return 2;
    }
    const double wallMs = Milliseconds(Clock::now() - start);

    const int exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::printf("wall_ms=%.1f user_ms=%.1f sys_ms=%.1f peak_rss_kb=%ld status=%d", wallMs,
                Milliseconds(usage.ru_utime), Milliseconds(usage.ru_stime), usage.ru_maxrss, exitStatus);
    if (firstStatementMs) {
        std::printf(" first_statement_ms=%.1f", *firstStatementMs);
    }
    std::printf("\n");
    return 0;
}
