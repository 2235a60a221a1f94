// Bases for objects: identity, life time, error information.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <wrl/client.h>

#include <atomic>
#include <utility>

#include "com/RunningCall.h"

namespace com {

/// A COM object that implements Interfaces; the first one is its identity. It lives until its last reference
/// is released, and no call is left that may be running in it. A base that implements an interface names it
/// as Offered, and tells by Answers which identifiers lead to it: its own and those of the interfaces that it
/// extends.
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
        if (left == 0) End();
        return left;
    }

protected:
    virtual ~Unbound() = default;

private:
    void End() {
        m_references = 1;
        if (RunningCall::Keep(static_cast<First*>(this))) return;
        // What its destruction releases may still refer to the object and must not end it again.
        m_references = kEnding;
        delete this;
    }

    template <class Interface>
    void Offer(REFIID id, void** object) {
        if constexpr (requires { typename Interface::Offered; }) {
            if (Interface::Answers(id)) *object = static_cast<typename Interface::Offered*>(this);
        } else if (id == __uuidof(Interface)) {
            *object = static_cast<Interface*>(this);
        }
    }

    static constexpr ULONG kEnding = 0x40000000;

    std::atomic<ULONG> m_references = 1;
};

/// An object that describes its errors.
template <class First, class... Others>
class Object : public Unbound<First, Others..., ISupportErrorInfo> {
public:
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }
};

/// A new object, owned by the pointer.
template <class Class, class... Arguments>
Microsoft::WRL::ComPtr<Class> Make(Arguments&&... arguments) {
    Microsoft::WRL::ComPtr<Class> object;
    // The object is born with the one reference that the pointer takes over. Attach would do that by its
    // name, but in the compiler's headers it adds another one, which nobody would release.
    *object.ReleaseAndGetAddressOf() = new Class(std::forward<Arguments>(arguments)...);
    return object;
}

}  // namespace com
