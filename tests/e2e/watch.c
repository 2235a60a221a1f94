// Starts a program, and for each line of its standard input tells what that holds: handles, GDI and USER
// objects. The program ends with it.
#include <windows.h>
#include <stdio.h>
#include <wchar.h>

static void end_with_this_program(HANDLE process) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {0};
    HANDLE job = CreateJobObjectW(NULL, NULL);
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    AssignProcessToJobObject(job, process);
}

// Counted one by one: Wine's GetProcessHandleCount always answers 0.
static int handles_of(HANDLE process) {
    int count = 0;
    for (UINT_PTR handle = 4; handle < 16384; handle += 4) {
        HANDLE copy;
        if (!DuplicateHandle(process, (HANDLE)handle, GetCurrentProcess(), &copy, 0, FALSE,
                             DUPLICATE_SAME_ACCESS))
            continue;
        CloseHandle(copy);
        ++count;
    }
    return count;
}

int wmain(void) {
    const wchar_t* const own = GetCommandLineW();
    const wchar_t* const line = *own == L'"' ? wcschr(own + 1, L'"') + 1 : wcschr(own, L' ');
    wchar_t command[32768];
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, NULL, TRUE};
    STARTUPINFOW startup = {sizeof startup};
    PROCESS_INFORMATION started;
    wcscpy(command, line + wcsspn(line, L" "));
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = CreateFileW(
        L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, NULL);
    if (!CreateProcessW(NULL, command, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &started)) return 2;
    end_with_this_program(started.hProcess);
    char input[16];
    while (fgets(input, sizeof input, stdin)) {
        printf("%d %lu %lu\n", handles_of(started.hProcess), GetGuiResources(started.hProcess, GR_GDIOBJECTS),
               GetGuiResources(started.hProcess, GR_USEROBJECTS));
        fflush(stdout);
    }
    return 0;
}
