// apply_settings SERVER: in the FTP properties dialog of another program, enters a server, asks for no test
// and applies. For the end-to-end tests.
#include <windows.h>

#include "mobile/frmFTPControls.h"

namespace {

HWND AwaitDialog() {
    for (int i = 0; i < 600; ++i) {
        const HWND dialog = FindWindowW(nullptr, L"FTP Properties");
        if (dialog && IsWindowVisible(dialog)) return dialog;
        Sleep(50);
    }
    return nullptr;
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
