// Bases for COM classes: identity, life time, default dual interface.
#pragma once

#include <wrl/client.h>

#include <atomic>
#include <type_traits>

#include "com/Error.h"
#include "com/Module.h"

namespace com {

/// Description of an interface from this module's own type library. Throws when it is not there.
Microsoft::WRL::ComPtr<ITypeInfo> TypeInfoOf(REFIID id);

/// A dual interface whose IDispatch part is answered from the type library.
template <class Interface>
class Dual : public Interface {
public:
    using DualInterface = Interface;

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        if (const HRESULT result = LoadTypeInfo(); FAILED(result)) return result;
        return m_typeInfo.CopyTo(info);
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        if (const HRESULT result = LoadTypeInfo(); FAILED(result)) return result;
        return m_typeInfo->GetIDsOfNames(names, count, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* argument) override {
        if (const HRESULT loaded = LoadTypeInfo(); FAILED(loaded)) return loaded;
        SetErrorInfo(0, nullptr);
        return m_typeInfo->Invoke(static_cast<Interface*>(this), id, flags, parameters, result, exception,
                                  argument);
    }

private:
    HRESULT LoadTypeInfo() noexcept try {
        if (!m_typeInfo) m_typeInfo = TypeInfoOf(__uuidof(Interface));
        return S_OK;
    } catch (...) {
        return PublishCurrentFailure();
    }

    Microsoft::WRL::ComPtr<ITypeInfo> m_typeInfo;
};

/// A COM object that implements Interfaces; the first one (or Dual) is its identity.
/// It lives until its last reference is released, and does not keep its module loaded.
template <class First, class... Others>
class Unbound : public First, public Others... {
public:
    Unbound() = default;
    Unbound(const Unbound&) = delete;
    Unbound& operator=(const Unbound&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (id == IID_IUnknown) *object = static_cast<First*>(this);
        Offer<First>(id, object);
        (Offer<Others>(id, object), ...);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~Unbound() = default;

private:
    template <class Interface>
    void Offer(REFIID id, void** object) {
        if constexpr (requires { typename Interface::DualInterface; }) {
            if (id == __uuidof(typename Interface::DualInterface) || id == IID_IDispatch)
                *object = static_cast<typename Interface::DualInterface*>(this);
        } else if (id == __uuidof(Interface)) {
            *object = static_cast<Interface*>(this);
        }
    }

    std::atomic<ULONG> m_references = 1;
};

/// An object of one of the module's classes: it describes its errors, and keeps the module loaded.
template <class First, class... Others>
class Object : public Unbound<First, Others..., ISupportErrorInfo> {
public:
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }

private:
    ModuleLock m_lock;
};

/// A new object, owned by the pointer.
template <class Class, class... Arguments>
Microsoft::WRL::ComPtr<Class> Make(Arguments&&... arguments) {
    Microsoft::WRL::ComPtr<Class> object;
    // The object is born with the one reference that the pointer takes over.
    *object.ReleaseAndGetAddressOf() = new Class(std::forward<Arguments>(arguments)...);
    return object;
}

}  // namespace com
