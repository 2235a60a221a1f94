// Changes of files that fail for a moment: scanners, indexers and backup programs look into all that is new,
// and a deleted file has its name until the last of them has closed it.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>

namespace base {

/// Whether a failure to change a file may pass in a moment.
bool MayPass(DWORD error, const std::wstring& file);

/// Repeats an action that changes a file for about a second. Returns its last error.
template <class Action>
DWORD Persistently(const std::wstring& file, Action action) {
    constexpr DWORD kPatience = 1000;
    constexpr DWORD kLongestPause = 100;
    DWORD pause = 5;
    for (DWORD waited = 0;; waited += pause, pause = std::min(2 * pause, kLongestPause)) {
        if (action()) return ERROR_SUCCESS;
        const DWORD error = GetLastError();
        if (waited >= kPatience || !MayPass(error, file)) return error;
        Sleep(pause);
    }
}

}  // namespace base
