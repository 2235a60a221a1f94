// See Text.h.
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "base/Error.h"

namespace base {

namespace {

/// Nothing when a character is not in the code page.
std::optional<std::string> Converted(const std::wstring& text) {
    // Windows refuses these two where the code page is UTF-8, which has every character.
    const bool hasAll = GetACP() == CP_UTF8;
    BOOL lacking = FALSE;
    const auto convert = [&](char* out, int size) {
        return WideCharToMultiByte(CP_ACP, hasAll ? 0 : WC_NO_BEST_FIT_CHARS, text.data(),
                                   static_cast<int>(text.size()), out, size, nullptr,
                                   hasAll ? nullptr : &lacking);
    };
    std::string result(static_cast<size_t>(convert(nullptr, 0)), '\0');
    convert(result.data(), static_cast<int>(result.size()));
    if (lacking) return std::nullopt;
    return result;
}

}  // namespace

std::wstring FromSystemCodePage(std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring result(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0)),
                        L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), size, result.data(), static_cast<int>(result.size()));
    return result;
}

std::string ToSystemCodePage(const std::wstring& text) {
    if (auto converted = Converted(text)) return *std::move(converted);
    throw Error(HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION),
                text + L": a character is not in the system's 8-bit code page; use another name.");
}

bool FitsSystemCodePage(const std::wstring& text) { return Converted(text).has_value(); }

std::wstring Hexadecimal(DWORD number) {
    std::array<wchar_t, 16> digits;
    const int length = swprintf(digits.data(), digits.size(), L"0x%lX", number);
    return {digits.data(), static_cast<size_t>(length)};
}

std::wstring Upper(std::wstring_view text) {
    std::wstring result(text);
    const int size = static_cast<int>(text.size());
    if (size != 0) LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, text.data(), size, result.data(), size);
    return result;
}

bool HasControlCharacter(std::wstring_view text) noexcept {
    constexpr wchar_t kDelete = 0x7F;
    return std::ranges::any_of(text, [](wchar_t letter) { return letter < L' ' || letter == kDelete; });
}

std::wstring OnOneLine(std::wstring_view text) {
    std::wstring line;
    for (const wchar_t letter : text) {
        if (!HasControlCharacter({&letter, 1}))
            line += letter;
        else if (!line.ends_with(L' '))
            line += L' ';
    }
    return std::wstring(Trimmed(line));
}

std::wstring_view Trimmed(std::wstring_view text) noexcept {
    const size_t start = text.find_first_not_of(L' ');
    if (start == std::wstring_view::npos) return {};
    return text.substr(start, text.find_last_not_of(L' ') - start + 1);
}

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace base
