// When cycles come, and moments as text.
#include <gtest/gtest.h>

#include "base/IsoTime.h"
#include "host/loop/Interval.h"
#include "host/loop/Schedule.h"

using namespace std::chrono_literals;

namespace {

TEST(Interval, IsANumberWithAUnit) {
    EXPECT_EQ(IntervalOf(L"30s"), 30s);
    EXPECT_EQ(IntervalOf(L"10m"), 600s);
    EXPECT_EQ(IntervalOf(L"168h"), 168h);
    for (const wchar_t* const text :
         {L"", L"m", L"10", L"0s", L"-1m", L"1.5h", L"10 m", L"169h", L"9999999s", L"999999h", L"10M", L"1d"})
        EXPECT_FALSE(IntervalOf(text)) << testing::PrintToString(std::wstring(text));
}

TEST(Schedule, WaitsDoubleAfterFailuresUpToAnHour) {
    Schedule schedule(10min);
    constexpr double kNoChance = 0.5;
    EXPECT_EQ(schedule.AfterSuccess(kNoChance), 10min);
    for (const auto wait : {20min, 40min, 60min, 60min})
        EXPECT_EQ(schedule.AfterFailure(kNoChance), wait);
    EXPECT_EQ(schedule.AfterSuccess(kNoChance), 10min);
    EXPECT_EQ(schedule.AfterFailure(kNoChance), 20min);
    // A longer interval is the limit itself.
    EXPECT_EQ(Schedule(6h).AfterFailure(kNoChance), 6h);
    EXPECT_EQ(Schedule::Longest(10min), 66min);
    EXPECT_EQ(Schedule::Longest(6h), 6h + 36min);
}

TEST(Schedule, ChanceScattersATenth) {
    Schedule schedule(10min);
    EXPECT_EQ(schedule.AfterSuccess(0), 9min);
    EXPECT_EQ(schedule.AfterSuccess(1), 11min);
    EXPECT_EQ(schedule.BeforeFirst(0), 0min);
    EXPECT_EQ(schedule.BeforeFirst(1), 1min);
}

TEST(IsoTime, IsReadAsItIsWritten) {
    using std::chrono::sys_days;
    const base::FileTime leapDay = sys_days(std::chrono::year(2028) / 2 / 29) + 23h + 59min + 58s;
    EXPECT_EQ(base::IsoTime(leapDay + std::chrono::milliseconds(999)), "2028-02-29T23:59:58Z");
    EXPECT_EQ(base::IsoTime(base::FileTime() - base::kWindowsEpoch), "1601-01-01T00:00:00Z");
    EXPECT_EQ(base::FromIsoTime("2028-02-29T23:59:58Z"), leapDay);
    for (const char* const text : {"", "2028-02-29T23:59:58", "2027-02-29T23:59:58Z", "2028-02-29 23:59:58Z",
                                   "2028-02-29T24:00:00Z", "2028-02-29T23:60:00Z", "2028-0b-29T23:59:58Z"})
        EXPECT_FALSE(base::FromIsoTime(text)) << text;
}

}  // namespace
