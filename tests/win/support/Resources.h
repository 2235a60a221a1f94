// What this process holds of the system, to be compared before and after.
#pragma once

#include <windows.h>

#include <array>

namespace tests {

/// Counted one by one: Wine's GetProcessHandleCount and GetGuiResources always answer 0.
inline int HandlesInUse() {
    int count = 0;
    DWORD flags = 0;
    for (UINT_PTR handle = 4; handle < 16384; handle += 4)
        if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags)) ++count;
    return count;
}

struct Resources {
    int handles = 0;
    int windows = 0;  ///< of this thread, message-only ones among them
    int blocks = 0;   ///< of memory, on all heaps
};

inline BOOL CALLBACK CountWindow(HWND, LPARAM count) {
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

inline Resources ResourcesInUse() {
    Resources now{HandlesInUse()};
    EnumThreadWindows(GetCurrentThreadId(), &CountWindow, reinterpret_cast<LPARAM>(&now.windows));
    for (HWND window = nullptr; (window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr;)
        if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId()) ++now.windows;
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    for (DWORD i = 0; i < count; ++i) {
        HeapLock(heaps[i]);
        for (PROCESS_HEAP_ENTRY entry{}; HeapWalk(heaps[i], &entry);)
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ++now.blocks;
        HeapUnlock(heaps[i]);
    }
    return now;
}

}  // namespace tests
