// See ServiceManager.h.
#include "host/service/ServiceManager.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <vector>

#include "base/Handle.h"
#include "base/SystemError.h"

namespace services {

namespace {

struct ServiceHandleTraits {
    using Value = SC_HANDLE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { CloseServiceHandle(handle); }
};
using ServiceHandle = base::UniqueHandle<ServiceHandleTraits>;

std::wstring AdviceFor(DWORD code) {
    switch (code) {
    case ERROR_ACCESS_DENIED:
        return L" Services are managed by administrators: run this in a console that was started as "
               L"administrator.";
    case ERROR_SERVICE_DOES_NOT_EXIST:
        return L" \"znhost service install\" makes it.";
    case ERROR_SERVICE_EXISTS:
        return L" Remove it first if it runs with these settings, or else give another one with --name.";
    case ERROR_DUPLICATE_SERVICE_NAME:
        return L" Another service is shown under this one's name or title; choose another one with --name.";
    case ERROR_SERVICE_MARKED_FOR_DELETE:
        return L" It goes when everything that shows services, such as their console, is closed.";
    case ERROR_INVALID_NAME:
        return L" The name of a service has up to 256 characters, and no / and no \\: choose another one "
               L"with --name.";
    case ERROR_INVALID_SERVICE_ACCOUNT:
        return L" An account is named DOMAIN\\user, or .\\user for one of this computer, with its password.";
    case ERROR_SERVICE_LOGON_FAILED:
        return L" See that the password is right, and that the account has the right to log on as a service.";
    default:
        return {};
    }
}

[[noreturn]] void Refuse(DWORD code, const std::wstring& name) {
    throw base::Error(HRESULT_FROM_WIN32(code),
                      L"Service " + name + L": " + base::SystemText(code) + AdviceFor(code));
}

ServiceHandle OpenManager(DWORD access, const std::wstring& name) {
    ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, access));
    if (!manager) Refuse(GetLastError(), name);
    return manager;
}

ServiceHandle OpenNamed(const std::wstring& name, DWORD access) {
    const ServiceHandle manager = OpenManager(SC_MANAGER_CONNECT, name);
    ServiceHandle service(OpenServiceW(manager.Get(), name.c_str(), access));
    if (!service) Refuse(GetLastError(), name);
    return service;
}

SERVICE_STATUS StatusOf(const ServiceHandle& service, const std::wstring& name) {
    SERVICE_STATUS status;
    if (!QueryServiceStatus(service.Get(), &status)) Refuse(GetLastError(), name);
    return status;
}

/// A service that ended although it should run.
[[noreturn]] void TellEnd(DWORD code, const std::wstring& name) {
    if (code != ERROR_ACCESS_DENIED) Refuse(code == NO_ERROR ? ERROR_PROCESS_ABORTED : code, name);
    throw base::Error(HRESULT_FROM_WIN32(code),
                      L"Service " + name +
                          L" has ended: its account can neither read the settings nor write a "
                          L"log; give it the right to both.");
}

/// Whether a service has done a step since.
bool HasGoneOn(const SERVICE_STATUS& before, const SERVICE_STATUS& now) {
    return before.dwCurrentState != now.dwCurrentState || before.dwCheckPoint != now.dwCheckPoint ||
           before.dwWaitHint != now.dwWaitHint;
}

/// Waits until a service is in one of the states. It may take as long as it says for each step, and goes
/// through other states before.
SERVICE_STATUS WaitFor(std::initializer_list<DWORD> states, const ServiceHandle& service,
                       const std::wstring& name) {
    constexpr DWORD kBetweenLooks = 100;
    constexpr DWORD kPatience = 60'000;
    SERVICE_STATUS before{};
    ULONGLONG since = 0;
    for (;;) {
        const SERVICE_STATUS now = StatusOf(service, name);
        if (std::ranges::find(states, now.dwCurrentState) != states.end()) return now;
        if (HasGoneOn(before, now)) since = GetTickCount64();
        if (GetTickCount64() - since > std::max(kPatience, now.dwWaitHint))
            Refuse(ERROR_SERVICE_REQUEST_TIMEOUT, name);
        before = now;
        Sleep(kBetweenLooks);
    }
}

/// A service works without what this system does not know of services.
void Configure(const ServiceHandle& service, DWORD what, void* value, const std::wstring& name) {
    if (ChangeServiceConfig2W(service.Get(), what, value)) return;
    if (const DWORD error = GetLastError(); error != ERROR_INVALID_LEVEL) Refuse(error, name);
}

void Describe(const ServiceHandle& service, const ServiceDescription& description) {
    std::wstring purpose = description.purpose;
    SERVICE_DESCRIPTIONW text{purpose.data()};
    Configure(service, SERVICE_CONFIG_DESCRIPTION, &text, description.name);
    if (description.start != ServiceStart::Delayed) return;
    SERVICE_DELAYED_AUTO_START_INFO delayed{TRUE};
    Configure(service, SERVICE_CONFIG_DELAYED_AUTO_START_INFO, &delayed, description.name);
}

