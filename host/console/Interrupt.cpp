// See Interrupt.h.
#include "host/console/Interrupt.h"

#include <windows.h>

#include <atomic>

#include "base/Console.h"
#include "base/Handle.h"
#include "base/Module.h"
#include "host/console/ExitCode.h"

namespace {

std::atomic<bool> requested = false;
std::atomic<bool> sessionEnds = false;                             // unless another program keeps the session
const HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);  // the work has come to its end
HANDLE leader = nullptr;                                           // the event that is followed

HANDLE InheritableEvent() {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateEventW(&inheritable, TRUE, FALSE, nullptr);
}
const HANDLE wish = InheritableEvent();

/// The system ends the process when it has told of the end of the console or session: the main thread needs
/// time to leave the work at hand.
void WaitForTheWork() {
    constexpr DWORD kTimeToFinish = 20000;
    WaitForSingleObject(ended, kTimeToFinish);
}

BOOL WINAPI NoteConsoleEvent(DWORD event) {
    // Services, and what they start, hear of each user who logs off.
    if (leader && event == CTRL_LOGOFF_EVENT) return TRUE;
    const bool again = requested.exchange(true);
    SetEvent(wish);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        // The work at hand may wait for somebody who never answers.
        if (again) TerminateProcess(GetCurrentProcess(), kSomethingLeft);
        if (!leader)
            Console::ErrorLine(L"znhost: stopping after the file at hand. Ctrl+C once more ends at once.");
        return TRUE;
    }
    WaitForTheWork();
    return TRUE;
}

constexpr const wchar_t* kWindowClass = L"znhost session";

LRESULT CALLBACK NoteSessionEnd(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_QUERYENDSESSION:
        sessionEnds = true;
        return TRUE;
    case WM_ENDSESSION:
        sessionEnds = wParam != FALSE;
        if (!sessionEnds) return 0;
        SetEvent(wish);
        WaitForTheWork();
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

/// A program that uses windows gets no console event when the user logs off or the system shuts down: its
/// windows are told, by the threads that own them. Where there can be no windows nobody logs off.
DWORD WINAPI WatchSession(void*) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &NoteSessionEnd;
    windowClass.hInstance = base::ModuleHandle();
    windowClass.lpszClassName = kWindowClass;
    RegisterClassW(&windowClass);
    // The system shows the title to a user whom the program keeps from logging off.
    if (!CreateWindowW(kWindowClass, GetCommandLineW(), WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr,
                       windowClass.hInstance, nullptr))
        return 1;
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}

}  // namespace

// The thread lives as long as the process: how long the system takes to make a window is nobody's wait.
Interrupt::Interrupt() {
    SetConsoleCtrlHandler(&NoteConsoleEvent, TRUE);
    const base::KernelHandle thread(CreateThread(nullptr, 0, &WatchSession, nullptr, 0, nullptr));
}

Interrupt::~Interrupt() {
    SetEvent(ended);
    SetConsoleCtrlHandler(&NoteConsoleEvent, FALSE);
}

bool Interrupt::Requested() noexcept {
    return requested || sessionEnds || (leader && WaitForSingleObject(leader, 0) == WAIT_OBJECT_0);
}

HANDLE Interrupt::Event() noexcept { return wish; }

void Interrupt::Follow(HANDLE event) noexcept { leader = event; }
