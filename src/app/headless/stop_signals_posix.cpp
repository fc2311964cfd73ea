// A signal handler may do almost nothing: it writes the signal's number into a pipe, which the waiting
// thread, an ordinary thread, reads.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "stop_signals.h"

namespace tabvet {
namespace {

constexpr unsigned char kQuit = 0;  // no signal has number 0

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

}  // namespace

struct StopSignals::Platform {
    int wake[2] = {-1, -1};  // read end for the waiter; the signal handler and Quit write
    struct sigaction earlierInt {};
    struct sigaction earlierTerm {};
};

StopSignals::StopSignals() : platform_(std::make_unique<Platform>()) {
    if (::pipe2(platform_->wake, O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot watch the stop signals: no pipe");
    }
    ::fcntl(platform_->wake[1], F_SETFL, O_NONBLOCK);  // a signal handler must never wait
    g_wakeFd = platform_->wake[1];
    SetHandler(SIGINT, OnStopSignal, &platform_->earlierInt);
    SetHandler(SIGTERM, OnStopSignal, &platform_->earlierTerm);
}

StopSignals::~StopSignals() {
    sigaction(SIGINT, &platform_->earlierInt, nullptr);
    sigaction(SIGTERM, &platform_->earlierTerm, nullptr);
    g_wakeFd = -1;
    ::close(platform_->wake[0]);
    ::close(platform_->wake[1]);
}

StopWake StopSignals::Wait(long long waitMs) {
    for (;;) {
        pollfd wake{.fd = platform_->wake[0], .events = POLLIN, .revents = 0};
        const int ready = ::poll(&wake, 1, static_cast<int>(waitMs));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready < 0) {
            return {StopWake::Kind::Broken, {}};
        }
        if (ready == 0) {
            return {StopWake::Kind::Timeout, {}};
        }
        unsigned char number = kQuit;
        if (::read(platform_->wake[0], &number, 1) != 1) {
            return {StopWake::Kind::Broken, {}};
        }
        if (number == kQuit) {
            return {StopWake::Kind::Quit, {}};
        }
        return {StopWake::Kind::Signal, number == SIGINT ? "SIGINT" : "SIGTERM"};
    }
}

void StopSignals::Quit() {
    const unsigned char quit = kQuit;
    [[maybe_unused]] const ssize_t written = ::write(platform_->wake[1], &quit, 1);
}

}  // namespace tabvet
