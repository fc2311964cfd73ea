// Windows delivers Ctrl+C and Ctrl+Break to a console handler that runs on a thread of its own, where waiting
// on a lock is allowed; the events keep the names the C runtime gives them (SIGINT, SIGBREAK).
#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "stop_signals.h"

namespace tabvet {
namespace {

struct Mailbox {
    std::mutex mutex;
    std::condition_variable woken;
    std::optional<std::string> signal;  // caught, not yet taken by the waiter
    bool quit = false;
    bool caught = false;  // the first event was taken; the next one ends the process
};

Mailbox* g_mailbox = nullptr;
std::mutex g_mailboxMutex;  // the handler may run while the guard ends

BOOL WINAPI OnConsoleEvent(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;  // closing the console, logging off, shutting down: the default, ending at once
    }
    const std::lock_guard<std::mutex> platformLock(g_mailboxMutex);
    if (g_mailbox == nullptr) {
        return FALSE;
    }
    const std::lock_guard<std::mutex> lock(g_mailbox->mutex);
    if (g_mailbox->caught) {
        return FALSE;  // the second one: the default handler ends the process
    }
    g_mailbox->caught = true;
    g_mailbox->signal = event == CTRL_C_EVENT ? "SIGINT" : "SIGBREAK";
    g_mailbox->woken.notify_all();
    return TRUE;
}

}  // namespace

struct StopSignals::Platform : Mailbox {};

StopSignals::StopSignals() : platform_(std::make_unique<Platform>()) {
    {
        const std::lock_guard<std::mutex> lock(g_mailboxMutex);
        g_mailbox = platform_.get();
    }
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

StopSignals::~StopSignals() {
    SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    const std::lock_guard<std::mutex> lock(g_mailboxMutex);
    g_mailbox = nullptr;
}

StopWake StopSignals::Wait(long long waitMs) {
    std::unique_lock<std::mutex> lock(platform_->mutex);
    const auto ready = [this] { return platform_->quit || platform_->signal.has_value(); };
    if (waitMs < 0) {
        platform_->woken.wait(lock, ready);
    } else if (!platform_->woken.wait_for(lock, std::chrono::milliseconds(waitMs), ready)) {
        return {StopWake::Kind::Timeout, {}};
    }
    if (platform_->quit) {
        return {StopWake::Kind::Quit, {}};
    }
    StopWake wake{StopWake::Kind::Signal, *platform_->signal};
    platform_->signal.reset();
    return wake;
}

void StopSignals::Quit() {
    const std::lock_guard<std::mutex> lock(platform_->mutex);
    platform_->quit = true;
    platform_->woken.notify_all();
}

}  // namespace tabvet
