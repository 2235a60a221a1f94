// Bases for objects of the classes that a DLL serves: they keep the DLL loaded, and scripts reach them.
#pragma once

#include <wrl/client.h>

#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "com/RunningCall.h"
#include "com/server/ModuleLock.h"
#include "com/server/TypeInfo.h"

namespace com {

/// A dual interface whose IDispatch part is answered from the type library. Released: the dual interfaces
/// that it extends.
template <class Interface, class... Released>
class Dual : public Interface {
public:
    using Offered = Interface;
    static bool Answers(REFIID id) {
        return id == __uuidof(Interface) || ((id == __uuidof(Released)) || ...) || id == IID_IDispatch;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        return WithTypeInfo([&](ITypeInfo* description) {
            description->AddRef();
            *info = description;
            return S_OK;
        });
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return WithTypeInfo(
            [&](ITypeInfo* description) { return description->GetIDsOfNames(names, count, ids); });
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* argument) override {
        return WithTypeInfo([&](ITypeInfo* description) {
            ClearErrorInfo();
            return description->Invoke(static_cast<Interface*>(this), id, flags, parameters, result,
                                       exception, argument);
        });
    }

private:
    template <class Call>
    HRESULT WithTypeInfo(Call&& call) noexcept try {
        const RunningCall running;
        static TypeInfoCache description(__uuidof(Interface));
        return call(description.Get().Get());
    } catch (...) {
        return PublishCurrentFailure();
    }
};

/// An object of one of the module's classes; the first interface (or Dual) is its identity.
template <class First, class... Others>
class ServerObject : public Object<First, Others...> {
private:
    ModuleLock m_lock;
};

}  // namespace com
