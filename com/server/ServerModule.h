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
    unsigned typeLibrary;   ///< number of the TYPELIB resource that describes it
    IUnknown* (*create)();  ///< a new object with one reference; throws on failure
};

template <class Class>
IUnknown* Create() {
    return static_cast<ISupportErrorInfo*>(new Class);
}

template <class Class>
constexpr ClassEntry ClassOf(const wchar_t* progId, unsigned typeLibrary) {
    return {__uuidof(Class), progId, typeLibrary, &Create<Class>};
}

/// What a DLL says of itself; defined once in each DLL.
struct ModuleDescription {
    std::span<const ClassEntry> classes;
    unsigned typeLibraries;  ///< number of TYPELIB resources, numbered from 1
    /// Sources in the event log of Windows whose entries show the module's messages.
    std::span<const wchar_t* const> eventSources = {};
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
/// Writes classes, ProgIDs and type libraries, for the machine event sources, too; a failure leaves nothing
/// behind.
HRESULT Register(RegistrationScope scope) noexcept;
/// Removes them; what is not there is no error. What the DLL of the other bitness shares stays while that is
/// registered.
HRESULT Unregister(RegistrationScope scope) noexcept;

}  // namespace com
