// See Watchdog.h.
#include "host/console/Watchdog.h"

#include <string>

#include "base/Console.h"
#include "base/IoCounters.h"
#include "base/SystemError.h"
#include "host/console/ExitCode.h"

namespace {

DWORD WINAPI EndSoon(void*) {
    constexpr DWORD kTimeToTell = 5000;
    Sleep(kTimeToTell);
    TerminateProcess(GetCurrentProcess(), kSomethingLeft);
    return 0;
}

}  // namespace

Watchdog::Watchdog(std::chrono::seconds patience)
    : m_patience(patience), m_transferred(base::TransferredBytes()) {
    if (patience == std::chrono::seconds::zero()) return;
    m_heard = base::KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!m_heard) base::ThrowWin32(GetLastError(), L"create an event");
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(patience).count();
    if (!RegisterWaitForSingleObject(&m_wait, m_heard.Get(), &Wake, this, static_cast<DWORD>(milliseconds),
                                     WT_EXECUTEDEFAULT))
        base::ThrowWin32(GetLastError(), L"register a wait");
}

Watchdog::~Watchdog() {
    // Until a call of Wake that is under way has returned.
    if (m_wait) UnregisterWaitEx(m_wait, INVALID_HANDLE_VALUE);
}

void Watchdog::Hear() const noexcept {
    if (m_heard) SetEvent(m_heard.Get());
}

void CALLBACK Watchdog::Wake(void* watchdog, BOOLEAN timedOut) {
    if (timedOut) static_cast<Watchdog*>(watchdog)->EndIfIdle();
}

void Watchdog::EndIfIdle() {
    // In the middle of a large file nothing but the bytes tells that the other side is there.
    const std::uint64_t before = m_transferred;
    m_transferred = base::TransferredBytes();
    if (m_transferred != before) return;
    // A console whose text is being marked, or a reader that has stopped, must not keep the process.
    const base::KernelHandle end(CreateThread(nullptr, 0, &EndSoon, nullptr, 0, nullptr));
    Console::ErrorLine(L"znhost: nothing was heard of the remote side for " +
                       std::to_wstring(m_patience.count()) +
                       L" seconds, so that the run ends here. The next run goes on with what was not moved.");
    TerminateProcess(GetCurrentProcess(), kSomethingLeft);
}
