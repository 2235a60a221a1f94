// See IsoTime.h.
#include "base/IsoTime.h"

#include <array>
#include <cstdio>

namespace base {

namespace {

/// Nothing where a character is no digit.
std::optional<int> Number(std::string_view digits) {
    int number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') return std::nullopt;
        number = number * 10 + (digit - '0');
    }
    return number;
}

}  // namespace

std::string IsoTime(FileTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto day = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(seconds - day);
    std::array<char, 64> text;
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<FileTime> FromIsoTime(std::string_view text) {
    if (text.size() != 20) return std::nullopt;
    const auto year = Number(text.substr(0, 4));
    const auto month = Number(text.substr(5, 2));
    const auto day = Number(text.substr(8, 2));
    const auto hour = Number(text.substr(11, 2));
    const auto minute = Number(text.substr(14, 2));
    const auto second = Number(text.substr(17, 2));
    if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok()) return std::nullopt;
    const FileTime time = std::chrono::sys_seconds(std::chrono::sys_days(date)) + std::chrono::hours(*hour) +
                          std::chrono::minutes(*minute) + std::chrono::seconds(*second);
    // What is written otherwise is not in this form.
    return IsoTime(time) == text ? std::optional(time) : std::nullopt;
}

}  // namespace base
