// Tells the windows of programs, by their class and a part of their titles, that the session ends, as the system does
// when the user logs off. "end" behind these: ends each program as soon as its window has been told, as the system may.
#include <windows.h>

#define MOST 16

static HANDLE ProgramOf(HWND window) {
    DWORD program = 0;
    GetWindowThreadProcessId(window, &program);
    return OpenProcess(PROCESS_TERMINATE, FALSE, program);
}

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
    for (int i = 0; i < found; ++i) {
        HANDLE program = ProgramOf(windows[i]);
        SendMessageW(windows[i], WM_ENDSESSION, TRUE, ENDSESSION_LOGOFF);
        if (count > 3) TerminateProcess(program, 1);
    }
    return 0;
}
