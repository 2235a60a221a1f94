// See HttpDate.h.
#include "http/HttpDate.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "base/IsoTime.h"

namespace {

constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string TwoDigits(std::ptrdiff_t number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

}  // namespace

std::optional<base::FileTime> HttpDateIn(std::string_view text) {
    constexpr std::size_t kLength = 29;
    if (text.size() != kLength || !text.ends_with(" GMT")) return std::nullopt;
    const auto month = std::ranges::find(kMonths, text.substr(8, 3));
    if (month == kMonths.end()) return std::nullopt;
    std::string iso(text.substr(12, 4));
    iso.append("-").append(TwoDigits(month - kMonths.begin() + 1));
    iso.append("-").append(text.substr(5, 2));
    iso.append("T").append(text.substr(17, 8)).append("Z");
    return base::FromIsoTime(iso);
}
