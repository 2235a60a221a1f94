// A 32-bit host that has loaded the compiler's shared unwinder before the DLLs.
#include "tests/win/support/Dll.h"

namespace tests {
namespace {

TEST(SharedUnwinder, LeavesTheDllsTheirExceptions) {
    const std::wstring unwinder = BuildFolder() + L"\\tests\\runtime\\libgcc_s_dw2-1.dll";
    if (!LoadLibraryExW(unwinder.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))
        GTEST_SKIP() << "the compiler has no shared unwinder, or it does not load";
    const std::pair<const wchar_t*, CLSID> classes[] = {{L"znTransporter.dll", __uuidof(clsCmdLine)},
                                                        {L"znFramework.dll", __uuidof(ZNLocale)}};
    for (const auto& [dll, clsid] : classes) {
        Library{dll};  // which may be unloaded, too
        const Library library(dll);
        auto* object = Poison();
        EXPECT_EQ(library.GetClassObject(clsid, IID_IPersist, &object), E_NOINTERFACE);
    }
}

}  // namespace
}  // namespace tests
