// See FtpReply.h.
#include "common/FtpReply.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#include "base/Number.h"
#include "packets/PacketName.h"

namespace {

bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

/// The codes that the lines of a reply begin with.
std::vector<std::wstring> ReplyCodes(const std::wstring& reply) {
    std::vector<std::wstring> codes;
    for (size_t line = 0; line < reply.size(); line = std::min(reply.find(L'\n', line), reply.size() - 1) + 1)
        if (reply.find_first_not_of(L"0123456789", line) == line + 3) codes.push_back(reply.substr(line, 3));
    return codes;
}

/// Whether a text has some words, in any letter case.
bool HasWords(std::wstring_view text, std::wstring_view words) {
    for (; text.size() >= words.size(); text.remove_prefix(1))
        if (IsSameName(text.substr(0, words.size()), words)) return true;
    return false;
}

/// Takes a number of so many digits off the front; nothing where they are not there.
std::optional<int> TakeNumber(std::wstring_view& text, size_t digits) {
    if (text.size() < digits || !std::ranges::all_of(text.substr(0, digits), IsDigit)) return std::nullopt;
    int number = 0;
    for (const wchar_t digit : text.substr(0, digits))
        number = number * 10 + (digit - L'0');
    text.remove_prefix(digits);
    return number;
}

}  // namespace

std::wstring ReplyCode(const std::wstring& reply) {
    const std::vector<std::wstring> codes = ReplyCodes(reply);
    return codes.empty() ? std::wstring() : codes.back();
}

bool HasDataFlowed(const std::wstring& reply) {
    return std::ranges::any_of(ReplyCodes(reply),
                               [](const std::wstring& code) { return code == L"125" || code == L"150"; });
}

bool TellsOfNothing(const std::wstring& reply, bool isWholeFolder) {
    constexpr auto kNothing = std::to_array<std::wstring_view>(
        {L"NO FILES", L"NO SUCH FILE", L"NOT FOUND", L"CANNOT FIND", L"NOT EXIST"});
    constexpr std::wstring_view kPattern = L"*.*";  // of a whole folder; it may have travelled to the server
    const std::vector<std::wstring> codes = ReplyCodes(reply);
    if (codes.empty()) return false;
    if (codes.back() == L"226" || codes.back() == L"250")
        return std::ranges::none_of(codes, [](const std::wstring& code) { return code >= L"400"; });
    if (codes.back() != L"450" && codes.back() != L"550") return false;
    const std::wstring text = reply.substr(reply.rfind(codes.back()));
    const auto told = [&](std::wstring_view words) { return HasWords(text, words); };
    return isWholeFolder && !told(kPattern) ? told(kNothing.front()) : std::ranges::any_of(kNothing, told);
}

std::wstring FileStatusIn(const std::wstring& reply) {
    // The value itself may end in these digits.
    constexpr std::wstring_view kFileStatus = L"\n213 ";
    const std::wstring lines = L'\n' + reply;
    const size_t start = lines.rfind(kFileStatus);
    if (start == std::wstring::npos) return {};
    const size_t value = start + kFileStatus.size();
    return lines.substr(value, lines.find_first_of(L" \r\n", value) - value);
}

std::optional<std::uint64_t> SizeIn(std::wstring_view status) {
    return base::NumberIn<std::uint64_t>(status);
}

std::optional<base::FileTime> TimeIn(std::wstring_view status) {
    constexpr std::array<size_t, 6> kDigits = {4, 2, 2, 2, 2, 2};
    std::array<int, kDigits.size()> fields{};
    for (size_t i = 0; i < fields.size(); ++i) {
        const auto number = TakeNumber(status, kDigits[i]);
        if (!number) return std::nullopt;
        fields[i] = *number;
    }
    const auto [year, month, day, hour, minute, second] = fields;
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (year < 1601 || !date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return base::FileTime(std::chrono::sys_days(date)) + std::chrono::hours(hour) +
           std::chrono::minutes(minute) + std::chrono::seconds(second);
}
