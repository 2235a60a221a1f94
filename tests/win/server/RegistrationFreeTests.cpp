// A C++ host that creates the classes without any registration: its manifest names the assemblies.
#include <initguid.h>  // the identifiers of the type libraries come from the contracts' headers

#include "tests/win/server/ProgIds.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/ScratchHives.h"

namespace tests {
namespace {

TEST(RegistrationFree, ManifestsServeEveryClassByProgId) {
    const ComApartment apartment;
    for (const auto& progIds : kProgIds) {
        for (const wchar_t* progId : progIds) {
            CLSID clsid{};
            ComPtr<IUnknown> object;
            EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK) << testing::PrintToString(progId);
            EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), S_OK);
        }
    }
}

TEST(RegistrationFree, AHostMayEnterAndLeaveComAgainAndAgain) {
    for (int round = 0; round < 1000; ++round) {
        const ComApartment apartment;
        for (const CLSID& clsid : {__uuidof(clsCmdLine), __uuidof(ZNLocale)}) {
            ComPtr<IUnknown> object;
            ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), S_OK);
        }
        CoFreeUnusedLibraries();
    }
}

/// Wine takes the first type library of a file whatever number the manifest names, so that the others of
/// znFramework.dll are compared with the manifest when the binaries are checked.
TEST(RegistrationFree, ManifestsServeTheFirstTypeLibraries) {
    for (const GUID& id : {LIBID_znTransporter, LIBID_znSystem})
        EXPECT_EQ(LoadedTypeLibrary(id), com::Text(id));
}

TEST(RegistrationFree, TheFolderLocatorAnswersFromTheMobileConfiguration) {
    const ScratchHives hives;
    const ComApartment apartment;
    const DWORD mode = 1;
    const wchar_t home[] = L"D:\\M";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znMobile", L"MobileConfigValue", REG_DWORD, &mode,
                    sizeof mode);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znMobile", L"FieldHome", REG_SZ, home, sizeof home);
    ComPtr<IZNMobileFolders> folders;
    ASSERT_EQ(
        CoCreateInstance(__uuidof(ZNMobileFolders), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&folders)),
        S_OK);
    ASSERT_EQ(folders->put_ApplicationName(In(L"Designer")), S_OK);
    EXPECT_EQ(Ask<std::wstring>(&IZNMobileFolders::FolderPath, folders, VARIANT_FALSE, L"XDeltaRefPath"),
              L"D:\\M\\Transport\\Designer\\XDeltaReferenceFiles\\");
}

}  // namespace
}  // namespace tests
