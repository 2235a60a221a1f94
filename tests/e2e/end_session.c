// Tells the windows of a program's class that the session ends, as the system does when the user logs off.
#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    HWND window = count > 1 ? FindWindowW(arguments[1], NULL) : NULL;
    if (!window || !SendMessageW(window, WM_QUERYENDSESSION, 0, ENDSESSION_LOGOFF)) return 1;
    SendMessageW(window, WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
    return 0;
}
