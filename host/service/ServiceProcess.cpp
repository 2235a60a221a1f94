// See ServiceProcess.h.
#include "host/service/ServiceProcess.h"

#include "base/Error.h"
#include "base/SystemError.h"

namespace {

/// What the one service of this process is.
struct Service {
    std::wstring name;
    HANDLE stop = nullptr;
    DWORD timeToStop = 0;
    const std::function<DWORD()>* obstacle = nullptr;
    const std::function<void()>* work = nullptr;
    SERVICE_STATUS_HANDLE status = nullptr;
};
Service service;

void TellState(DWORD state, DWORD error = NO_ERROR) {
    // Before the end that it has promised, and a little for the process itself.
    constexpr DWORD kReserve = 10'000;
    constexpr DWORD kTimeToStart = 120'000;
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwWin32ExitCode = error;
    // Before the system shuts down there is more time for that than while it does.
    if (state == SERVICE_RUNNING)
        status.dwControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_PRESHUTDOWN;
    if (state == SERVICE_START_PENDING) status.dwWaitHint = kTimeToStart;
    if (state == SERVICE_STOP_PENDING) status.dwWaitHint = service.timeToStop + kReserve;
    SetServiceStatus(service.status, &status);
}

DWORD WINAPI Control(DWORD control, DWORD, void*, void*) {
    switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_PRESHUTDOWN:
        TellState(SERVICE_STOP_PENDING);
        SetEvent(service.stop);
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
        return NO_ERROR;
    default:
        return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI Main(DWORD, wchar_t**) {
    service.status = RegisterServiceCtrlHandlerExW(service.name.c_str(), &Control, nullptr);
    if (!service.status) return;
    // The manager waits half a minute for a process, and a server may be silent for longer.
    TellState(SERVICE_START_PENDING);
    if (const DWORD obstacle = (*service.obstacle)()) return TellState(SERVICE_STOPPED, obstacle);
    TellState(SERVICE_RUNNING);
    try {
        (*service.work)();
        TellState(SERVICE_STOPPED);
    } catch (const base::Error&) {
        TellState(SERVICE_STOPPED, ERROR_EXCEPTION_IN_SERVICE);
    }
}

}  // namespace

void RunAsService(const std::wstring& name, HANDLE stop, DWORD timeToStop,
                  const std::function<DWORD()>& obstacle, const std::function<void()>& work) {
    service = {name, stop, timeToStop, &obstacle, &work, nullptr};
    std::wstring ownName = name;
    const SERVICE_TABLE_ENTRYW table[] = {{ownName.data(), &Main}, {nullptr, nullptr}};
    if (StartServiceCtrlDispatcherW(table)) return;
    const DWORD error = GetLastError();
    if (error != ERROR_FAILED_SERVICE_CONTROLLER_CONNECT) base::ThrowWin32(error, name);
    throw base::Error(HRESULT_FROM_WIN32(error),
                      L"Only the service manager starts a service: use \"znhost service start\".");
}
