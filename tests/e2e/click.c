// Starts a program in its own console. Ends with 0 where a click marks no text there while the program runs,
// and does so again when that has ended.
#include <windows.h>
#include <wchar.h>

static BOOL WINAPI ignore(DWORD event) { return event == CTRL_C_EVENT; }

static int marks(HANDLE console) {
    DWORD mode = 0;
    GetConsoleMode(console, &mode);
    return (mode & ENABLE_QUICK_EDIT_MODE) != 0;
}

int wmain(void) {
    const wchar_t* const own = GetCommandLineW();
    const wchar_t* const line = *own == L'"' ? wcschr(own + 1, L'"') + 1 : wcschr(own, L' ');
    HANDLE console = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 NULL, OPEN_EXISTING, 0, NULL);
    STARTUPINFOW startup = {sizeof startup};
    PROCESS_INFORMATION started;
    DWORD mode = 0;
    wchar_t command[32768];
    wcscpy(command, line + wcsspn(line, L" "));
    SetConsoleCtrlHandler(ignore, TRUE);
    GetConsoleMode(console, &mode);
    SetConsoleMode(console, mode | ENABLE_EXTENDED_FLAGS | ENABLE_QUICK_EDIT_MODE);
    if (!marks(console) ||
        !CreateProcessW(NULL, command, NULL, NULL, FALSE, 0, NULL, NULL, &startup, &started))
        return 2;
    for (int i = 0; i < 300 && marks(console); ++i)
        Sleep(10);
    mode = marks(console);
    WaitForSingleObject(started.hProcess, INFINITE);
    return mode ? 1 : marks(console) ? 0 : 3;
}
