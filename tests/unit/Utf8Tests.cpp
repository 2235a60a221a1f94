// Text comes back from UTF-8, and what is no text is told apart.
#include "base/Utf8.h"

#include <gtest/gtest.h>

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

TEST(Utf8, CharactersOfEveryLengthComeBack) {
    const std::wstring text =
        std::wstring(1, L'\0') + L"a\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
    const std::string bytes = std::string(1, '\0') +
                              "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                              "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(base::ToUtf8(text), bytes);
    EXPECT_EQ(base::FromUtf8(bytes), text);
    EXPECT_EQ(base::DecodedUtf8(bytes), text);
}

TEST(Utf8, BytesThatAreNoCharacterAreReplaced) {
    for (const std::string bytes :
         {"\x80", "\xBF\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x93",  // begun too late, or cut off
          "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",          // longer than necessary
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80",  // surrogates, and beyond the last character
          "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_EQ(base::DecodedUtf8("a" + bytes + "b"), std::nullopt) << testing::PrintToString(bytes);
        EXPECT_EQ(base::FromUtf8("a" + bytes + "b"), L'a' + std::wstring(bytes.size(), kReplacement) + L'b');
    }
    EXPECT_EQ(base::FromUtf8("\xC3(\xE2\x82\xC3\xA4"),
              (std::wstring{kReplacement, L'(', kReplacement, kReplacement, L'\u00E4'}));
}

TEST(Utf8, HalvesOfPairsAreReplaced) {
    constexpr wchar_t kHigh = 0xD83D;
    constexpr wchar_t kLow = 0xDCE6;
    EXPECT_EQ(base::ToUtf8(std::wstring{kHigh, kLow}), "\U0001F4E6");
    EXPECT_EQ(base::ToUtf8(std::wstring{kLow, kHigh, L'a', kHigh}), "\uFFFD\uFFFDa\uFFFD");
    EXPECT_EQ(base::ToUtf8(std::wstring{kHigh, 0xE000}), "\uFFFD\uE000");
}

}  // namespace
