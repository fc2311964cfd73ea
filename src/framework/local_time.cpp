// Both forms follow the process's time zone; the general form also follows its locale.
#include "local_time.h"

#include <cstdio>
#include <ctime>

namespace tabvet {
namespace {

std::tm LocalTime(std::time_t seconds) {
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    return local;
}

}  // namespace

std::string GeneralDateTimeText() {
    const std::tm local = LocalTime(std::time(nullptr));
    char buffer[128];
    const std::size_t n = std::strftime(buffer, sizeof buffer, "%x %X", &local);
    return std::string(buffer, n);
}

std::string IsoLocalTime(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(
                            time - std::chrono::system_clock::from_time_t(seconds))
                            .count();
    const std::tm local = LocalTime(seconds);
    char date[32];
    char offset[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(offset, sizeof offset, "%z", &local);  // +hhmm; ISO 8601 wants +hh:mm
    char text[64];
    std::snprintf(text, sizeof text, "%s.%03lld%.3s:%.2s", date, static_cast<long long>(millis), offset,
                  offset + 3);
    return text;
}

}  // namespace tabvet
