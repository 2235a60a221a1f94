// Holds a file open until its standard input ends: unshared, or with a second argument as a writer that
// lets others do anything, or with "read" as a reader that lets others read.
#include <windows.h>
#include <stdio.h>

int wmain(int count, wchar_t** arguments) {
    if (count < 2) return 2;
    const int shares = count > 2 && wcscmp(arguments[2], L"read") == 0;
    const int writes = count > 2 && !shares;
    HANDLE file = CreateFileW(arguments[1], writes ? FILE_APPEND_DATA : GENERIC_READ,
                              writes   ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE
                              : shares ? FILE_SHARE_READ
                                       : 0,
                              NULL, OPEN_EXISTING, 0, NULL);
    puts(file == INVALID_HANDLE_VALUE ? "failed" : "held");
    fflush(stdout);
    while (getchar() != EOF) {
    }
    return 0;
}
