// A DLL as a COM server: its classes, its life time, its entry points.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <span>

namespace com {

/// One creatable class of the module.
struct ClassEntry {
    const CLSID& clsid;
    const wchar_t* progId;  ///< "<library>.<class>"
    IUnknown* (*create)();  ///< a new object with one reference; throws on failure
};

template <class Class>
IUnknown* Create() {
    return static_cast<ISupportErrorInfo*>(new Class);
}

template <class Class>
constexpr ClassEntry ClassOf(const wchar_t* progId) {
    return {__uuidof(Class), progId, &Create<Class>};
}

/// What a DLL says of itself; defined once in each DLL.
struct ModuleDescription {
    std::span<const ClassEntry> classes;
    unsigned typeLibraries;  ///< number of TYPELIB resources, numbered from 1
    /// Runs before an object is created; throws when the module cannot start in this apartment.
    void (*start)() = nullptr;
    /// Frees what the module keeps for the calling thread's apartment once no object is left;
    /// false when other apartments still keep something.
    bool (*releaseApartment)() = nullptr;
};
const ModuleDescription& ThisModule();

/// Bodies of the exported functions of the same names.
HRESULT GetClassObject(REFCLSID clsid, REFIID id, void** object) noexcept;
HRESULT CanUnloadNow() noexcept;

enum class RegistrationScope { Machine, User };
/// Writes classes, ProgIDs and type libraries; a failure leaves nothing behind.
HRESULT Register(RegistrationScope scope) noexcept;
/// Removes them; what is not there is no error.
HRESULT Unregister(RegistrationScope scope) noexcept;

}  // namespace com
