// A class that this process serves to itself.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <functional>

#include "com/ErrorInfo.h"
#include "com/Object.h"

namespace tests {

/// As CreateInstance.
using Maker = std::function<HRESULT(REFIID id, void** object)>;

/// While it exists, creating an object of the class calls its maker.
class ServedClass {
public:
    ServedClass(const CLSID& clsid, Maker make) {
        const auto factory = com::Make<Factory>(std::move(make));
        com::Check(CoRegisterClassObject(clsid, static_cast<IClassFactory*>(factory.Get()),
                                         CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie));
    }
    ServedClass(const ServedClass&) = delete;
    ServedClass& operator=(const ServedClass&) = delete;
    ~ServedClass() { CoRevokeClassObject(m_cookie); }

private:
    class Factory final : public com::Object<IClassFactory> {
    public:
        explicit Factory(Maker make) : m_make(std::move(make)) {}

        STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** object) override {
            return m_make(id, object);
        }
        STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    private:
        Maker m_make;
    };

    DWORD m_cookie = 0;
};

}  // namespace tests
