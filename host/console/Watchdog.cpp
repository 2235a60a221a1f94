// See Watchdog.h.
#include "host/console/Watchdog.h"

#include <algorithm>
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

/// How long the computer has been on and awake: a laptop that was closed for the night has waited for nobody.
std::chrono::milliseconds TimeAwake() noexcept {
    constexpr ULONGLONG kPerMillisecond = 10'000;
    ULONGLONG time = 0;  // in units of 100 ns
    QueryUnbiasedInterruptTime(&time);
    return std::chrono::milliseconds(time / kPerMillisecond);
}

}  // namespace

Watchdog::Watchdog(std::chrono::seconds patience)
    : m_patience(patience), m_heard(TimeAwake()), m_transferred(base::TransferredBytes()) {
    if (patience == std::chrono::seconds::zero()) return;
    m_end = base::KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!m_end) base::ThrowWin32(GetLastError(), L"create an event");
    m_thread = base::KernelHandle(CreateThread(nullptr, 0, &Watch, this, 0, nullptr));
    if (!m_thread) base::ThrowWin32(GetLastError(), L"create a thread");
}

Watchdog::~Watchdog() {
    if (!m_thread) return;
    SetEvent(m_end.Get());
    WaitForSingleObject(m_thread.Get(), INFINITE);
}

void Watchdog::Hear() noexcept { m_heard = TimeAwake(); }

/// Wakes no more often than the patience asks, whatever happens meanwhile.
DWORD WINAPI Watchdog::Watch(void* watchdog) {
    auto& self = *static_cast<Watchdog*>(watchdog);
    while (WaitForSingleObject(self.m_end.Get(), static_cast<DWORD>(self.TimeLeft().count())) == WAIT_TIMEOUT)
        if (self.TimeLeft() == std::chrono::milliseconds::zero()) self.EndIfIdle();
    return 0;
}

std::chrono::milliseconds Watchdog::TimeLeft() const {
    const std::chrono::milliseconds idle = TimeAwake() - m_heard.load();
    return std::max(m_patience - idle, std::chrono::milliseconds::zero());
}

void Watchdog::EndIfIdle() {
    // In the middle of a large file nothing but the bytes tells that the other side is there.
    const std::uint64_t before = m_transferred;
    m_transferred = base::TransferredBytes();
    if (m_transferred != before) return Hear();
    // A console whose text is being marked, or a reader that has stopped, must not keep the process.
    const base::KernelHandle end(CreateThread(nullptr, 0, &EndSoon, nullptr, 0, nullptr));
    Console::ErrorLine(L"znhost: nothing was heard of the remote side for " +
                       std::to_wstring(m_patience.count()) +
                       L" seconds, so that the run ends here. The next run goes on with what was not moved.");
    TerminateProcess(GetCurrentProcess(), kSomethingLeft);
}
