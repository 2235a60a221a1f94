// See ServerModule.h.
#include "com/server/ServerModule.h"

#include "base/Module.h"
#include "com/ActivationContext.h"
#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/server/ModuleLock.h"
#include "com/server/TypeInfo.h"

using Microsoft::WRL::ComPtr;

namespace com {

namespace {

/// As an object does, a factory keeps the module loaded while somebody holds it.
class ClassFactory final : public Unbound<IClassFactory> {
public:
    explicit ClassFactory(const ClassEntry& entry) : m_entry(entry) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return Call([&] {
            KeepActiveContext();
            if (ThisModule().start) ThisModule().start();
            ComPtr<IUnknown> instance;
            *instance.ReleaseAndGetAddressOf() = m_entry.create();
            Check(instance.CopyTo(id, object), m_entry.progId);
        });
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        LockModule(lock != FALSE);
        return S_OK;
    }

private:
    const ClassEntry& m_entry;
    const ModuleLock m_lock;
};

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID id, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const ClassEntry& entry : ThisModule().classes) {
        if (entry.clsid != clsid) continue;
        // From the first call on the compiler's runtime holds a slot for what each thread has, and no
        // unloading gives it back: a host that leaves and enters COM a thousand times would run out of them.
        base::PinModule();
        return Call([&] {
            KeepActiveContext();
            Check(Make<ClassFactory>(entry).CopyTo(id, object), entry.progId);
        });
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CanUnloadNow() noexcept {
    if (IsModuleLocked()) return S_FALSE;
    TypeInfoCache::ReleaseAll();
    const auto releaseApartment = ThisModule().releaseApartment;
    if (releaseApartment && !releaseApartment()) return S_FALSE;
    // What was released may have called in.
    if (IsModuleLocked()) return S_FALSE;
    DropKeptContext();
    return S_OK;
}

}  // namespace com
