// See MessagePump.h.
#include "com/MessagePump.h"

#include <windows.h>

#include <optional>

#include "com/ErrorInfo.h"

namespace com {

namespace {

constexpr ULONGLONG kSlice = 100;  // milliseconds

}  // namespace

void ProcessPendingMessages() {
    const ULONGLONG start = GetTickCount64();
    std::optional<int> quit;
    MSG message;
    while (GetTickCount64() - start < kSlice && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        // Set aside: while it waits in the queue no timer comes through.
        if (message.message == WM_QUIT) {
            quit = static_cast<int>(message.wParam);
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    ClearErrorInfo();
    // Not ours to swallow: the host's own message loop must see it.
    if (quit) PostQuitMessage(*quit);
}

}  // namespace com
