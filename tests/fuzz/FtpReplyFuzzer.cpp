// Whatever a server replies, no more is read of it than it says; sizes and times that it tells are read as it
// wrote them.
#include "common/FtpReply.h"

#include <cstdio>
#include <limits>

#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

namespace {

void Read(const std::wstring& reply) {
    const std::wstring code = ReplyCode(reply);
    Require(code.empty() || (code.size() == 3 && reply.find(code) != reply.npos));
    for (const bool isWholeFolder : {false, true})
        Require(!TellsOfNothing(reply, isWholeFolder) || !code.empty());
    const std::wstring status = FileStatusIn(reply);
    Require(reply.find(status) != reply.npos);
    if (const auto size = SizeIn(status)) Require(status.ends_with(std::to_wstring(*size)));
}

/// Of 14 digits.
std::wstring TimeText(base::FileTime time) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<seconds>(time - day));
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02u%02u%02d%02d%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return base::FromUtf8(text);
}

std::wstring Status(FuzzInput& input, const std::wstring& value) {
    constexpr std::wstring_view kEnds[] = {L"", L"\n", L"\r\n", L" \r\n", L" bytes\r\n"};
    return FileStatusIn(L"213 " + value + std::wstring(kEnds[input.Between(0, 4)]));
}

void Write(FuzzInput& input) {
    constexpr std::int64_t kYear9999 = 253'402'300'799;
    const auto size = input.Between<std::uint64_t>(0, std::numeric_limits<std::uint64_t>::max());
    Require(SizeIn(Status(input, std::to_wstring(size))) == size);
    const base::FileTime time(
        std::chrono::seconds(input.Between<std::int64_t>(-base::kWindowsEpoch.count(), kYear9999)));
    Require(TimeIn(Status(input, TimeText(time))) == time);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Read(base::FromUtf8({reinterpret_cast<const char*>(data), size}));
    FuzzInput input(data, size);
    Write(input);
    return 0;
}
