// See Interrupt.h.
#include "host/console/Interrupt.h"

#include <windows.h>

#include <atomic>

#include "base/Console.h"
#include "host/console/ExitCode.h"

namespace {

std::atomic<bool> requested = false;

BOOL WINAPI Note(DWORD event) {
    const bool again = requested.exchange(true);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        // The work at hand may wait for somebody who never answers.
        if (again) TerminateProcess(GetCurrentProcess(), kSomethingLeft);
        Console::ErrorLine(L"znhost: stopping after the file at hand. Ctrl+C once more ends at once.");
        return TRUE;
    }
    // Windows ends the process when the handler of these events returns: the main thread needs time.
    constexpr DWORD kTimeToFinish = 20000;
    Sleep(kTimeToFinish);
    return TRUE;
}

}  // namespace

Interrupt::Interrupt() { SetConsoleCtrlHandler(&Note, TRUE); }
Interrupt::~Interrupt() { SetConsoleCtrlHandler(&Note, FALSE); }
bool Interrupt::Requested() noexcept { return requested; }
