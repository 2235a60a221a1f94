// See Interrupt.h.
#include "host/console/Interrupt.h"

#include <windows.h>

#include <atomic>

namespace {

std::atomic<bool> requested = false;

BOOL WINAPI Note(DWORD event) {
    requested = true;
    // Windows ends the process when the handler of these events returns: the main thread needs time.
    constexpr DWORD kTimeToFinish = 20000;
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kTimeToFinish);
    return TRUE;
}

}  // namespace

Interrupt::Interrupt() { SetConsoleCtrlHandler(&Note, TRUE); }
Interrupt::~Interrupt() { SetConsoleCtrlHandler(&Note, FALSE); }
bool Interrupt::Requested() noexcept { return requested; }
