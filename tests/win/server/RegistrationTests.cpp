// Registration of the DLLs: machine, user, failure half-way, and a script that needs it.
#include <initguid.h>  // the identifiers of the type libraries come from the contracts' headers

#include <span>

#include "tests/win/server/ProgIds.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/Process.h"

namespace tests {
namespace {

struct Module {
    const wchar_t* dll;
    std::span<const wchar_t* const> progIds;
    std::vector<GUID> typeLibraries;
    std::vector<std::wstring> eventSources;
};

const Module& ModuleAt(size_t index) {
    static const Module modules[] = {{L"znTransporter.dll", kLibraryProgIds, {LIBID_znTransporter}, {}},
                                     {L"znFramework.dll",
                                      kFrameworkProgIds,
                                      {LIBID_znSystem, LIBID_znFramework, LIBID_znFrameworkUI},
                                      {L"znTransporter", L"znhost"}}};
    return modules[index];
}

std::wstring Value(HKEY hive, const std::wstring& path, const wchar_t* name = nullptr) {
    wchar_t text[1024];
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(hive, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"(none)";
}

std::wstring MessageFile(const std::wstring& source) {
    return Value(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + source,
                 L"EventMessageFile");
}

/// Number of keys below CLSID that name a DLL as their server.
size_t ServedClasses(HKEY hive, const std::wstring& dll) {
    HKEY classes = nullptr;
    if (RegOpenKeyExW(hive, L"Software\\Classes\\CLSID", 0, KEY_READ, &classes) != ERROR_SUCCESS) return 0;
    size_t served = 0;
    wchar_t name[64];
    for (DWORD i = 0; RegEnumKeyW(classes, i, name, 64) == ERROR_SUCCESS; ++i)
        if (Value(classes, std::wstring(name) + L"\\InprocServer32").find(dll) != std::wstring::npos)
            ++served;
    RegCloseKey(classes);
    return served;
}

/// A DLL of the other bitness, as far as its registration is seen from here; the classes must be registered
/// here.
class OtherBitness {
public:
    static constexpr wchar_t kDll[] = L"C:\\other bitness\\zn.dll";

    explicit OtherBitness(const Module& module) {
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID", 0, KEY_ALL_ACCESS | kView,
                                &m_classes),
                  ERROR_SUCCESS);
        for (const wchar_t* progId : module.progIds) {
            CLSID clsid;
            EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
            m_ids.push_back(com::Text(clsid));
            Write(m_classes, m_ids.back() + L"\\InprocServer32");
        }
        for (const GUID& id : module.typeLibraries)
            Write(HKEY_LOCAL_MACHINE,
                  L"Software\\Classes\\TypeLib\\" + com::Text(id) + L"\\1.0\\0\\" + kPlatform);
    }
    OtherBitness(const OtherBitness&) = delete;
    OtherBitness& operator=(const OtherBitness&) = delete;
    ~OtherBitness() {
        for (const std::wstring& id : m_ids)
            RegDeleteTreeW(m_classes, id.c_str());
        RegCloseKey(m_classes);
    }

private:
    static constexpr bool kIs64 = sizeof(void*) == 8;
    static constexpr REGSAM kView = kIs64 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    static constexpr auto kPlatform = kIs64 ? L"win32" : L"win64";

    static void Write(HKEY key, const std::wstring& path) {
        EXPECT_EQ(RegSetKeyValueW(key, path.c_str(), nullptr, REG_SZ, kDll, sizeof kDll), ERROR_SUCCESS);
    }

    HKEY m_classes = nullptr;
    std::vector<std::wstring> m_ids;
};

class Registration : public testing::TestWithParam<size_t> {
protected:
    const Module& module = ModuleAt(GetParam());
    Library library{module.dll};
    ComApartment apartment;

