// See Interval.h.
#include "host/loop/Interval.h"

namespace {

constexpr std::chrono::seconds kLongest = std::chrono::hours(7 * 24);
constexpr std::size_t kMostDigits = 6;

std::optional<std::chrono::seconds> UnitOf(wchar_t letter) {
    switch (letter) {
    case L's':
        return std::chrono::seconds(1);
    case L'm':
        return std::chrono::minutes(1);
    case L'h':
        return std::chrono::hours(1);
    default:
        return std::nullopt;
    }
}

}  // namespace

std::optional<std::chrono::seconds> IntervalOf(std::wstring_view text) {
    if (text.size() < 2 || text.size() > kMostDigits + 1) return std::nullopt;
    const auto unit = UnitOf(text.back());
    text.remove_suffix(1);
    if (!unit || text.find_first_not_of(L"0123456789") != std::wstring_view::npos) return std::nullopt;
    std::chrono::seconds interval{};
    for (const wchar_t digit : text)
        interval = interval * 10 + *unit * (digit - L'0');
    if (interval == std::chrono::seconds::zero() || interval > kLongest) return std::nullopt;
    return interval;
}
