// A file descriptor or socket owned by one object and closed with it, so that no way out of the benchmark's
// programs leaves one open.
#pragma once

#include <unistd.h>

namespace tabvet::bench {

class UniqueFd {
  public:
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    int Get() const { return fd_; }

  private:
    int fd_;
};

}  // namespace tabvet::bench
