// A signal handler may do almost nothing: it writes the signal's number into a pipe, and the watcher thread,
// an ordinary thread, asks for the stop and cancels the statement.
#include "run_guard.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>

namespace tabvet {
namespace {

constexpr unsigned char kQuit = 0;  // no signal has number 0
// A cancel can reach the driver just before its statement begins, and is then lost: it is sent again
// this often until the run has ended.
constexpr int kCancelAgainMs = 200;
// The longest single wait, so that a limit of years never overflows a poll timeout.
constexpr long long kLongestWaitMs = 60 * 60 * 1000;

int g_wakeFd = -1;

void SetHandler(int signal, void (*handler)(int), struct sigaction* earlier) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, earlier);
}

extern "C" void OnStopSignal(int signal) {
    const int saved = errno;
    const unsigned char number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(g_wakeFd, &number, 1);
    // The next one takes the default action and ends the process at once.
    SetHandler(SIGINT, SIG_DFL, nullptr);
    SetHandler(SIGTERM, SIG_DFL, nullptr);
    errno = saved;
}

std::string TimeLimitText(unsigned seconds) {
    return "time limit of " + std::to_string(seconds) + (seconds == 1 ? " second" : " seconds") + " reached";
}

std::string SignalText(unsigned char signal) {
    return std::string(signal == SIGINT ? "SIGINT" : "SIGTERM") + " received";
}

}  // namespace

RunGuard::RunGuard(RunStop& stop, unsigned timeLimitSeconds)
    : stop_(stop),
      timeLimitSeconds_(timeLimitSeconds),
      deadline_(std::chrono::steady_clock::now() + std::chrono::seconds(timeLimitSeconds)) {
    if (::pipe2(wake_, O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot watch the stop signals: no pipe");
    }
    ::fcntl(wake_[1], F_SETFL, O_NONBLOCK);  // a signal handler must never wait
    g_wakeFd = wake_[1];
    SetHandler(SIGINT, OnStopSignal, &earlierInt_);
    SetHandler(SIGTERM, OnStopSignal, &earlierTerm_);
    watcher_ = std::thread([this] { Watch(); });
}

RunGuard::~RunGuard() {
    sigaction(SIGINT, &earlierInt_, nullptr);
    sigaction(SIGTERM, &earlierTerm_, nullptr);
    const unsigned char quit = kQuit;
    [[maybe_unused]] const ssize_t written = ::write(wake_[1], &quit, 1);
    watcher_.join();
    g_wakeFd = -1;
    ::close(wake_[0]);
    ::close(wake_[1]);
}

void RunGuard::Watch() {
    bool stopAsked = false;
    for (;;) {
        long long waitMs = -1;
        if (stopAsked) {
            waitMs = kCancelAgainMs;
        } else if (timeLimitSeconds_ > 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline_ - std::chrono::steady_clock::now());
            waitMs = std::clamp<long long>(left.count(), 0, kLongestWaitMs);
        }
        pollfd wake{.fd = wake_[0], .events = POLLIN, .revents = 0};
        const int ready = ::poll(&wake, 1, static_cast<int>(waitMs));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready < 0) {
            return;  // nothing left to watch with; the run goes on unguarded
        }
        if (ready == 0) {
            if (stopAsked) {
                stop_.CancelAgain();
            } else if (std::chrono::steady_clock::now() >= deadline_) {
                stop_.Request(TimeLimitText(timeLimitSeconds_));
                stopAsked = true;
            }
            continue;
        }
        unsigned char number = kQuit;
        if (::read(wake_[0], &number, 1) != 1 || number == kQuit) {
            return;
        }
        if (!stopAsked) {
            stop_.Request(SignalText(number));
            stopAsked = true;
        }
    }
}

}  // namespace tabvet
