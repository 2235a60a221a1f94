// See Run.h.
#include "tests/faults/Run.h"

#include <wininet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

namespace faults {

namespace {

Shared* g_run = nullptr;
HANDLE g_job = nullptr;

constexpr DWORD kLongestPath = 1024;

const char* WordFor(Kind kind) {
    switch (kind) {
    case Kind::State:
        return "state";
    case Kind::Read:
        return "read";
    default:
        return "change";
    }
}

const wchar_t* ProgramName() {
    static wchar_t path[kLongestPath];
    if (path[0] == 0) GetModuleFileNameW(nullptr, path, kLongestPath - 1);
    const wchar_t* const separator = wcsrchr(path, L'\\');
    return separator ? separator + 1 : path;
}

/// "number, program, function, kind, path", each behind a tabulator but the first.
void Log(LONG number, const Call& call) {
    wchar_t path[kLongestPath] = L"";
    if (call.path)
        wcsncpy(path, call.path, kLongestPath - 1);
    else if (call.name)
        MultiByteToWideChar(CP_ACP, 0, call.name, -1, path, kLongestPath - 1);
    else if (call.file)
        GetFinalPathNameByHandleW(call.file, path, kLongestPath - 1, 0);
    wchar_t line[2 * kLongestPath];
    const int length = _snwprintf(line, 2 * kLongestPath, L"%ld\t%ls\t%hs\t%hs\t%ls\n", number, ProgramName(),
                                  call.function, WordFor(call.kind), path);
    char text[4 * kLongestPath];
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, line, length, text, sizeof text, nullptr, nullptr);
    const HANDLE log = CreateFileW(g_run->log, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                   OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(log, text, static_cast<DWORD>(bytes), &written, nullptr);
    CloseHandle(log);
}

bool StartsWith(const char* text, const char* start) { return strncmp(text, start, strlen(start)) == 0; }

bool IsOfServer(const Call& call) {
    return StartsWith(call.function, "Ftp") || StartsWith(call.function, "Internet");
}

/// Whether a call takes room on the disk; what removes or marks files does not.
bool TakesRoom(const Call& call) {
    if (call.kind != Kind::Change || IsOfServer(call)) return false;
    constexpr const char* kTakesNone[] = {
        "DeleteFileW",    "RemoveDirectoryW", "SetFileInformationByHandle (",
        "CreateProcessW", "SetFileTime",      "SetFileAttributesW"};
    return std::none_of(std::begin(kTakesNone), std::end(kTakesNone),
                        [&](const char* start) { return StartsWith(call.function, start); });
}

/// Whether what makes a call fail makes another one fail, too: a full disk, a share or a server that is gone.
bool Lasts(DWORD error, const Call& call) {
    if (error == ERROR_DISK_FULL) return TakesRoom(call);
    return IsOfServer(call) == (error >= INTERNET_ERROR_BASE);
}

bool IsPlanned(LONG number, const Call& call) {
    if (number == g_run->number) return true;
    return number > g_run->number && number <= g_run->last && Lasts(g_run->planned.error, call);
}

/// Of a run that has ended no process does anything any more until its own end reaches it.
void StopWhenEnded() {
    while (g_run->ended)
        Sleep(INFINITE);
}

}  // namespace

bool JoinRun() {
    wchar_t name[MAX_PATH];
    if (GetEnvironmentVariableW(kRunVariable, name, MAX_PATH) == 0) return false;
    const HANDLE memory = OpenFileMappingW(FILE_MAP_WRITE, FALSE, name);
    if (!memory) return false;
    g_run = static_cast<Shared*>(MapViewOfFile(memory, FILE_MAP_WRITE, 0, 0, sizeof(Shared)));
    wcscat(name, kJobEnding);
    g_job = OpenJobObjectW(JOB_OBJECT_TERMINATE, FALSE, name);
    return g_run && g_job;
}

Shared& CurrentRun() { return *g_run; }

Fate NextFate(const Call& call) {
    StopWhenEnded();
    if (call.kind == Kind::State && !g_run->withStates) return {};
    const DWORD lastError = GetLastError();
    const LONG number = InterlockedIncrement(&g_run->calls);
    const bool isPlanned = IsPlanned(number, call);
    if (g_run->log[0] != 0 && (isPlanned || g_run->all)) Log(number, call);
    SetLastError(lastError);
    return isPlanned ? g_run->planned : Fate{};
}

void EndRun() {
    InterlockedExchange(&g_run->ended, TRUE);
    TerminateJobObject(g_job, kEndedCode);
    for (;;)
        Sleep(INFINITE);
}

}  // namespace faults
