// See clsShell.h.
#include "common/clsShell.h"

#include <cstdint>

#include "com/MessagePump.h"

namespace {

constexpr DWORD kSlice = 100;  // milliseconds
constexpr std::int64_t kSlicesPerSecond = 10;
constexpr DWORD kLongestEnd = 5000;  // milliseconds

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
    m_process = base::KernelHandle(process.hProcess);
    return started;
}

bool clsShell::Wait(DWORD Milliseconds) {
    if (m_process && WaitForSingleObject(m_process.Get(), Milliseconds) == WAIT_TIMEOUT) return false;
    Detach();
    return true;
}

bool clsShell::WaitProcessingMessages(LONG Seconds) {
    for (std::int64_t slice = 0; !Wait(kSlice); ++slice) {
        if (slice > Seconds * kSlicesPerSecond) return false;
        com::ProcessPendingMessages();
    }
    return true;
}

void clsShell::Terminate() {
    if (!Wait(0)) TerminateProcess(m_process.Get(), 1);
}

void clsShell::Detach() { m_process.Reset(); }
