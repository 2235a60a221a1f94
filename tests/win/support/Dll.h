// A DLL under test, loaded as COM loads it, a thread's COM apartment, and tests that drive the classes of a
// DLL.
#pragma once

#include <windows.h>
#include <gmock/gmock.h>

#include <string>

#include "base/Module.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "tests/win/support/ComValues.h"
#include "znTransporter.h"

namespace tests {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

/// Folder of the test programs' build, with its "bin" and "tests" folders.
inline std::wstring BuildFolder() { return Path::ParentFolder(Path::ParentFolder(base::ProgramPath())); }

class Library {
public:
    explicit Library(const wchar_t* name = L"znTransporter.dll")
        : m_module(LoadLibraryW((BuildFolder() + L"\\bin\\" + name).c_str())) {
        if (!m_module) base::ThrowWin32(GetLastError(), name);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { FreeLibrary(m_module); }

    HRESULT GetClassObject(REFCLSID clsid, REFIID id, void** object) const {
        return Export<decltype(&::DllGetClassObject)>("DllGetClassObject")(clsid, id, object);
    }
    HRESULT CanUnloadNow() const { return Export<decltype(&::DllCanUnloadNow)>("DllCanUnloadNow")(); }

    HRESULT TryCreate(REFCLSID clsid, REFIID id, void** object) const {
        ComPtr<IClassFactory> factory;
        const HRESULT result = GetClassObject(clsid, IID_PPV_ARGS(&factory));
        return FAILED(result) ? result : factory->CreateInstance(nullptr, id, object);
    }
    template <class Class, class Interface>
    ComPtr<Interface> Create() const {
        ComPtr<Interface> object;
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

/// The DLL and a COM apartment around each test.
class DllTest : public testing::Test {
protected:
    explicit DllTest(const wchar_t* name) : library(name) {}

    template <class Class, class Interface>
    ComPtr<Interface> Create() const {
        return library.Create<Class, Interface>();
    }

    Library library;
    ComApartment apartment;
};

class FrameworkTest : public DllTest {
protected:
    FrameworkTest() : DllTest(L"znFramework.dll") {}
};

}  // namespace tests
