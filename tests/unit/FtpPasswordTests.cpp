// Passwords of FTP sites in the forms in which they are stored.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>

#include "ftp/settings/FtpPassword.h"

namespace {

TEST(FtpPassword, ComesBackFromBothStoredForms) {
    for (const std::wstring password : {L"a", L"secret", L"\u00E9\u4E2D", L"fourteen chars and a few more"}) {
        const std::wstring digits = FtpPassword::Encipher(password);
        EXPECT_TRUE(FtpPassword::IsEnciphered(digits));
        EXPECT_EQ(digits.find(password), std::wstring::npos);
        EXPECT_EQ(FtpPassword::Decipher(digits), password);
        std::wstring small = digits;
        std::ranges::transform(small, small.begin(), [](wchar_t digit) { return std::towlower(digit); });
        EXPECT_EQ(FtpPassword::Decipher(small), password);
        const std::wstring bytes = FtpPassword::EncipherBytes(password);
        EXPECT_EQ(bytes.size() * 4, digits.size());
        EXPECT_FALSE(FtpPassword::IsEnciphered(bytes));
        EXPECT_EQ(FtpPassword::Decipher(bytes), password);
        EXPECT_EQ(FtpPassword::ForDocuments(bytes), digits);
        EXPECT_EQ(FtpPassword::ForDocuments(small), small);
    }
}

TEST(FtpPassword, OtherTextsAreNoPasswords) {
    for (const std::wstring& text :
         {std::wstring(), std::wstring(L"plain"), std::wstring(L"sixteen letters!"), std::wstring(63, L'A'),
          std::wstring(64, L'g')}) {
        EXPECT_FALSE(FtpPassword::IsEnciphered(text));
        EXPECT_EQ(FtpPassword::Decipher(text), std::nullopt);
        EXPECT_EQ(FtpPassword::ForDocuments(text), text);
    }
    EXPECT_EQ(FtpPassword::Decipher(std::wstring(64, L'A')), std::nullopt) << "another key's";
}

}  // namespace