/// Some systems wait no longer than ten seconds by themselves.
void AskForTimeToStop(const ServiceHandle& service, const std::wstring& name) {
    SERVICE_PRESHUTDOWN_INFO time{30'000};
    Configure(service, SERVICE_CONFIG_PRESHUTDOWN_INFO, &time, name);
}

void RestartAfterFailures(const ServiceHandle& service, const std::wstring& name) {
    constexpr DWORD kMinute = 60'000;
    constexpr DWORD kDay = 24 * 60 * 60;
    std::array actions = {SC_ACTION{SC_ACTION_RESTART, kMinute}, SC_ACTION{SC_ACTION_RESTART, 5 * kMinute},
                          SC_ACTION{SC_ACTION_RESTART, 15 * kMinute}};
    SERVICE_FAILURE_ACTIONSW failures{};
    failures.dwResetPeriod = kDay;
    failures.cActions = static_cast<DWORD>(actions.size());
    failures.lpsaActions = actions.data();
    Configure(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failures, name);
    // Also after an end that the service tells of: when a computer starts, a server may not be there yet.
    SERVICE_FAILURE_ACTIONS_FLAG always{TRUE};
    Configure(service, SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &always, name);
}

}  // namespace

bool IsOwnAccount(const std::wstring& account) {
    // Names without a domain are first looked for on this computer.
    const std::wstring name = account.starts_with(L".\\") ? account.substr(2) : account;
    std::array<std::uint8_t, SECURITY_MAX_SID_SIZE> sid;
    std::array<wchar_t, 256> domain;
    DWORD size = sid.size();
    DWORD length = domain.size();
    SID_NAME_USE use;
    BOOL isOwn = FALSE;
    return LookupAccountNameW(nullptr, name.c_str(), sid.data(), &size, domain.data(), &length, &use) &&
           CheckTokenMembership(nullptr, sid.data(), &isOwn) && isOwn;
}

std::wstring CommandLineOf(const std::wstring& name) {
    const ServiceHandle service = OpenNamed(name, SERVICE_QUERY_CONFIG);
    DWORD size = 0;
    QueryServiceConfigW(service.Get(), nullptr, 0, &size);
    // Its texts lie behind it.
    std::vector<std::uint64_t> buffer((sizeof(QUERY_SERVICE_CONFIGW) + size) / sizeof(std::uint64_t) + 1);
    auto* const configuration = new (buffer.data()) QUERY_SERVICE_CONFIGW{};
    if (!QueryServiceConfigW(service.Get(), configuration, size, &size)) Refuse(GetLastError(), name);
    return configuration->lpBinaryPathName;
}

void Install(const ServiceDescription& description) {
    const ServiceHandle manager = OpenManager(SC_MANAGER_CREATE_SERVICE, description.name);
    const DWORD start = description.start == ServiceStart::Manual ? SERVICE_DEMAND_START : SERVICE_AUTO_START;
    // To set restarts as recovery actions takes the right to start the service.
    const ServiceHandle service(CreateServiceW(
        manager.Get(), description.name.c_str(), description.title.c_str(),
        SERVICE_CHANGE_CONFIG | SERVICE_START | DELETE, SERVICE_WIN32_OWN_PROCESS, start,
        SERVICE_ERROR_NORMAL, description.commandLine.c_str(), nullptr, nullptr, nullptr,
        description.account.c_str(), description.password.empty() ? nullptr : description.password.c_str()));
    if (!service) Refuse(GetLastError(), description.name);
    try {
        Describe(service, description);
        AskForTimeToStop(service, description.name);
        RestartAfterFailures(service, description.name);
    } catch (...) {
        DeleteService(service.Get());
        throw;
    }
}

void Start(const std::wstring& name) {
    const ServiceHandle service = OpenNamed(name, SERVICE_START | SERVICE_QUERY_STATUS);
    const DWORD error = StartServiceW(service.Get(), 0, nullptr) ? NO_ERROR : GetLastError();
    // Of a service that did not begin in time the state tells more; for Wine that is each one that ends at
    // once.
    if (error != NO_ERROR && error != ERROR_SERVICE_ALREADY_RUNNING && error != ERROR_SERVICE_REQUEST_TIMEOUT)
        Refuse(error, name);
    const SERVICE_STATUS status = WaitFor({SERVICE_RUNNING, SERVICE_STOPPED}, service, name);
    if (status.dwCurrentState == SERVICE_STOPPED) TellEnd(status.dwWin32ExitCode, name);
}

void Stop(const std::wstring& name) {
    const ServiceHandle service = OpenNamed(name, SERVICE_STOP | SERVICE_QUERY_STATUS);
    // One that starts hears of nothing before it runs.
    WaitFor({SERVICE_RUNNING, SERVICE_STOP_PENDING, SERVICE_STOPPED}, service, name);
    SERVICE_STATUS status;
    const DWORD error =
        ControlService(service.Get(), SERVICE_CONTROL_STOP, &status) ? NO_ERROR : GetLastError();
    if (error == ERROR_SERVICE_NOT_ACTIVE) return;
    // It may be stopping already.
    if (error != NO_ERROR && error != ERROR_SERVICE_CANNOT_ACCEPT_CTRL) Refuse(error, name);
    WaitFor({SERVICE_STOPPED}, service, name);
}

void Remove(const std::wstring& name) {
    Stop(name);
    const ServiceHandle service = OpenNamed(name, DELETE);
    if (!DeleteService(service.Get())) Refuse(GetLastError(), name);
}

}  // namespace services
