// See Watchdog.h.
#include "host/console/Watchdog.h"

#include <array>
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
    for (base::KernelHandle* event : {&m_heard, &m_end}) {
        *event = base::KernelHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!*event) base::ThrowWin32(GetLastError(), L"create an event");
    }
    m_thread = base::KernelHandle(CreateThread(nullptr, 0, &Watch, this, 0, nullptr));
    if (!m_thread) base::ThrowWin32(GetLastError(), L"create a thread");
}

Watchdog::~Watchdog() {
    if (!m_thread) return;
    SetEvent(m_end.Get());
    WaitForSingleObject(m_thread.Get(), INFINITE);
}

void Watchdog::Hear() const noexcept {
    if (m_heard) SetEvent(m_heard.Get());
}

DWORD WINAPI Watchdog::Watch(void* watchdog) {
    auto& self = *static_cast<Watchdog*>(watchdog);
    const std::array events{self.m_heard.Get(), self.m_end.Get()};
    const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(self.m_patience).count();
    constexpr DWORD kHeard = WAIT_OBJECT_0;
    DWORD what = kHeard;
    while (what == kHeard || what == WAIT_TIMEOUT) {
        what = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE,
                                      static_cast<DWORD>(patience));
        if (what == WAIT_TIMEOUT) self.EndIfIdle();
    }
    return 0;
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