    HRESULT Call(const char* name) const { return library.Export<HRESULT(WINAPI*)()>(name)(); }
    void ExpectClasses(HKEY hive, bool expected) const {
        EXPECT_EQ(ServedClasses(hive, module.dll), expected ? module.progIds.size() : 0u);
        ExpectProgIds(hive, expected);
    }
    void ExpectProgIds(HKEY hive, bool expected) const {
        for (const wchar_t* progId : module.progIds)
            EXPECT_EQ(Value(hive, std::wstring(L"Software\\Classes\\") + progId + L"\\CLSID") != L"(none)",
                      expected);
    }
    /// Looks where programs look: in the classes of the user and of the machine.
    void ExpectTypeLibraries(bool expected) const {
        for (const GUID& id : module.typeLibraries)
            EXPECT_EQ(LoadedTypeLibrary(id), expected ? com::Text(id) : L"");
    }
    void ExpectMessageFile(const std::wstring& expected) const {
        for (const std::wstring& source : module.eventSources)
            EXPECT_EQ(MessageFile(source), expected) << testing::PrintToString(source);
    }
    void ExpectNothing() const {
        ExpectClasses(HKEY_LOCAL_MACHINE, false);
        ExpectClasses(HKEY_CURRENT_USER, false);
        ExpectTypeLibraries(false);
        ExpectMessageFile(L"(none)");
    }
};

TEST_P(Registration, MachineWideAndBack) {
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    EXPECT_EQ(Call("DllRegisterServer"), S_OK) << "again";
    ExpectClasses(HKEY_LOCAL_MACHINE, true);
    ExpectTypeLibraries(true);
    ExpectMessageFile(BuildFolder() + L"\\bin\\" + module.dll);
    for (const wchar_t* progId : module.progIds) {
        CLSID clsid;
        ASSERT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
        const std::wstring path = L"Software\\Classes\\CLSID\\" + com::Text(clsid);
        EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, path + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
        EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, path + L"\\ProgID"), progId);
        EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, path + L"\\Version"), L"1.0");
        GUID typeLibrary;
        ASSERT_EQ(CLSIDFromString(Value(HKEY_LOCAL_MACHINE, path + L"\\TypeLib").c_str(), &typeLibrary),
                  S_OK);
        ComPtr<ITypeLib> described;
        ComPtr<ITypeInfo> description;
        ASSERT_EQ(LoadRegTypeLib(typeLibrary, 1, 0, 0, &described), S_OK);
        EXPECT_EQ(described->GetTypeInfoOfGuid(clsid, &description), S_OK) << testing::PrintToString(progId);
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)), S_OK);
    }
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    ExpectNothing();
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK) << "nothing to remove is no error";
}

TEST_P(Registration, ForTheUserOnly) {
    const auto install = library.Export<HRESULT(WINAPI*)(BOOL, LPCWSTR)>("DllInstall");
    ASSERT_EQ(install(TRUE, L"user"), S_OK);
    ExpectClasses(HKEY_CURRENT_USER, true);
    ExpectClasses(HKEY_LOCAL_MACHINE, false);
    ExpectTypeLibraries(true);
    EXPECT_EQ(install(FALSE, L"USER"), S_OK);
    ExpectNothing();
    EXPECT_EQ(install(TRUE, L"somebody"), E_INVALIDARG);
    ExpectNothing();
}

TEST_P(Registration, WhatBothBitnessesShareGoesWithTheLast) {
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    {
        const OtherBitness other(module);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
            EXPECT_EQ(ServedClasses(HKEY_LOCAL_MACHINE, module.dll), 0u);
            ExpectProgIds(HKEY_LOCAL_MACHINE, true);
            ExpectMessageFile(OtherBitness::kDll);
        }
    }
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    for (const GUID& id : module.typeLibraries)
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\TypeLib\\" + com::Text(id)).c_str());
    ExpectNothing();
}

TEST_P(Registration, AFailureHalfWayLeavesNothingBehind) {
    // Below a volatile key nothing permanent can be created: the last class fails.
    const std::wstring path = std::wstring(L"Software\\Classes\\") + module.progIds.back();
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_TRUE(FAILED(Call("DllRegisterServer")));
    ExpectNothing();
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Dlls, Registration, testing::Range<size_t>(0, 2),
                         [](const auto& dll) { return dll.param == 0 ? "Library" : "Framework"; });

TEST(Script, UsesClassesByProgId) {
    const auto regsvr = [](const std::wstring& options) {
        for (const wchar_t* dll : {L"znFramework.dll", L"znTransporter.dll"})
            EXPECT_EQ(Process(L"regsvr32.exe " + options + L" \"" + BuildFolder() + L"\\bin\\" + dll + L"\"")
                          .ExitCode(),
                      0u);
    };
    regsvr(L"/s");
    // A script ends with this code when each of its checks held; an error ends it with 0.
    constexpr DWORD kAllChecksHeld = 42;
    EXPECT_EQ(Process(L"cscript.exe /nologo \"" ZN_SCRIPTS L"\\classes.vbs\"").ExitCode(), kAllChecksHeld);
    regsvr(L"/s /u");
}

}  // namespace
}  // namespace tests
