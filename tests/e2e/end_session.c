// Tells the windows of programs, by their class and a part of their titles, that the session ends, as the system does
// when the user logs off.
#include <windows.h>

#define MOST 16

int wmain(int count, wchar_t** arguments) {
    wchar_t title[4096];
    HWND windows[MOST];
    HWND window = NULL;
    int found = 0;
    if (count < 3) return 2;
    while (found < MOST && (window = FindWindowExW(NULL, window, arguments[1], NULL)) != NULL)
        if (GetWindowTextW(window, title, 4096) && wcsstr(title, arguments[2])) windows[found++] = window;
    if (found == 0) return 1;
    for (int i = 0; i < found; ++i)
        if (!SendMessageW(windows[i], WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF)) return 1;
    for (int i = 0; i < found; ++i)
        SendMessageW(windows[i], WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
    return 0;
}
