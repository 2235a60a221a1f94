// See clsShell.h.
#include "common/clsShell.h"

#include <cstdint>
#include <utility>

#include "com/MessagePump.h"

namespace {

constexpr DWORD kSlice = 100;  // milliseconds
constexpr std::int64_t kSlicesPerSecond = 10;
constexpr DWORD kLongestEnd = 5000;  // milliseconds

/// limits: as in JOBOBJECT_BASIC_LIMIT_INFORMATION.
void SetLimits(HANDLE job, DWORD limits) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION information{};
    information.BasicLimitInformation.LimitFlags = limits;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &information, sizeof information);
}

/// What a process made after its host has been killed would take its place when a newer version has it
/// already. The system closes the job, and ends the process with it, however the host ends. Windows 7 takes
/// no process of a host that is in a job itself: there it runs on.
base::KernelHandle EndingWithThisProcess(HANDLE process) {
    base::KernelHandle job(CreateJobObjectW(nullptr, nullptr));
    SetLimits(job.Get(), JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE);
    AssignProcessToJobObject(job.Get(), process);
    return job;
}

}  // namespace

clsShell::~clsShell() {
    Terminate();
    // A process that is ended holds its files open for a moment, and its caller is about to remove them.
    Wait(kLongestEnd);
}

/// As the system passes it on when it finds the program itself: a path with blanks in quotes, or the program
/// would take the parts of its path for arguments.
std::wstring clsShell::CommandLine() const {
    const bool needsQuotes =
        m_sProgram.find_first_of(L" \t") != std::wstring::npos && m_sCommand.starts_with(m_sProgram);
    return needsQuotes ? L"\"" + m_sProgram + L"\"" + m_sCommand.substr(m_sProgram.size()) : m_sCommand;
}

BOOL clsShell::Execute() {
    std::wstring commandLine = CommandLine();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    // The wide form: a packet may have a name that the 8-bit code page cannot express.
    const BOOL started = CreateProcessW(m_sProgram.empty() ? nullptr : m_sProgram.c_str(), commandLine.data(),
                                        nullptr, nullptr, TRUE, CREATE_NO_WINDOW | NORMAL_PRIORITY_CLASS,
                                        nullptr, nullptr, &startup, &process);
    const base::KernelHandle thread(process.hThread);
    m_program.process = base::KernelHandle(process.hProcess);
    if (started) m_program.job = EndingWithThisProcess(m_program.process.Get());
    return started;
}

bool clsShell::Wait(DWORD Milliseconds) {
    const HANDLE process = m_program.process.Get();
    if (process && WaitForSingleObject(process, Milliseconds) == WAIT_TIMEOUT) return false;
    // What the process has started itself runs on.
    if (m_program.job) SetLimits(m_program.job.Get(), 0);
    m_program = {};
    return true;
}

bool clsShell::WaitProcessingMessages(LONG Seconds) {
    return EndsProcessingMessages(m_program.process.Get(), Seconds) && Wait(0);
}

/// Also what the process has started: a launcher's program would go on, and write over what is newer.
void clsShell::Terminate() {
    if (Wait(0)) return;
    if (m_program.job) TerminateJobObject(m_program.job.Get(), 1);
    TerminateProcess(m_program.process.Get(), 1);
}

RunningProgram clsShell::Detach() { return std::exchange(m_program, {}); }

bool EndsProcessingMessages(HANDLE process, LONG Seconds) {
    for (std::int64_t slice = 0; WaitForSingleObject(process, kSlice) == WAIT_TIMEOUT; ++slice) {
        if (slice > Seconds * kSlicesPerSecond) return false;
        com::ProcessPendingMessages();
    }
    return true;
}
