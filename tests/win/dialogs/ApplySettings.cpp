// apply_settings ROUND...: answers the FTP properties dialog of another program, for the end-to-end tests. In
// each round it enters BOX=TEXT, asks for no test and applies; "cancel" cancels. A message box stands between
// two rounds. "look" only waits for the dialog.
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

HWND Find(const wchar_t* caption) {
    HWND window = nullptr;
    do
        window = FindWindowExW(nullptr, window, nullptr, caption);
    while (window && !(IsWindowVisible(window) && IsOfThisBuild(window)));
    return window;
}

HWND Await(const wchar_t* caption) {
    HWND window = nullptr;
    for (int i = 0; i < 600 && !window; ++i) {
        window = Find(caption);
        if (!window) Sleep(50);
    }
    return window;
}

bool Ends(HWND window) {
    for (int i = 0; i < 200 && IsWindow(window); ++i)
        Sleep(50);
    return !IsWindow(window);
}

bool Press(HWND dialog, int button) {
    SendDlgItemMessageW(dialog, button, BM_CLICK, 0, 0);
    return Ends(dialog);
}

/// round: "BOX=TEXT", with the number of a box, "cancel" or "look".
bool Answer(const std::wstring& round) {
    const HWND dialog = Await(L"FTP Properties");
    if (!dialog || round == L"look") return dialog;
    if (round == L"cancel") return Press(dialog, IDC_FTP_CANCEL);
    SendDlgItemMessageW(dialog, IDC_FTP_TEXT + round.front() - L'0', WM_SETTEXT, 0,
                        reinterpret_cast<LPARAM>(round.c_str() + 2));
    SendDlgItemMessageW(dialog, IDC_FTP_VERIFY_ON_APPLY, BM_CLICK, 0, 0);
    return Press(dialog, IDC_FTP_APPLY);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!Answer(argv[i])) return 1;
        const HWND box = i + 1 < argc ? Await(L"znhost settings") : nullptr;
        if (box) PostMessageW(box, WM_CLOSE, 0, 0);
        if (box && !Ends(box)) return 1;
    }
    return argc > 1 ? 0 : 1;
}
