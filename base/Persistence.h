// Changes of files that fail for a moment: scanners, indexers and backup programs look into all that is new,
// and a deleted file has its name until the last of them has closed it.
#pragma once

#include <windows.h>

#include <algorithm>
#include <concepts>
#include <string>

namespace base {

/// Whether a failure to change a file may pass in a moment.
bool MayPass(DWORD error, const std::wstring& file);

/// Repeats an action for about a second, as long as its error may pass. Returns its last error.
template <class MayPass, class Action>
requires std::invocable<MayPass, DWORD> DWORD Persistently(MayPass mayPass, Action action) {
    constexpr DWORD kPatience = 1000;
    constexpr DWORD kLongestPause = 100;
    DWORD pause = 5;
    for (DWORD waited = 0;; waited += pause, pause = std::min(2 * pause, kLongestPause)) {
        if (action()) return ERROR_SUCCESS;
        const DWORD error = GetLastError();
        if (waited >= kPatience || !mayPass(error)) return error;
        Sleep(pause);
    }
}

/// action: changes the file.
template <class Action>
DWORD Persistently(const std::wstring& file, Action action) {
    return Persistently([&](DWORD error) { return MayPass(error, file); }, action);
}

/// Windows neither deletes nor replaces a read-only file, and copies over no hidden one: where that fails,
/// these attributes are lifted for a second try, and come back when that fails, too. Returns the action's
/// error.
template <class Action>
DWORD WithoutProtection(const std::wstring& file, Action action) {
    constexpr DWORD kProtection = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    DWORD error = action();
    if (error != ERROR_ACCESS_DENIED) return error;
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & kProtection)) return error;
    SetFileAttributesW(file.c_str(), attributes & ~kProtection);
    error = action();
    if (error != ERROR_SUCCESS) SetFileAttributesW(file.c_str(), attributes);
    return error;
}

}  // namespace base
