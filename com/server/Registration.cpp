// Registration of the module's classes and type libraries.
#include <windows.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <array>

#include "base/Module.h"
#include "base/SystemError.h"
#include "com/ErrorInfo.h"
#include "com/RegisteredServer.h"
#include "com/Result.h"
#include "com/Values.h"
#include "com/server/ServerModule.h"

using Microsoft::WRL::ComPtr;

// Of oleaut32; not declared by every version of the headers.
extern "C" HRESULT WINAPI RegisterTypeLibForUser(ITypeLib*, OLECHAR*, OLECHAR*);
extern "C" HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID, WORD, WORD, LCID, SYSKIND);

namespace com {

namespace {

// The two bitnesses have class keys of their own, and share ProgIDs, type libraries and event sources.
#ifdef _WIN64
constexpr SYSKIND kSystem = SYS_WIN64;
constexpr auto kPlatform = L"win64";
constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
#else
constexpr SYSKIND kSystem = SYS_WIN32;
constexpr auto kPlatform = L"win32";
constexpr REGSAM kOtherView = KEY_WOW64_64KEY;
#endif

class Key {
public:
    Key(HKEY parent, const std::wstring& path) {
        const LSTATUS status =
            RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, m_key.Put(), nullptr);
        if (status != ERROR_SUCCESS) base::ThrowWin32(static_cast<DWORD>(status), path);
    }

