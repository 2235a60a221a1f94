// Ends a process, by its number, with an exit code: 3 is that of a program that aborts.
#include <windows.h>
#include <stdlib.h>

int wmain(int count, wchar_t** arguments) {
    if (count < 3) return 2;
    return !TerminateProcess(OpenProcess(PROCESS_TERMINATE, FALSE, _wtoi(arguments[1])), _wtoi(arguments[2]));
}
