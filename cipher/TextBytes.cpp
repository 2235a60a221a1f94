// See TextBytes.h.
#include "cipher/TextBytes.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
constexpr int kNoDigit = -1;

int DigitValue(wchar_t character) {
    if (character >= L'a' && character <= L'f') character = static_cast<wchar_t>(character - L'a' + L'A');
    const std::size_t value = kDigits.find(character);
    return value == std::wstring_view::npos ? kNoDigit : static_cast<int>(value);
}

std::uint8_t PairValue(wchar_t first, wchar_t second) {
    const int high = DigitValue(first);
    const int low = DigitValue(second);
    if (high == kNoDigit || low == kNoDigit) return 0;
    return static_cast<std::uint8_t>(high << 4 | low);
}

}  // namespace

SecretBytes BytesOf(std::wstring_view text) {
    SecretBytes bytes;
    bytes.reserve(2 * text.size());
    for (const wchar_t character : text) {
        bytes.push_back(static_cast<std::uint8_t>(character));
        bytes.push_back(static_cast<std::uint8_t>(character >> 8));
    }
    return bytes;
}

std::wstring TextOf(std::span<const std::uint8_t> bytes) {
    std::wstring text(bytes.size() / 2, L'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<wchar_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return text;
}

std::wstring HexadecimalOf(std::span<const std::uint8_t> bytes) {
    std::wstring text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t value : bytes) {
        text += kDigits[value >> 4];
        text += kDigits[value & 0x0F];
    }
    return text;
}

bool IsHexadecimal(std::wstring_view text) {
    return std::ranges::none_of(text, [](wchar_t character) { return DigitValue(character) == kNoDigit; });
}

std::vector<std::uint8_t> BytesOfHexadecimal(std::wstring_view text) {
    std::vector<std::uint8_t> bytes(text.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = PairValue(text[2 * i], text[2 * i + 1]);
    return bytes;
}
