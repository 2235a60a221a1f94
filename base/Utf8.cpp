// See Utf8.h.
#include "base/Utf8.h"

#include <array>
#include <cstddef>

namespace base {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kBehindSurrogates = 0xE000;
constexpr char32_t kFirstBeyond16Bits = 0x10000;
constexpr char32_t kLast = 0x10FFFF;
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

bool IsSurrogate(char32_t unit) { return unit >= kFirstSurrogate && unit < kBehindSurrogates; }

/// How many bytes a character has, by its first one; 0 for a byte that begins none.
std::size_t SizeFrom(unsigned char first) {
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Takes a character off the front; nothing, and one byte less, when the bytes are none.
std::optional<char32_t> TakeCharacter(std::string_view& bytes) {
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, kFirstBeyond16Bits};
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t size = SizeFrom(first);
    char32_t character = size == 1 ? first : first & (0x7Fu >> size);
    bool whole = size != 0 && size <= bytes.size();
    for (std::size_t i = 1; whole && i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        whole = (byte & 0xC0) == 0x80;
        character = character << 6 | (byte & 0x3Fu);
    }
    whole = whole && character >= kSmallest[size] && character <= kLast && !IsSurrogate(character);
    bytes.remove_prefix(whole ? size : 1);
    return whole ? std::optional(character) : std::nullopt;
}

void AppendWide(std::wstring& text, char32_t character) {
    if (kWideIsUtf16 && character >= kFirstBeyond16Bits) {
        const char32_t rest = character - kFirstBeyond16Bits;
        text += static_cast<wchar_t>(kFirstSurrogate + (rest >> 10));
        text += static_cast<wchar_t>(kFirstLowSurrogate + (rest & 0x3FF));
    } else {
        text += static_cast<wchar_t>(character);
    }
}

/// Takes a character off the front; half of a pair is replaced.
char32_t TakeWide(std::wstring_view& text) {
    const auto unit = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    if (!IsSurrogate(unit)) return unit;
    const char32_t low = text.empty() ? 0 : static_cast<char32_t>(text.front());
    if (unit >= kFirstLowSurrogate || low < kFirstLowSurrogate || low >= kBehindSurrogates)
        return kReplacement;
    text.remove_prefix(1);
    return kFirstBeyond16Bits + ((unit - kFirstSurrogate) << 10) + (low - kFirstLowSurrogate);
}

void AppendUtf8(std::string& text, char32_t character) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
    } else if (character < kFirstBeyond16Bits) {
        text += static_cast<char>(0xE0 | character >> 12);
        tail(6);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        tail(12);
        tail(6);
    }
    tail(0);
}

}  // namespace

std::wstring FromUtf8(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    while (!text.empty())
        AppendWide(wide, TakeCharacter(text).value_or(kReplacement));
    return wide;
}

std::optional<std::wstring> DecodedUtf8(std::string_view bytes) {
    std::wstring wide;
    while (!bytes.empty()) {
        const std::optional<char32_t> character = TakeCharacter(bytes);
        if (!character) return std::nullopt;
        AppendWide(wide, *character);
    }
    return wide;
}

std::string ToUtf8(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    while (!text.empty())
        AppendUtf8(bytes, TakeWide(text));
    return bytes;
}

}  // namespace base
