// Registration of the DLLs: machine, user, failure half-way, and a script that needs it.
#include <initguid.h>  // the identifiers of the type libraries come from the contracts' headers

#include <gmock/gmock.h>

#include "tests/win/support/Dll.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

struct Module {
    const wchar_t* dll;
    std::vector<const wchar_t*> progIds;
    std::vector<GUID> typeLibraries;
};

const std::vector<Module>& Modules() {
    static const std::vector<Module> modules = {
        {L"znTransporter.dll",
         {L"znTransporter.clsTransporter", L"znTransporter.clsZipEncoder", L"znTransporter.clsXDeltaEncoder",
          L"znTransporter.clsXCOPYSndRcv", L"znTransporter.clsFTPSndRcv", L"znTransporter.clsFTPFile",
          L"znTransporter.clsTranMobileConfig", L"znTransporter.clsCmdLine", L"znTransporter.clsRijndael"},
         {LIBID_znTransporter}},
        {L"znFramework.dll",
         {L"znSystem.ZNEventLog", L"znSystem.ZNStartup", L"znSystem.ZNRegistry", L"znSystem.ZNPropertySet",
          L"znFramework.ZNBrandingResources", L"znFramework.ZNApplicationContext", L"znFramework.ZNLocale",
          L"znFramework.ZNCategory", L"znFramework.ZNMobileFolders"},
         {LIBID_znSystem, LIBID_znFramework, LIBID_znFrameworkUI}}};
    return modules;
}

std::wstring Value(HKEY hive, const std::wstring& path, const wchar_t* name = nullptr) {
    wchar_t text[1024];
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(hive, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"(none)";
}

std::wstring ClassIdOf(HKEY hive, const std::wstring& progId) {
    return Value(hive, L"Software\\Classes\\" + progId + L"\\CLSID");
}

/// Looks where programs look: in the classes of the user and of the machine.
bool HasTypeLibrary(const GUID& id) {
    HKEY key = nullptr;
    const std::wstring path = L"TypeLib\\" + com::Text(id);
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

/// Number of keys below CLSID that name a DLL as their server.
int ServedClasses(HKEY hive, const std::wstring& dll) {
    HKEY classes = nullptr;
    if (RegOpenKeyExW(hive, L"Software\\Classes\\CLSID", 0, KEY_READ, &classes) != ERROR_SUCCESS) return 0;
    int served = 0;
    wchar_t name[64];
    for (DWORD i = 0, size = 64;
         RegEnumKeyExW(classes, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++i, size = 64)
        if (Value(classes, std::wstring(name) + L"\\InprocServer32").find(dll) != std::wstring::npos)
            ++served;
    RegCloseKey(classes);
    return served;
}

using Register = HRESULT(WINAPI*)();
using Install = HRESULT(WINAPI*)(BOOL, LPCWSTR);

class Registration : public testing::TestWithParam<size_t> {
protected:
    const Module& module = Modules()[GetParam()];
    Library library{module.dll};
    ComApartment apartment;

    HRESULT Call(const char* name) const { return library.Export<Register>(name)(); }
    void ExpectNothing(HKEY hive) const {
        for (const wchar_t* progId : module.progIds)
            EXPECT_EQ(ClassIdOf(hive, progId), L"(none)");
        EXPECT_EQ(ServedClasses(hive, module.dll), 0);
        ExpectTypeLibraries(false);
    }
    void ExpectTypeLibraries(bool expected) const {
        for (const GUID& id : module.typeLibraries)
            EXPECT_EQ(HasTypeLibrary(id), expected) << testing::PrintToString(com::Text(id));
    }
};

TEST_P(Registration, MachineWideAndBack) {
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    EXPECT_EQ(Call("DllRegisterServer"), S_OK) << "again";
    EXPECT_EQ(ServedClasses(HKEY_LOCAL_MACHINE, module.dll), static_cast<int>(module.progIds.size()));
    ExpectTypeLibraries(true);
    for (const wchar_t* progId : module.progIds) {
        CLSID clsid;
        ASSERT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
        const std::wstring path = L"Software\\Classes\\CLSID\\" + com::Text(clsid);
        EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, path + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
        EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, path + L"\\ProgID"), progId);
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)), S_OK);
    }
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK);
    ExpectNothing(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK) << "nothing to remove is no error";
}

TEST_P(Registration, ForTheUserOnly) {
    const auto install = library.Export<Install>("DllInstall");
    ASSERT_EQ(install(TRUE, L"user"), S_OK);
    for (const wchar_t* progId : module.progIds)
        EXPECT_NE(ClassIdOf(HKEY_CURRENT_USER, progId), L"(none)");
    EXPECT_EQ(ServedClasses(HKEY_CURRENT_USER, module.dll), static_cast<int>(module.progIds.size()));
    EXPECT_EQ(ServedClasses(HKEY_LOCAL_MACHINE, module.dll), 0);
    ExpectTypeLibraries(true);
    EXPECT_EQ(install(FALSE, L"USER"), S_OK);
    ExpectNothing(HKEY_CURRENT_USER);
    EXPECT_EQ(install(TRUE, L"somebody"), E_INVALIDARG);
    ExpectNothing(HKEY_CURRENT_USER);
    ExpectNothing(HKEY_LOCAL_MACHINE);
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
    ExpectNothing(HKEY_LOCAL_MACHINE);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Dlls, Registration, testing::Range<size_t>(0, 2),
                         [](const auto& dll) { return dll.param == 0 ? "Library" : "Framework"; });

/// Runs a program of the system and returns its exit code.
DWORD RunProgram(std::wstring command) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        return ~0u;
    WaitForSingleObject(process.hProcess, 60000);
    DWORD code = ~0u;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

class Script : public testing::TestWithParam<const wchar_t*> {
protected:
    Script() {
        for (const wchar_t* dll : {L"znFramework.dll", L"znTransporter.dll"})
            EXPECT_EQ(RunProgram(L"regsvr32.exe /s \"" + bin + dll + L"\""), 0u);
    }
    ~Script() override {
        for (const wchar_t* dll : {L"znTransporter.dll", L"znFramework.dll"})
            EXPECT_EQ(RunProgram(L"regsvr32.exe /s /u \"" + bin + dll + L"\""), 0u);
    }

    const std::wstring bin = BuildFolder() + L"\\bin\\";
};

TEST_P(Script, UsesAClassByProgId) {
    // The script ends with this code when each of its checks held; an error ends it with 0.
    constexpr DWORD kAllChecksHeld = 42;
    const std::wstring script = std::wstring(ZN_SCRIPTS L"\\") + GetParam();
    EXPECT_EQ(RunProgram(L"cscript.exe /nologo \"" + script + L"\""), kAllChecksHeld);
}

INSTANTIATE_TEST_SUITE_P(Scripts, Script, testing::Values(L"cmdline.vbs", L"rijndael.vbs"),
                         [](const auto& script) { return script.index == 0 ? "CommandLine" : "Rijndael"; });

}  // namespace
}  // namespace tests
