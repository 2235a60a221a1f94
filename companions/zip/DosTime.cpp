// See DosTime.h.
#include "companions/zip/DosTime.h"

#include <chrono>

#ifdef _WIN32
#include "base/WindowsTime.h"
#else
#include <ctime>
#endif

namespace companions::zip {

using base::FileTime;

namespace {

using std::chrono::seconds;

constexpr int kFirstYear = 1980;
constexpr int kLastYear = 2107;

// Seconds since 1970 of a moment, and of what the clock on the wall shows then. By the system's rules: those
// of the run-time library follow an environment variable.
#ifdef _WIN32

using Conversion = decltype(&SystemTimeToTzSpecificLocalTime);

seconds Converted(seconds time, Conversion convert) {
    FILETIME file = base::ToWindowsTime(FileTime(time));
    SYSTEMTIME from;
    SYSTEMTIME to;
    // Only a time of another millennium cannot be converted.
    if (!FileTimeToSystemTime(&file, &from) || !convert(nullptr, &from, &to) ||
        !SystemTimeToFileTime(&to, &file))
        return time;
    return std::chrono::floor<seconds>(base::FromWindowsTime(file)).time_since_epoch();
}

seconds Local(seconds moment) { return Converted(moment, &SystemTimeToTzSpecificLocalTime); }
seconds Moment(seconds local) { return Converted(local, &TzSpecificLocalTimeToSystemTime); }

#else

seconds Local(seconds moment) {
    const std::time_t time = moment.count();
    std::tm local{};
    localtime_r(&time, &local);
    return seconds(timegm(&local));
}

seconds Moment(seconds local) {
    const std::time_t time = local.count();
    std::tm clock{};
    gmtime_r(&time, &clock);
    clock.tm_isdst = -1;
    return seconds(std::mktime(&clock));
}

#endif

constexpr DosTime Dos(int year, unsigned month, unsigned day, seconds time) {
    const auto clock = std::chrono::hh_mm_ss(time);
    return {static_cast<std::uint16_t>(clock.hours().count() << 11 | clock.minutes().count() << 5 |
                                       clock.seconds().count() / 2),
            static_cast<std::uint16_t>(static_cast<unsigned>(year - kFirstYear) << 9 | month << 5 | day)};
}

}  // namespace

DosTime ToDosTime(FileTime time) {
    const std::chrono::sys_seconds local(Local(std::chrono::floor<seconds>(time).time_since_epoch()));
    const auto day = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day date(day);
    const int year = static_cast<int>(date.year());
    if (year < kFirstYear) return Dos(kFirstYear, 1, 1, seconds(0));
    if (year > kLastYear) return Dos(kLastYear, 12, 31, std::chrono::days(1) - seconds(2));
    return Dos(year, static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), local - day);
}

/// A date that no calendar has is counted on from the first of its month, or year.
FileTime FromDosTime(DosTime time) {
    using std::chrono::days;
    using std::chrono::months;
    const std::chrono::year_month january(std::chrono::year((time.date >> 9) + kFirstYear),
                                          std::chrono::January);
    const auto month = january + months((time.date >> 5 & 15) - 1);
    const std::chrono::sys_days day = std::chrono::sys_days(month / 1) + days((time.date & 31) - 1);
    const seconds local = day.time_since_epoch() + std::chrono::hours(time.time >> 11) +
                          std::chrono::minutes(time.time >> 5 & 63) + seconds((time.time & 31) * 2);
    return FileTime(Moment(local));
}

}  // namespace companions::zip
