// The lock is held while cancelling, so that the connection cannot stop being watched (and be freed)
// under the cancel.
#include "run_stop.h"

namespace tabvet {

void RunStop::Request(const std::string& why) {
    const std::lock_guard lock(mutex_);
    if (!why_) {
        why_ = why;
    }
    CancelWatched();
}

void RunStop::CancelAgain() {
    const std::lock_guard lock(mutex_);
    if (why_) {
        CancelWatched();
    }
}

void RunStop::CancelWatched() {
    if (watched_ != nullptr) {
        watched_->Cancel();
    }
    if (probes_ != nullptr) {
        probes_->Cancel();
    }
}

std::optional<std::string> RunStop::Requested() const {
    const std::lock_guard lock(mutex_);
    return why_;
}

void RunStop::Watch(Connection* conn) {
    const std::lock_guard lock(mutex_);
    watched_ = conn;
    if (why_ && watched_ != nullptr) {
        watched_->Cancel();
    }
}

void RunStop::WatchProbes(ProbePool* probes) {
    const std::lock_guard lock(mutex_);
    probes_ = probes;
    if (why_ && probes_ != nullptr) {
        probes_->Cancel();
    }
}

}  // namespace tabvet
