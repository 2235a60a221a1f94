// Runs a program under a fault: faults.exe PROGRAM.exe [ARGUMENTS...].
//
// The exit code is the program's; 93 where the fault ended the run, 94 where the program could not be run so.
//
// ZN_FAULT: "PART END NUMBER LAST ERROR STATES ALL", seven numbers that tell what becomes of a call.
//     PART of its work that is done: 0 none, 1 half, 2 whole
//     END: 0 it returns, 1 it fails with ERROR, 2 it ends the run with all its processes
//     NUMBER of the call, from 1; those up to LAST fail as well, if what is wrong concerns them, too
//     STATES: 1 to count calls that only ask for the state of a file, too
//     ALL: 1 to log all calls rather than the ones that are meant
// Without it the program runs as it is.
// ZN_FAULT_LOG: the file to which calls are appended.
// ZN_FAULT_TEMP: the folder for temporary files.
#include <windows.h>

#include <cstdio>
#include <cwchar>

#include "tests/faults/Injection.h"
#include "tests/faults/Run.h"

namespace {

using namespace faults;

constexpr int kNotRun = 94;

int Fail(const char* step) {
    fprintf(stderr, "faults: %s: error %lu\n", step, GetLastError());
    return kNotRun;
}

/// What stands behind the name of this program on its command line.
wchar_t* CommandLineOfProgram() {
    wchar_t* rest = GetCommandLineW();
    rest += *rest == L'"' ? 1 + wcscspn(rest + 1, L"\"") + 1 : wcscspn(rest, L" ");
    return rest + wcsspn(rest, L" ");
}

void TakeTemporaryFolder() {
    wchar_t folder[MAX_PATH];
    if (GetEnvironmentVariableW(L"ZN_FAULT_TEMP", folder, MAX_PATH) == 0) return;
    SetEnvironmentVariableW(L"TMP", folder);
    SetEnvironmentVariableW(L"TEMP", folder);
}

/// False without a plan.
bool ReadPlan(Shared& run) {
    wchar_t text[MAX_PATH];
    if (GetEnvironmentVariableW(L"ZN_FAULT", text, MAX_PATH) == 0) return false;
    GetEnvironmentVariableW(L"ZN_FAULT_LOG", run.log, MAX_PATH);
    int part = 0;
    int end = 0;
    swscanf(text, L"%d %d %ld %ld %lu %d %d", &part, &end, &run.number, &run.last, &run.planned.error,
            &run.withStates, &run.all);
    run.planned.part = static_cast<Part>(part);
    run.planned.end = static_cast<End>(end);
    return true;
}

/// The memory and the job of a run, and where the system tells that the job has no process any more.
struct RunObjects {
    Shared* shared = nullptr;
    HANDLE job = nullptr;
    HANDLE port = nullptr;
};

RunObjects MakeRun(const Shared& plan) {
    wchar_t name[64];
    swprintf(name, 64, L"zn-faults-%lu", GetCurrentProcessId());
    SetEnvironmentVariableW(kRunVariable, name);
    const HANDLE memory =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Shared), name);
    RunObjects run;
    run.shared = static_cast<Shared*>(MapViewOfFile(memory, FILE_MAP_WRITE, 0, 0, sizeof(Shared)));
    if (run.shared) *run.shared = plan;
    wcscat(name, kJobEnding);
    run.job = CreateJobObjectW(nullptr, name);
    run.port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
    JOBOBJECT_ASSOCIATE_COMPLETION_PORT association{nullptr, run.port};
    SetInformationJobObject(run.job, JobObjectAssociateCompletionPortInformation, &association,
                            sizeof association);
    return run;
}

/// A process that was ended can still hold files.
void AwaitLastProcess(HANDLE port) {
    constexpr DWORD kPatience = 30'000;  // milliseconds
    DWORD message = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* process = nullptr;
    while (message != JOB_OBJECT_MSG_ACTIVE_PROCESS_ZERO &&
           GetQueuedCompletionStatus(port, &message, &key, &process, kPatience))
        continue;
}

int RunProgram(wchar_t* commandLine, const Shared* plan) {
    const RunObjects run = plan ? MakeRun(*plan) : RunObjects{};
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, TRUE, plan ? CREATE_SUSPENDED : 0, nullptr,
                        nullptr, &startup, &process))
        return Fail("start");
    if (plan) {
        if (!AssignProcessToJobObject(run.job, process.hProcess) || !Inject(process.hProcess, nullptr)) {
            TerminateProcess(process.hProcess, kNotRun);
            return Fail("inject");
        }
        ResumeThread(process.hThread);
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD exitCode = kNotRun;
    GetExitCodeProcess(process.hProcess, &exitCode);
    if (plan && run.shared->ended) AwaitLastProcess(run.port);
    return plan && run.shared->unprotected ? Fail("inject into a child") : static_cast<int>(exitCode);
}

}  // namespace

int main() {
    wchar_t* const commandLine = CommandLineOfProgram();
    if (*commandLine == 0) return Fail("find a program on the command line");
    TakeTemporaryFolder();
    Shared plan{};
    return RunProgram(commandLine, ReadPlan(plan) ? &plan : nullptr);
}
