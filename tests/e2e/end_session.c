// Tells the window of a program, by its class and a part of its title, that the session ends, as the system does when
// the user logs off.
#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    wchar_t title[4096];
    HWND window = NULL;
    if (count < 3) return 2;
    while ((window = FindWindowExW(NULL, window, arguments[1], NULL)) != NULL)
        if (GetWindowTextW(window, title, 4096) && wcsstr(title, arguments[2])) break;
    if (!window || !SendMessageW(window, WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF)) return 1;
    SendMessageW(window, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
    return 0;
}
