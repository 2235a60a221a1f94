// A host whose activation context is active only while it creates an object.
#include "com/ActivationContext.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/ScratchHives.h"

namespace tests {
namespace {

/// That of a program whose manifest names the assemblies, beside which they lie.
com::ActivationContext AssembliesContext() {
    const std::wstring program = BuildFolder() + L"\\tests\\registration_free\\registration_free_tests.exe";
    ACTCTXW description{};
    description.cbSize = sizeof description;
    description.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    description.lpSource = program.c_str();
    description.lpResourceName = MAKEINTRESOURCEW(1);
    return com::ActivationContext(CreateActCtxW(&description));
}

/// As a host does it that knows its context for that moment alone.
template <class Class, class Interface>
ComPtr<Interface> CreateInContext() {
    const com::Activation active(AssembliesContext());
    return com::Create<Class, Interface>(L"in the context");
}

TEST(ActivationContext, IsInForceForWhatAnObjectCreatesLater) {
    const ScratchHives hives;
    const ComApartment apartment;
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(__uuidof(ZNCategory), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
              REGDB_E_CLASSNOTREG);
    const auto folders = CreateInContext<ZNMobileFolders, IZNMobileFolders>();
    const auto encoder = CreateInContext<clsZipEncoder, IZNEncoder>();
    ASSERT_EQ(folders->put_ApplicationName(In(L"Designer")), S_OK);
    EXPECT_EQ(Administration(encoder), L"Zip encoder in {5932C0AE-6C7F-4627-AB8F-44ABEAE9741C}");
    HANDLE active = nullptr;
    EXPECT_TRUE(GetCurrentActCtx(&active));
    EXPECT_EQ(active, nullptr) << "the host's thread is as it was";
}

}  // namespace
}  // namespace tests
