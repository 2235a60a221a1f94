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

}  // namespace

STDMETHODIMP ConsoleProgress::SetRange(LONG Low, LONG High) {
    m_low = Low;
    m_high = High;
    return S_OK;
}

STDMETHODIMP ConsoleProgress::AddMessage(BSTR Text, LONG Level) {
    m_watchdog.Hear();
    return com::Call([&] {
        const std::wstring prefix = Level == ZN_PROGRESS_FAILURE ? L"failed: " : L"";
        PrintIndented(prefix + com::Text(Text));
    });
}

STDMETHODIMP ConsoleProgress::put_StatusText(BSTR Text) {
    return com::Call([&] { PrintIndented(com::Text(Text)); });
}

STDMETHODIMP ConsoleProgress::put_Position(LONG Value) {
    m_watchdog.Hear();
    return com::Call([&] { ShowBar(Value); });
}

STDMETHODIMP ConsoleProgress::get_Cancelled(VARIANT_BOOL* Value) {
    m_watchdog.Hear();
    return com::Return(Value, [] { return Interrupt::Requested(); });
}

void ConsoleProgress::ShowBar(LONG position) const {
    if (m_high <= m_low) return;
    constexpr LONG kWidth = 40;
    const LONG done = std::clamp(position, m_low, m_high) - m_low;
    const LONG all = m_high - m_low;
    const auto filled = static_cast<size_t>(MulDiv(kWidth, done, all));
    Console::Transient(kIndent + (L"[" + std::wstring(filled, L'#') + std::wstring(kWidth - filled, L'.')) +
                       L"] " + std::to_wstring(done) + L"/" + std::to_wstring(all));
}
