// Whole numbers in texts that somebody else wrote. Portable.
#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace base {

/// Nothing for a text that is more or less than one number, or one that the type cannot hold.
template <class Number>
std::optional<Number> NumberIn(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}
template <class Number>
std::optional<Number> NumberIn(std::wstring_view text) {
    constexpr wchar_t kLastOfAscii = 0x7F;
    if (std::ranges::any_of(text, [](wchar_t letter) { return letter > kLastOfAscii; })) return std::nullopt;
    std::string narrow;
    for (const wchar_t letter : text)
        narrow += static_cast<char>(letter);
    return NumberIn<Number>(std::string_view(narrow));
}

}  // namespace base
