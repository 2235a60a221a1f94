// What is read of the replies of FTP servers.
#include "common/FtpReply.h"

#include <gtest/gtest.h>

namespace {

TEST(FtpReply, AFileStatusIsWhatItsLineTells) {
    for (const wchar_t* reply : {L"213 1213", L"213 1213\r\n", L"213 1213 \r\n", L"213 1213 bytes, 213 more",
                                 L"150 213 7\r\n213 7\r\n213 1213\n"})
        EXPECT_EQ(FileStatusIn(reply), L"1213") << testing::PrintToString(std::wstring(reply));
    for (const wchar_t* reply : {L"", L"213", L"550 213 7", L"213 "})
        EXPECT_EQ(FileStatusIn(reply), L"") << testing::PrintToString(std::wstring(reply));
}

TEST(FtpReply, AReplyEndsWithItsCode) {
    EXPECT_EQ(ReplyCode(L"150 Here it comes\r\n226-Done\r\n226 Bye\r\n"), L"226");
    EXPECT_EQ(ReplyCode(L"no code\n1234 neither"), L"");
}

TEST(FtpReply, NothingIsToldInManyWords) {
    for (const wchar_t* reply : {L"226 Done", L"150 Here\r\n250 Done", L"550 No files found",
                                 L"450 *.*: Not found", L"250 0 matches"})
        EXPECT_TRUE(TellsOfNothing(reply, true)) << testing::PrintToString(std::wstring(reply));
    for (const wchar_t* reply :
         {L"550 a.mdb: no such FILE or directory", L"450 Cannot find it", L"550 Does not exist"}) {
        EXPECT_TRUE(TellsOfNothing(reply, false)) << testing::PrintToString(std::wstring(reply));
        EXPECT_FALSE(TellsOfNothing(reply, true)) << "the folder may be missing";
    }
    for (const wchar_t* reply : {L"", L"550 Permission denied", L"530 Not found", L"426 Broken\r\n226 Closed",
                                 L"200 File not found", L"425 Can't open data connection."})
        EXPECT_FALSE(TellsOfNothing(reply, false)) << testing::PrintToString(std::wstring(reply));
}

TEST(FtpReply, SizesHave64Bits) {
    EXPECT_EQ(SizeIn(L"0"), 0U);
    EXPECT_EQ(SizeIn(L"18446744073709551615"), ~std::uint64_t{0});
    for (const wchar_t* status : {L"", L"18446744073709551616", L"20000000000000000000", L"-1", L"1x", L" 1"})
        EXPECT_EQ(SizeIn(status), std::nullopt) << testing::PrintToString(std::wstring(status));
}

TEST(FtpReply, TimesAreThoseOfACalendar) {
    const auto leapDay = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29);
    for (const wchar_t* status : {L"20240229010203", L"20240229010203.456"})
        EXPECT_EQ(TimeIn(status), base::FileTime(leapDay + std::chrono::seconds(3723)));
    EXPECT_EQ(TimeIn(L"16010101000000"), base::FileTime(-base::kWindowsEpoch));
    EXPECT_TRUE(TimeIn(L"99991231235959"));
    for (const wchar_t* status :
         {L"", L"2024022901020", L"20230229010203", L"20241301010203", L"20240229240000", L"20240229016000",
          L"20240229010060", L"16001231235959", L"2024022901 203", L"-0240229010203"})
        EXPECT_EQ(TimeIn(status), std::nullopt) << testing::PrintToString(std::wstring(status));
}

}  // namespace
