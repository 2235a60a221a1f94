// See DosTime.h.
#include "companions/zip/DosTime.h"

#include <ctime>

namespace companions::zip {

using base::FileTime;

namespace {

constexpr int kFirstYear = 1980;
constexpr int kLastYear = 2107;
constexpr int kTmYear = 1900;

std::tm Local(std::int64_t seconds) {
    std::tm local{};
#ifdef _WIN32
    // The plain functions end in 2038 on 32 bits.
    const __time64_t time = seconds;
    _localtime64_s(&local, &time);
#else
    localtime_r(&seconds, &local);
#endif
    return local;
}

std::int64_t SecondsOf(std::tm local) {
#ifdef _WIN32
    return _mktime64(&local);
#else
    return std::mktime(&local);
#endif
}

constexpr DosTime Dos(int year, int month, int day, int hour, int minute, int second) {
    return {static_cast<std::uint16_t>(hour << 11 | minute << 5 | second / 2),
            static_cast<std::uint16_t>((year - kFirstYear) << 9 | month << 5 | day)};
}

}  // namespace

DosTime ToDosTime(FileTime time) {
    const std::tm local = Local(std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count());
    const int year = local.tm_year + kTmYear;
    if (year < kFirstYear) return Dos(kFirstYear, 1, 1, 0, 0, 0);
    if (year > kLastYear) return Dos(kLastYear, 12, 31, 23, 59, 58);
    return Dos(year, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

FileTime FromDosTime(DosTime time) {
    std::tm local{};
    local.tm_year = (time.date >> 9) + kFirstYear - kTmYear;
    local.tm_mon = (time.date >> 5 & 15) - 1;
    local.tm_mday = time.date & 31;
    local.tm_hour = time.time >> 11;
    local.tm_min = time.time >> 5 & 63;
    local.tm_sec = (time.time & 31) * 2;
    local.tm_isdst = -1;
    return FileTime(std::chrono::seconds(SecondsOf(local)));
}

}  // namespace companions::zip
