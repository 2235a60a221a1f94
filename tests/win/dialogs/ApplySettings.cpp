// apply_settings SERVER: in the FTP properties dialog of another program, enters a server, asks for no test
// and applies. For the end-to-end tests.
#include <windows.h>

#include <string>

#include "mobile/frmFTPControls.h"

namespace {

/// Folder of the build that a process belongs to; its programs lie in a folder below it.
std::wstring BuildOf(HANDLE process) {
    std::wstring path(32768, L'\0');
    auto size = static_cast<DWORD>(path.size());
    if (!QueryFullProcessImageNameW(process, 0, path.data(), &size)) return {};
    path.resize(size);
    for (int level = 0; level < 2; ++level)
        path.resize(path.find_last_of(L'\\'));
    return path;
}

/// The other bitness may be tested at the same time.
bool IsOfThisBuild(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id);
    const bool same = process && BuildOf(process) == BuildOf(GetCurrentProcess());
    if (process) CloseHandle(process);
    return same;
}

HWND FindDialog() {
    HWND dialog = nullptr;
    do
        dialog = FindWindowExW(nullptr, dialog, nullptr, L"FTP Properties");
    while (dialog && !(IsWindowVisible(dialog) && IsOfThisBuild(dialog)));
    return dialog;
}

HWND AwaitDialog() {
    HWND dialog = nullptr;
    for (int i = 0; i < 600 && !dialog; ++i) {
        dialog = FindDialog();
        if (!dialog) Sleep(50);
    }
    return dialog;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const HWND dialog = argc == 2 ? AwaitDialog() : nullptr;
    if (!dialog) return 1;
    SendDlgItemMessageW(dialog, IDC_FTP_TEXT, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(argv[1]));
    SendDlgItemMessageW(dialog, IDC_FTP_VERIFY_ON_APPLY, BM_CLICK, 0, 0);
    SendDlgItemMessageW(dialog, IDC_FTP_APPLY, BM_CLICK, 0, 0);
    for (int i = 0; i < 200 && IsWindow(dialog); ++i)
        Sleep(50);
    return IsWindow(dialog) ? 1 : 0;
}
