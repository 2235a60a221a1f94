// See MessagePump.h.
#include "com/MessagePump.h"

#include <windows.h>

namespace com {

void ProcessPendingMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // Not ours to swallow: the host's own message loop must see it.
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace com
