// The entry points that every COM module exports.
#include <shlwapi.h>

#include "base/Text.h"
#include "com/server/ServerModule.h"

STDAPI DllGetClassObject(REFCLSID clsid, REFIID id, void** object) {
    return com::GetClassObject(clsid, id, object);
}

STDAPI DllCanUnloadNow() { return com::CanUnloadNow(); }

STDAPI DllRegisterServer() { return com::Register(com::RegistrationScope::Machine); }

STDAPI DllUnregisterServer() { return com::Unregister(com::RegistrationScope::Machine); }

/// commandLine: "user" for the current user only, empty for the machine.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    const std::wstring_view where = commandLine ? commandLine : L"";
    if (!where.empty() && !base::EqualsIgnoringCase(where, L"user")) return E_INVALIDARG;
    const auto scope = where.empty() ? com::RegistrationScope::Machine : com::RegistrationScope::User;
    return install ? com::Register(scope) : com::Unregister(scope);
}
