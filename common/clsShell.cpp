#include "common/clsShell.h"

#include <cstdint>

#include "common/modMain.h"

namespace {

constexpr DWORD kSlice = 100;  // milliseconds
constexpr std::int64_t kSlicesPerSecond = 10;

}  // namespace

clsShell::~clsShell() {
    if (!m_bRunning) return;
    Terminate();
    CloseHandles();
}

BOOL clsShell::Execute() {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    // The wide form: a packet may have a name that the 8-bit code page cannot express.
    const BOOL started =
        CreateProcessW(nullptr, m_sCommand.data(), nullptr, nullptr, TRUE,
                       CREATE_NO_WINDOW | NORMAL_PRIORITY_CLASS, nullptr, nullptr, &startup, &m_process);
    // Also after a failed start: waiting for no process ends at once.
    m_bRunning = true;
    return started;
}

bool clsShell::Wait(DWORD Milliseconds) {
    if (WaitForSingleObject(m_process.hProcess, Milliseconds) == WAIT_TIMEOUT) return false;
    Detach();
    return true;
}

bool clsShell::WaitProcessingMessages(LONG Seconds) {
    for (std::int64_t slice = 0; !Wait(kSlice); ++slice) {
        if (slice > Seconds * kSlicesPerSecond) return false;
        ProcessPendingMessages();
    }
    return true;
}

void clsShell::Terminate() {
    if (m_bRunning && !Wait(0)) TerminateProcess(m_process.hProcess, 1);
}

void clsShell::Detach() {
    CloseHandles();
    m_bRunning = false;
}

void clsShell::CloseHandles() {
    for (HANDLE* handle : {&m_process.hThread, &m_process.hProcess}) {
        if (*handle) CloseHandle(*handle);
        *handle = nullptr;
    }
}
