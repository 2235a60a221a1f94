// A DLL under test, loaded as COM loads it, and a thread's COM apartment.
#pragma once

#include <windows.h>
#include <wrl/client.h>

#include <string>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "znTransporter.h"

namespace tests {

/// Folder of the test programs' build, with its "bin" and "tests" folders.
inline std::wstring BuildFolder() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path);
    return program.substr(0, program.rfind(L'\\', program.rfind(L'\\') - 1));
}

class Library {
public:
    explicit Library(const wchar_t* name = L"znTransporter.dll")
        : m_module(LoadLibraryW((BuildFolder() + L"\\bin\\" + name).c_str())) {
        if (!m_module) throw base::Error(HRESULT_FROM_WIN32(GetLastError()), name);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { FreeLibrary(m_module); }

    HRESULT GetClassObject(REFCLSID clsid, REFIID id, void** object) const {
        return Export<decltype(&::DllGetClassObject)>("DllGetClassObject")(clsid, id, object);
    }
    HRESULT CanUnloadNow() const { return Export<decltype(&::DllCanUnloadNow)>("DllCanUnloadNow")(); }

    HRESULT TryCreate(REFCLSID clsid, REFIID id, void** object) const {
        Microsoft::WRL::ComPtr<IClassFactory> factory;
        const HRESULT result = GetClassObject(clsid, IID_PPV_ARGS(&factory));
        return FAILED(result) ? result : factory->CreateInstance(nullptr, id, object);
    }
    template <class Class, class Interface>
    Microsoft::WRL::ComPtr<Interface> Create() const {
        Microsoft::WRL::ComPtr<Interface> object;
        com::Check(TryCreate(__uuidof(Class), IID_PPV_ARGS(&object)), L"creating an object of the library");
        return object;
    }
    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

private:
    HMODULE m_module;
};

/// Enters a COM apartment.
class ComApartment {
public:
    ComApartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() { CoUninitialize(); }
};

}  // namespace tests
