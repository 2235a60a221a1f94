// See CycleProcess.h.
#include "host/loop/CycleProcess.h"

#include "base/Module.h"
#include "base/SystemError.h"

namespace {

/// A settings file has no quotes in its name, and does not end with a backslash.
std::wstring CommandLine(const CycleStart& start) {
    std::wstring line = L"\"" + base::ProgramPath() + L"\" run \"" + start.settings + L"\" --cycle " +
                        std::to_wstring(reinterpret_cast<ULONG_PTR>(start.stop));
    for (const std::wstring& option : start.options)
        line += L" " + option;
    return line;
}

}  // namespace

CycleProcess::CycleProcess(const CycleStart& start) {
    std::wstring line = CommandLine(start);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    if (!start.hasConsole) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = start.output;
    }
    // What has no console must not bring one up.
    const DWORD flags = start.hasConsole ? 0 : CREATE_NO_WINDOW;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(base::ProgramPath().c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                        nullptr, &startup, &process))
        base::ThrowWin32(GetLastError(), base::ProgramPath());
    const base::KernelHandle thread(process.hThread);
    m_process = base::KernelHandle(process.hProcess);
}

void CycleProcess::EndWithin(std::chrono::milliseconds time) const {
    if (WaitForSingleObject(Handle(), static_cast<DWORD>(time.count())) != WAIT_TIMEOUT) return;
    TerminateProcess(Handle(), kCycleFailed);
    WaitForSingleObject(Handle(), INFINITE);
}

DWORD CycleProcess::ExitCode() const {
    DWORD code = kCycleFailed;
    GetExitCodeProcess(Handle(), &code);
    return code;
}
