// Settings in the registry: whose value counts, and what is stored how.
#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include "tests/win/support/Dll.h"
#include "tests/win/support/ScratchHives.h"

namespace tests {
namespace {

constexpr auto kMachine = static_cast<LONG>(0x80000002);
constexpr auto kPath = L"Software\\znMobile\\Tests";

class RegistryTest : public FrameworkTest {
protected:
    RegistryTest() { EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_MOBILE, In(L"Tests")), S_OK); }

    static void Store(HKEY hive, const wchar_t* name, DWORD type, const void* data, DWORD size) {
        EXPECT_EQ(RegSetKeyValueW(hive, kPath, name, type, data, size), ERROR_SUCCESS);
    }
    static void StoreText(HKEY hive, const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) {
        Store(hive, name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    Variant Read(const wchar_t* name, const Variant& fallback = Variant(L"default")) const {
        return Ask<Variant>(&IZNRegistry::Read, registry, name, fallback.Get());
    }
    std::wstring Text(const wchar_t* name) const { return Read(name).Text(); }
    void Write(const wchar_t* name, const Variant& value) const {
        EXPECT_EQ(registry->Write(In(name), value.Get()), S_OK);
    }
    static bool Holds(HKEY hive, const wchar_t* name, DWORD types = RRF_RT_REG_SZ) {
        return RegGetValueW(hive, kPath, name, types, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    ScratchHives hives;
    ComPtr<IZNRegistry> registry = Create<ZNRegistry, IZNRegistry>();
};

TEST_F(RegistryTest, TheUsersValueWinsOverTheMachines) {
    EXPECT_EQ(Text(L"Name"), L"default") << "neither key nor value is there";
    StoreText(HKEY_LOCAL_MACHINE, L"Name", L"machine");
    EXPECT_EQ(Text(L"Name"), L"machine");
    StoreText(HKEY_CURRENT_USER, L"Name", L"user");
    EXPECT_EQ(Text(L"name"), L"user");
    EXPECT_EQ(Text(L"Other"), L"default");
    EXPECT_EQ(Read(L"Name", Variant(5)).Get().vt, VT_BSTR) << "the default does not convert";
    EXPECT_EQ(Read(L"Other", Variant(5)).Get().vt, VT_I4);
    EXPECT_TRUE(Read(L"Other", Variant()).IsEmpty());
}

TEST_F(RegistryTest, ReadsTextsAndNumbersAndRefusesTheRest) {
    const DWORD number = 60;
    Store(HKEY_LOCAL_MACHINE, L"Number", REG_DWORD, &number, sizeof number);
    EXPECT_EQ(Read(L"Number").Get().vt, VT_I4);
    EXPECT_EQ(Read(L"Number").Number(), 60);
    StoreText(HKEY_LOCAL_MACHINE, L"Expand", L"%TEMP%\\x", REG_EXPAND_SZ);
    EXPECT_THAT(Text(L"Expand"), Not(HasSubstr(L"%")));
    StoreText(HKEY_LOCAL_MACHINE, L"Empty", L"");
    EXPECT_EQ(Text(L"Empty"), L"");
    Store(HKEY_LOCAL_MACHINE, L"Unterminated", REG_SZ, L"abc", 6);
    EXPECT_EQ(Text(L"Unterminated"), L"abc");
    Store(HKEY_LOCAL_MACHINE, L"Nothing", REG_SZ, L"", 0);
    EXPECT_EQ(Text(L"Nothing"), L"");
    Store(HKEY_LOCAL_MACHINE, L"Binary", REG_BINARY, &number, sizeof number);
    const base::Failure failure = FailureOf([&] { Read(L"Binary"); });
    EXPECT_EQ(failure.number, DISP_E_TYPEMISMATCH);
    EXPECT_THAT(failure.description, HasSubstr(L"Binary"));
}

TEST_F(RegistryTest, WritesForTheMachineAndOverWhatTheUserHas) {
    StoreText(HKEY_CURRENT_USER, L"Text", L"older");
    StoreText(HKEY_CURRENT_USER, L"Other", L"the user's");
    // An enciphered password is any sequence of characters.
    const std::wstring text = std::wstring(L"a\0\xD800\xFFFF\0\0", 6) + std::wstring(5000, L'x');
    Write(L"Text", Variant(text));
    EXPECT_EQ(Text(L"Text"), text);
    EXPECT_TRUE(Holds(HKEY_LOCAL_MACHINE, L"Text"));
    EXPECT_TRUE(Holds(HKEY_CURRENT_USER, L"Text")) << "who sees another machine finds only that";
    EXPECT_EQ(Text(L"Other"), L"the user's");
    VARIANT number{};
    number.vt = VT_UI4;
    number.ulVal = 0xFFFFFFFE;
    Write(L"Number", Variant(number));
    EXPECT_TRUE(Holds(HKEY_LOCAL_MACHINE, L"Number", RRF_RT_REG_DWORD));
    EXPECT_FALSE(Holds(HKEY_CURRENT_USER, L"Number", RRF_RT_ANY)) << "which no other user could read";
    EXPECT_EQ(Read(L"Number").Number(), -2) << "the same 32 bits";
}

TEST_F(RegistryTest, WithoutTheRightToWriteTheValueIsTheUsers) {
    StoreText(HKEY_LOCAL_MACHINE, L"Text", L"machine");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPath, 0, READ_CONTROL | WRITE_DAC, &key), ERROR_SUCCESS);
    const auto allowEverybody = [&](const wchar_t* rights) {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor,
                                                                         nullptr));
        EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
        LocalFree(descriptor);
    };
    allowEverybody(L"D:(A;;KR;;;WD)");
    Write(L"Text", Variant(L"user"));
    EXPECT_TRUE(Holds(HKEY_CURRENT_USER, L"Text"));
    EXPECT_EQ(Text(L"Text"), L"user");
    RegDeleteTreeW(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(Text(L"Text"), L"machine");
    allowEverybody(L"D:(A;;KA;;;WD)");
    RegCloseKey(key);
}

TEST_F(RegistryTest, ProductsHaveKeysOfTheirOwnAndMisuseIsRefused) {
    const wchar_t folder[] = L"D:\\bin";
    const wchar_t foreign[] = L"D:\\user\\bin";
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\znFramework", L"ZNBinDir", REG_SZ, foreign,
                    sizeof foreign);
    EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_FRAMEWORK, nullptr), S_OK);
    EXPECT_EQ(Text(L"ZNBinDir"), L"default") << "no user says where programs lie";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znFramework", L"ZNBinDir", REG_SZ, folder, sizeof folder);
    EXPECT_EQ(registry->Open(kMachine, 99, In(L"")), E_INVALIDARG);
    EXPECT_EQ(registry->Open(1, ZN_PRODUCT_MOBILE, In(L"")), E_INVALIDARG);
    EXPECT_EQ(Text(L"ZNBinDir"), folder) << "a refused Open leaves the key as it was";
    EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_MOBILE, nullptr), S_OK);
    EXPECT_EQ(Text(L"ZNBinDir"), L"default");
    registry = Create<ZNRegistry, IZNRegistry>();
    EXPECT_EQ(FailureOf([&] { Read(L"x"); }).number, E_UNEXPECTED);
    EXPECT_EQ(registry->Write(In(L"x"), Variant().Get()), E_UNEXPECTED);
}

}  // namespace
}  // namespace tests
