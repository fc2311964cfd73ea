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

std::tm UtcTime(std::time_t seconds) {
    std::tm utc{};
#ifdef _WIN32
    gmtime_s(&utc, &seconds);
#else
    gmtime_r(&seconds, &utc);
#endif
    return utc;
}

// Seconds from 1970 of a broken-down time read as if it were UTC.
long long CalendarSeconds(const std::tm& time) {
    const std::chrono::sys_days day = std::chrono::year_month_day(
        std::chrono::year(time.tm_year + 1900), std::chrono::month(static_cast<unsigned>(time.tm_mon + 1)),
        std::chrono::day(static_cast<unsigned>(time.tm_mday)));
    return static_cast<long long>(day.time_since_epoch().count()) * 86400 + time.tm_hour * 3600LL +
           time.tm_min * 60LL + time.tm_sec;
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
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    // The offset from the two calendars, not from strftime's %z, which some C runtimes fill with the
    // zone's name.
    const long long offsetMinutes = (CalendarSeconds(local) - CalendarSeconds(UtcTime(seconds))) / 60;
    const long long absoluteMinutes = offsetMinutes < 0 ? -offsetMinutes : offsetMinutes;
    char text[64];
    std::snprintf(text, sizeof text, "%s.%03lld%c%02lld:%02lld", date, static_cast<long long>(millis),
                  offsetMinutes < 0 ? '-' : '+', absoluteMinutes / 60, absoluteMinutes % 60);
    return text;
}

}  // namespace tabvet
