// A C++ host that creates the classes without any registration: its manifest names the assemblies.
#include <initguid.h>  // the identifiers of the type libraries come from the contracts' headers

#include "tests/win/server/ProgIds.h"
#include "tests/win/support/Dll.h"

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

}  // namespace
}  // namespace tests