    void Set(const wchar_t* name, const std::wstring& value) const {
        Set(name, value, REG_SZ, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
    }
    void Set(const wchar_t* name, DWORD value) const { Set(name, name, REG_DWORD, &value, sizeof value); }

private:
    void Set(const wchar_t* name, const std::wstring& subject, DWORD type, const void* data,
             size_t size) const {
        const LSTATUS status = RegSetValueExW(m_key.Get(), name, 0, type, static_cast<const BYTE*>(data),
                                              static_cast<DWORD>(size));
        if (status != ERROR_SUCCESS) base::ThrowWin32(static_cast<DWORD>(status), subject);
    }

    RegistryKey m_key;
};

HKEY Hive(RegistrationScope scope) {
    return scope == RegistrationScope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

std::wstring ProgIdPath(const ClassEntry& entry) {
    return std::wstring(L"Software\\Classes\\") + entry.progId;
}
std::wstring EventSourcePath(const wchar_t* source) {
    return std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\") + source;
}

/// The DLL that serves a class to programs of the other bitness; empty when there is none.
std::wstring OtherServer(HKEY hive, const ClassEntry& entry) {
    return RegisteredServer(hive, entry.clsid, kOtherView);
}

ComPtr<ITypeLib> TypeLibrary(const std::wstring& path) {
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library), path);
    return library;
}

/// A library beyond the first is addressed by its resource number.
std::wstring TypeLibraryPath(unsigned number) {
    return number == 1 ? base::ModulePath() : base::ModulePath() + L"\\" + std::to_wstring(number);
}

struct TypeLibraryId {
    GUID guid;
    WORD major;
    WORD minor;
    LCID locale;
};

TypeLibraryId IdOf(ITypeLib* library) {
    TLIBATTR* attributes = nullptr;
    Check(library->GetLibAttr(&attributes));
    const TypeLibraryId id{attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum,
                           attributes->lcid};
    library->ReleaseTLibAttr(attributes);
    return id;
}

std::wstring VersionOf(const TypeLibraryId& id) {
    return std::to_wstring(id.major) + L"." + std::to_wstring(id.minor);
}

void RegisterClass(HKEY hive, const ClassEntry& entry) {
    const Key classKey(hive, ClassPath(entry.clsid));
    classKey.Set(nullptr, entry.progId);
    const Key server(hive, ServerPath(entry.clsid));
    server.Set(nullptr, base::ModulePath());
    server.Set(L"ThreadingModel", L"Apartment");
    Key(hive, ClassPath(entry.clsid) + L"\\ProgID").Set(nullptr, entry.progId);
    const TypeLibraryId library = IdOf(TypeLibrary(TypeLibraryPath(entry.typeLibrary)).Get());
    Key(hive, ClassPath(entry.clsid) + L"\\TypeLib").Set(nullptr, Text(library.guid));
    Key(hive, ClassPath(entry.clsid) + L"\\Version").Set(nullptr, VersionOf(library));
    Key(hive, ProgIdPath(entry)).Set(nullptr, entry.progId);
    Key(hive, ProgIdPath(entry) + L"\\CLSID").Set(nullptr, Text(entry.clsid));
}

void RegisterTypeLibrary(RegistrationScope scope, unsigned number) {
    const std::wstring path = TypeLibraryPath(number);
    const auto library = TypeLibrary(path);
    const auto registerIt =
        scope == RegistrationScope::Machine ? &::RegisterTypeLib : &::RegisterTypeLibForUser;
    Check(registerIt(library.Get(), const_cast<OLECHAR*>(path.c_str()), nullptr), path);
}

/// messageFile: the DLL that holds the messages.
void RegisterEventSources(const std::wstring& messageFile) {
    for (const wchar_t* source : ThisModule().eventSources) {
        const Key key(HKEY_LOCAL_MACHINE, EventSourcePath(source));
        key.Set(L"EventMessageFile", messageFile);
        key.Set(L"TypesSupported", EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE);
    }
}

void RegisterAll(RegistrationScope scope) {
    for (const ClassEntry& entry : ThisModule().classes)
        RegisterClass(Hive(scope), entry);
    for (unsigned number = 1; number <= ThisModule().typeLibraries; ++number)
        RegisterTypeLibrary(scope, number);
    if (scope == RegistrationScope::Machine) RegisterEventSources(base::ModulePath());
}

/// Remembers the first failure, so that the rest is still removed.
class FirstFailure {
public:
    void Note(HRESULT result) {
        if (SUCCEEDED(m_result) && FAILED(result)) m_result = result;
    }
    HRESULT Result() const { return m_result; }

private:
    HRESULT m_result = S_OK;
};

HRESULT DeleteTree(HKEY hive, const std::wstring& path) {
    const LSTATUS status = RegDeleteTreeW(hive, path.c_str());
    return status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

bool KeyExists(HKEY hive, const std::wstring& path) {
    RegistryKey key;
    return RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ, key.Put()) == ERROR_SUCCESS;
}

HRESULT UnregisterTypeLibrary(RegistrationScope scope, unsigned number) {
    const TypeLibraryId id = IdOf(TypeLibrary(TypeLibraryPath(number)).Get());
    const auto unregister =
        scope == RegistrationScope::Machine ? &::UnRegisterTypeLib : &::UnRegisterTypeLibForUser;
    const HRESULT result = unregister(id.guid, id.major, id.minor, id.locale, kSystem);
    // A library that was not registered is reported as a failure. It is always asked for, because not
    // every system keeps the registration for a user in the hive of that user.
    const std::wstring path = L"Software\\Classes\\TypeLib\\" + Text(id.guid) + L"\\" + VersionOf(id) +
                              L"\\" + std::to_wstring(id.locale) + L"\\" + kPlatform;
    return KeyExists(Hive(scope), path) ? result : S_OK;
}

HRESULT UnregisterClass(HKEY hive, const ClassEntry& entry) {
    FirstFailure failure;
    failure.Note(DeleteTree(hive, ClassPath(entry.clsid)));
    if (OtherServer(hive, entry).empty()) failure.Note(DeleteTree(hive, ProgIdPath(entry)));
    return failure.Result();
}

HRESULT UnregisterEventSources() {
    const std::wstring other = OtherServer(HKEY_LOCAL_MACHINE, ThisModule().classes.front());
    if (!other.empty()) return Call([&] { RegisterEventSources(other); });
    FirstFailure failure;
    for (const wchar_t* source : ThisModule().eventSources)
        failure.Note(DeleteTree(HKEY_LOCAL_MACHINE, EventSourcePath(source)));
    return failure.Result();
}

}  // namespace

HRESULT Unregister(RegistrationScope scope) noexcept {
    return Call([&] {
        FirstFailure failure;
        for (const ClassEntry& entry : ThisModule().classes)
            failure.Note(UnregisterClass(Hive(scope), entry));
        for (unsigned number = 1; number <= ThisModule().typeLibraries; ++number)
            failure.Note(UnregisterTypeLibrary(scope, number));
        if (scope == RegistrationScope::Machine) failure.Note(UnregisterEventSources());
        Check(failure.Result(), L"removing the registration");
    });
}

HRESULT Register(RegistrationScope scope) noexcept {
    const HRESULT result = Call([&] { RegisterAll(scope); });
    if (FAILED(result)) {
        ComPtr<IErrorInfo> reason;  // the clean-up must not hide why the registration failed
        GetErrorInfo(0, &reason);
        Unregister(scope);
        SetErrorInfo(0, reason.Get());
    }
    return result;
}

}  // namespace com
