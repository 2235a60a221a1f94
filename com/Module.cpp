#include "com/Module.h"

#include <atomic>
#include <vector>

#include "com/Error.h"
#include "com/Object.h"
#include "com/Return.h"

using Microsoft::WRL::ComPtr;

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace com {

namespace {

std::atomic<long> g_locks = 0;

/// Factories live as long as somebody holds them, and do not themselves keep the module loaded
/// (LockServer does).
class ClassFactory final : public Unbound<IClassFactory> {
public:
    explicit ClassFactory(const ClassEntry& entry) : m_entry(entry) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return Call([&] {
            const ModuleLock busy;
            if (ThisModule().start) ThisModule().start();
            ComPtr<IUnknown> instance;
            *instance.ReleaseAndGetAddressOf() = m_entry.create();
            Check(instance.CopyTo(id, object), m_entry.progId);
        });
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        g_locks += lock ? 1 : -1;
        return S_OK;
    }

private:
    const ClassEntry& m_entry;
};

}  // namespace

ModuleLock::ModuleLock() noexcept { ++g_locks; }
ModuleLock::~ModuleLock() { --g_locks; }

HINSTANCE ModuleHandle() noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

std::wstring ModulePath() {
    std::vector<wchar_t> path(MAX_PATH);
    for (;;) {
        const DWORD length = GetModuleFileNameW(ModuleHandle(), path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) ThrowWin32(GetLastError(), L"path of the module");
        if (length < path.size()) return {path.data(), length};
        path.resize(path.size() * 2);
    }
}

ComPtr<ITypeInfo> TypeInfoOf(REFIID id) {
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &library), ModulePath());
    ComPtr<ITypeInfo> info;
    Check(library->GetTypeInfoOfGuid(id, &info), Text(id));
    return info;
}

HRESULT GetClassObject(REFCLSID clsid, REFIID id, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    for (const ClassEntry& entry : ThisModule().classes) {
        if (entry.clsid != clsid) continue;
        return Call([&] { Check(Make<ClassFactory>(entry).CopyTo(id, object), entry.progId); });
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CanUnloadNow() noexcept {
    if (g_locks != 0) return S_FALSE;
    const auto releaseApartment = ThisModule().releaseApartment;
    return !releaseApartment || releaseApartment() ? S_OK : S_FALSE;
}

}  // namespace com
