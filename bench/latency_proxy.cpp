// A TCP proxy that delays every byte by a set time in each direction, so that the benchmark can measure runs
// over a link as far away as a real server, on one machine.
//
// Usage: tabvet_latency_proxy --to PORT --delay-us MICROSECONDS [--listen PORT]
// Listens on 127.0.0.1 (port 0 or no --listen: any free port), prints "port=N" on standard output once it
// listens, and forwards each connection to 127.0.0.1:PORT until it is ended by a signal. Whatever arrives on
// one side is written to the other MICROSECONDS after it arrived, in order; so a statement's round trip takes
// twice the delay longer, and several statements in flight stay in flight together.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "unique_fd.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
    int listenPort = 0;
    int targetPort = 0;
    std::chrono::microseconds delay{0};
};

std::optional<Options> ParseOptions(int argc, char** argv) {
    Options options;
    bool haveTarget = false;
    bool haveDelay = false;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const long value = std::strtol(argv[i + 1], nullptr, 10);
        if (name == "--listen") {
            options.listenPort = static_cast<int>(value);
        } else if (name == "--to") {
            options.targetPort = static_cast<int>(value);
            haveTarget = true;
        } else if (name == "--delay-us") {
            options.delay = std::chrono::microseconds(value);
            haveDelay = true;
        } else {
            return std::nullopt;
        }
    }
    if (argc % 2 == 0 || !haveTarget || !haveDelay || options.delay.count() < 0) {
        return std::nullopt;
    }
    return options;
}

using tabvet::bench::UniqueFd;

// Small writes go out at once: the client and the server both turn Nagle off, so must the proxy.
void NoDelay(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// What one side sent, and when it arrived; an empty chunk is the end of that side.
struct Chunk {
    Clock::time_point arrived;
    std::vector<char> bytes;
};

// One direction of a connection: a reader thread stamps what arrives, a writer thread hands it on once its
// delay has passed.
class Pump {
  public:
    Pump(int from, int to, std::chrono::microseconds delay)
        : from_(from), to_(to), delay_(delay), reader_([this] { Read(); }), writer_([this] { Write(); }) {}
    ~Pump() {
        reader_.join();
        writer_.join();
    }
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

  private:
    void Read() {
        for (;;) {
            Chunk chunk{Clock::now(), std::vector<char>(64 * 1024)};
            const ssize_t got = recv(from_, chunk.bytes.data(), chunk.bytes.size(), 0);
            chunk.arrived = Clock::now();
            chunk.bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
            {
                const std::lock_guard lock(mutex_);
                chunks_.push_back(std::move(chunk));
            }
            arrived_.notify_one();
            if (got <= 0) {
                return;
            }
        }
    }

    void Write() {
        for (;;) {
            Chunk chunk;
            {
                std::unique_lock lock(mutex_);
                arrived_.wait(lock, [this] { return !chunks_.empty(); });
                chunk = std::move(chunks_.front());
                chunks_.pop_front();
            }
            std::this_thread::sleep_until(chunk.arrived + delay_);
            if (chunk.bytes.empty()) {
                shutdown(to_, SHUT_WR);  // the other side learns of the end, delayed like the bytes
                return;
            }
            for (std::size_t sent = 0; sent < chunk.bytes.size();) {
                const ssize_t put =
                    send(to_, chunk.bytes.data() + sent, chunk.bytes.size() - sent, MSG_NOSIGNAL);
                if (put <= 0) {
                    shutdown(from_, SHUT_RD);  // nobody to write to: stop reading too
                    Drain();
                    return;
                }
                sent += static_cast<std::size_t>(put);
            }
        }
    }

    // After the far side went away: let the reader end, dropping what it still reads.
    void Drain() {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return !chunks_.empty() && chunks_.back().bytes.empty(); });
    }

    int from_;
    int to_;
    std::chrono::microseconds delay_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Chunk> chunks_;
    std::thread reader_;
    std::thread writer_;
};

// One client connection and its connection to the server, both directions delayed.
void Forward(int clientFd, int targetPort, std::chrono::microseconds delay) {
    const UniqueFd client(clientFd);
    const UniqueFd server(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(targetPort));
    if (server.Get() < 0 ||
        connect(server.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        std::perror("tabvet_latency_proxy: connect");
        return;
    }
    NoDelay(client.Get());
    NoDelay(server.Get());
    const Pump up(client.Get(), server.Get(), delay);
    const Pump down(server.Get(), client.Get(), delay);
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = ParseOptions(argc, argv);
    if (!options) {
        std::fprintf(stderr,
                     "usage: tabvet_latency_proxy --to PORT --delay-us MICROSECONDS [--listen PORT]\n");
        return 2;
    }
    const UniqueFd listener(socket(AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    setsockopt(listener.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(options->listenPort));
    socklen_t length = sizeof address;
    if (listener.Get() < 0 || bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener.Get(), 64) != 0 ||
        getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("tabvet_latency_proxy: listen");
        return 2;
    }
    std::printf("port=%d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    for (;;) {
        const int client = accept(listener.Get(), nullptr, nullptr);
        if (client < 0) {
            continue;
        }
        // Each connection lives as long as its two sides; the proxy lives until it is ended.
        std::thread(Forward, client, options->targetPort, options->delay).detach();
    }
}
