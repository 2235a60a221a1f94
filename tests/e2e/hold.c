// Holds a file open, unshared, until its standard input ends.
#include <windows.h>
#include <stdio.h>

int wmain(int count, wchar_t** arguments) {
    if (count != 2) return 2;
    HANDLE file = CreateFileW(arguments[1], GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
    puts(file == INVALID_HANDLE_VALUE ? "failed" : "held");
    fflush(stdout);
    while (getchar() != EOF) {
    }
    return 0;
}
