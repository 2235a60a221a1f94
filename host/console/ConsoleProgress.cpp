// See ConsoleProgress.h.
#include "host/console/ConsoleProgress.h"

#include <algorithm>

#include "base/Console.h"
#include "com/Result.h"
#include "com/Values.h"
#include "host/console/Interrupt.h"

namespace {

constexpr wchar_t kIndent[] = L"  ";

/// Failure texts have several lines.
void PrintIndented(const std::wstring& text) {
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(L'\n', start), text.size());
        std::wstring line = text.substr(start, end - start);
        if (line.ends_with(L'\r')) line.pop_back();
        Console::Line(kIndent + line);
        start = end + 1;
    }
}

/// "0:07", "12:30", "1:02:03".
std::wstring Clock(ULONGLONG milliseconds) {
    const ULONGLONG seconds = milliseconds / 1000;
    const auto two = [](ULONGLONG number) { return (number < 10 ? L":0" : L":") + std::to_wstring(number); };
    const ULONGLONG hours = seconds / 3600;
    const ULONGLONG minutes = seconds / 60 % 60;
    return (hours ? std::to_wstring(hours) + two(minutes) : std::to_wstring(minutes)) + two(seconds % 60);
}

/// Packets in a second, with one decimal.
std::wstring Rate(ULONGLONG packets, ULONGLONG milliseconds) {
    const ULONGLONG tenths = packets * 10'000 / milliseconds;
    return std::to_wstring(tenths / 10) + L"." + std::to_wstring(tenths % 10) + L"/s";
}

}  // namespace

STDMETHODIMP ConsoleProgress::SetRange(LONG Low, LONG High) {
    m_low = Low;
    m_high = High;
    m_position = Low;
    m_begun = GetTickCount64();
    return S_OK;
}

STDMETHODIMP ConsoleProgress::AddMessage(BSTR Text, LONG Level) {
    m_watchdog.Hear();
    return com::Call([&] {
        if (const auto call = std::exchange(m_beforeFirstFile, {})) call();
        const bool isFailure = Level == ZN_PROGRESS_FAILURE;
        const std::wstring text = com::Text(Text);
        if (isFailure) m_failures.push_back(text);
        if (m_telling == Telling::Everything || (m_telling == Telling::Failures && isFailure))
            PrintIndented((isFailure ? L"failed: " : L"") + text);
    });
}

STDMETHODIMP ConsoleProgress::put_StatusText(BSTR Text) {
    return com::Call([&] {
        if (m_telling == Telling::Everything) PrintIndented(com::Text(Text));
    });
}

STDMETHODIMP ConsoleProgress::put_Position(LONG Value) {
    m_watchdog.Hear();
    return com::Call([&] {
        m_position = Value;
        ShowBarInTime();
    });
}

/// Asked in the middle of a long file, too: the time goes on where the position does not.
STDMETHODIMP ConsoleProgress::get_Cancelled(VARIANT_BOOL* Value) {
    m_watchdog.Hear();
    return com::Return(Value, [&] {
        ShowBarInTime();
        return Interrupt::Requested();
    });
}

/// A console takes longer for a bar than a small packet for its way. That of the last one is always shown.
void ConsoleProgress::ShowBarInTime() {
    constexpr ULONGLONG kBetweenBars = 200;
    const ULONGLONG now = GetTickCount64();
    const bool isTime = now - m_shown >= kBetweenBars || m_position == m_high;
    if (m_high <= m_low || m_telling != Telling::Everything || !isTime) return;
    m_shown = now;
    Console::Transient(kIndent + Bar());
}

std::wstring ConsoleProgress::Bar() const {
    constexpr LONG kWidth = 40;
    const LONG done = std::clamp(m_position, m_low, m_high) - m_low;
    const LONG all = m_high - m_low;
    const auto filled = static_cast<size_t>(MulDiv(kWidth, done, all));
    std::wstring bar = L"[" + std::wstring(filled, L'#') + std::wstring(kWidth - filled, L'.') + L"] " +
                       std::to_wstring(done) + L"/" + std::to_wstring(all);
    const ULONGLONG elapsed = GetTickCount64() - m_begun;
    if (done == 0 || elapsed == 0) return bar + L"  " + Clock(elapsed);
    const auto moved = static_cast<ULONGLONG>(done);
    const auto left = static_cast<ULONGLONG>(all - done);
    return bar + L"  " + Rate(moved, elapsed) + L"  " + Clock(elapsed * left / moved) + L" left";
}
