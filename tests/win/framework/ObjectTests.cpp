// The rules of COM, for every class of the framework, served by its manifest and without registration.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "tests/win/support/ActivationContext.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

struct FrameworkClass {
    const char* name;
    const wchar_t* progId;
    IID contract;
};

class ObjectTest : public testing::Test {
protected:
    ~ObjectTest() override { EXPECT_EQ(library.CanUnloadNow(), S_OK) << "an object was leaked"; }

    static CLSID ClassId(const wchar_t* progId) {
        CLSID clsid{};
        EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
        return clsid;
    }
    template <class Interface>
    static ComPtr<Interface> Create(const wchar_t* progId) {
        ComPtr<Interface> object;
        com::Check(CoCreateInstance(ClassId(progId), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
                   progId);
        return object;
    }

    Library library{L"znFramework.dll"};
    ComApartment apartment;
    ActivationContext context{L"znFramework"};
};

class ObjectRules : public ObjectTest, public testing::WithParamInterface<FrameworkClass> {};

/// An out-parameter as a careless caller leaves it.
template <class Pointer>
Pointer Poison() {
    return reinterpret_cast<Pointer>(static_cast<ULONG_PTR>(0xDEAD));
}

TEST_P(ObjectRules, IdentityIsOneAndStable) {
    const auto object = Create<IUnknown>(GetParam().progId);
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
    for (const IID& face : {GetParam().contract, IID_ISupportErrorInfo, IID_IUnknown}) {
        ComPtr<IUnknown> offered;
        ASSERT_EQ(object.CopyTo(face, reinterpret_cast<void**>(offered.ReleaseAndGetAddressOf())), S_OK);
        ComPtr<IUnknown> identity;
        ASSERT_EQ(offered.CopyTo(IID_PPV_ARGS(identity.ReleaseAndGetAddressOf())), S_OK);
        EXPECT_EQ(identity.Get(), object.Get());
        ComPtr<IUnknown> again;
        ASSERT_EQ(offered.CopyTo(face, reinterpret_cast<void**>(again.ReleaseAndGetAddressOf())), S_OK);
        EXPECT_EQ(again.Get(), offered.Get());
    }
    auto* other = Poison<void*>();
    EXPECT_EQ(object->QueryInterface(IID_IStream, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

const FrameworkClass kClasses[] = {
    {"EventLog", L"znSystem.ZNEventLog", __uuidof(IZNEventLog)},
    {"Startup", L"znSystem.ZNStartup", __uuidof(IZNStartup)},
    {"Registry", L"znSystem.ZNRegistry", __uuidof(IZNRegistry)},
    {"PropertySet", L"znSystem.ZNPropertySet", __uuidof(IZNPropertySet)},
    {"BrandingResources", L"znFramework.ZNBrandingResources", __uuidof(IZNBrandingResources)},
    {"ApplicationContext", L"znFramework.ZNApplicationContext", __uuidof(IZNApplicationContext)},
    {"HostSettings", L"znFramework.ZNApplicationContext", __uuidof(IZNHostSettings)},
    {"Locale", L"znFramework.ZNLocale", __uuidof(IZNLocale)},
    {"Category", L"znFramework.ZNCategory", __uuidof(IZNCategory)},
    {"MobileFolders", L"znFramework.ZNMobileFolders", __uuidof(IZNMobileFolders)},
};

INSTANTIATE_TEST_SUITE_P(Framework, ObjectRules, testing::ValuesIn(kClasses),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(ObjectTest, AFailureEmptiesItsResultAndSaysWhy) {
    const auto expectFailure = [](HRESULT result, HRESULT expected, const std::wstring& word) {
        ASSERT_EQ(result, expected);
        try {
            com::Check(result);
        } catch (const base::Error& error) {
            EXPECT_NE(error.failure().description.find(word), std::wstring::npos);
        }
    };
    VARIANT value;
    const auto poisoned = [&value] {
        value.vt = VT_BSTR;
        value.bstrVal = Poison<BSTR>();
        return &value;
    };
    const VARIANT none{};
    expectFailure(Create<IZNStartup>(L"znSystem.ZNStartup")->Entry(999, none, poisoned()), E_INVALIDARG,
                  L"999");
    EXPECT_EQ(value.vt, VT_EMPTY);
    expectFailure(Create<IZNRegistry>(L"znSystem.ZNRegistry")->Read(nullptr, none, poisoned()), E_UNEXPECTED,
                  L"Open");
    EXPECT_EQ(value.vt, VT_EMPTY);
    auto* text = Poison<BSTR>();
    expectFailure(Create<IZNBrandingResources>(L"znFramework.ZNBrandingResources")
                      ->Text(com::Variant(4711).Get(), &text),
                  E_INVALIDARG, L"4711");
    EXPECT_EQ(text, nullptr);
    text = Poison<BSTR>();
    expectFailure(Create<IZNCategory>(L"znFramework.ZNCategory")->CategoryId(136, &text), E_INVALIDARG,
                  L"136");
    EXPECT_EQ(text, nullptr);
}

}  // namespace
}  // namespace tests
