// Settings in the registry: whose value counts, and what is stored how.
#include "tests/win/framework/FrameworkTest.h"

#include <aclapi.h>
#include <sddl.h>

#include "base/Error.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/ScratchHives.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;

class RegistryTest : public FrameworkTest {
protected:
    RegistryTest() : registry(Create<ZNRegistry, IZNRegistry>()) {
        EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_MOBILE, com::Bstr(L"Tests").Get()), S_OK);
    }

    static void Store(HKEY hive, const wchar_t* name, DWORD type, const void* data, DWORD size) {
        EXPECT_EQ(RegSetKeyValueW(hive, kPath, name, type, data, size), ERROR_SUCCESS);
    }
    static void StoreText(HKEY hive, const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) {
        Store(hive, name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    com::Variant Read(const wchar_t* name, const com::Variant& fallback = com::Variant(L"default")) const {
        return com::Get<com::Variant>(&IZNRegistry::Read, registry.Get(), com::Bstr(name).Get(),
                                      fallback.Get());
    }
    HRESULT Write(const wchar_t* name, const com::Variant& value) const {
        return registry->Write(com::Bstr(name).Get(), value.Get());
    }
    static bool Holds(HKEY hive, const wchar_t* name, DWORD types) {
        return RegGetValueW(hive, kPath, name, types, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    static constexpr LONG kMachine = static_cast<LONG>(0x80000002);
    static constexpr const wchar_t* kPath = L"Software\\znMobile\\Tests";
    ScratchHives hives;
    ComPtr<IZNRegistry> registry;
};

TEST_F(RegistryTest, TheUsersValueWinsOverTheMachines) {
    EXPECT_EQ(Read(L"Name").Text(), L"default") << "neither key nor value is there";
    StoreText(HKEY_LOCAL_MACHINE, L"Name", L"machine");
    EXPECT_EQ(Read(L"Name").Text(), L"machine");
    StoreText(HKEY_CURRENT_USER, L"Name", L"user");
    EXPECT_EQ(Read(L"name").Text(), L"user");
    EXPECT_EQ(Read(L"Other").Text(), L"default");
    EXPECT_EQ(Read(L"Name", com::Variant(5)).Get().vt, VT_BSTR) << "the default does not convert";
    EXPECT_EQ(Read(L"Other", com::Variant(5)).Get().vt, VT_I4);
    EXPECT_TRUE(Read(L"Other", com::Variant()).IsEmpty());
}

TEST_F(RegistryTest, ReadsTextsAndNumbersAndRefusesTheRest) {
    const DWORD number = 60;
    Store(HKEY_LOCAL_MACHINE, L"Number", REG_DWORD, &number, sizeof number);
    StoreText(HKEY_LOCAL_MACHINE, L"Expand", L"%TEMP%\\x", REG_EXPAND_SZ);
    StoreText(HKEY_LOCAL_MACHINE, L"Empty", L"");
    StoreText(HKEY_LOCAL_MACHINE, L"Long", std::wstring(5000, L'x'));
    Store(HKEY_LOCAL_MACHINE, L"Binary", REG_BINARY, &number, sizeof number);
    EXPECT_EQ(Read(L"Number").Get().vt, VT_I4);
    EXPECT_EQ(Read(L"Number").Number(), 60);
    EXPECT_THAT(Read(L"Expand").Text(), testing::Not(HasSubstr(L"%")));
    EXPECT_EQ(Read(L"Empty").Text(), L"");
    EXPECT_EQ(Read(L"Long").Text().size(), 5000u);
    com::Variant value(L"poison");
    EXPECT_EQ(registry->Read(com::Bstr(L"Binary").Get(), com::Variant().Get(), value.Put()),
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(value.Get().vt, VT_EMPTY);
    try {
        Read(L"Binary");
        ADD_FAILURE() << "a value of another type was read";
    } catch (const base::Error& error) {
        EXPECT_THAT(error.failure().description, HasSubstr(L"Binary"));
    }
}

TEST_F(RegistryTest, TextsComeBackCharacterByCharacter) {
    // An enciphered password is any sequence of characters.
    const std::wstring text(L"a\0\xD800\xFFFF\0\0", 6);
    EXPECT_EQ(Write(L"Cipher", com::Variant(text)), S_OK);
    EXPECT_EQ(Read(L"Cipher").Text(), text);
    Store(HKEY_LOCAL_MACHINE, L"Unterminated", REG_SZ, L"abc", 6);
    EXPECT_EQ(Read(L"Unterminated").Text(), L"abc");
    Store(HKEY_LOCAL_MACHINE, L"Nothing", REG_SZ, L"", 0);
    EXPECT_EQ(Read(L"Nothing").Text(), L"");
}

TEST_F(RegistryTest, WritesForTheMachine) {
    EXPECT_EQ(Write(L"Text", com::Variant(L"Größe")), S_OK);
    EXPECT_EQ(Write(L"Number", com::Variant(5)), S_OK);
    EXPECT_TRUE(Holds(HKEY_LOCAL_MACHINE, L"Number", RRF_RT_REG_DWORD));
    EXPECT_TRUE(Holds(HKEY_LOCAL_MACHINE, L"Text", RRF_RT_REG_SZ));
    EXPECT_FALSE(Holds(HKEY_CURRENT_USER, L"Text", RRF_RT_ANY));
    EXPECT_EQ(Read(L"Text").Text(), L"Größe");
    EXPECT_EQ(Read(L"Number").Number(), 5);
    VARIANT large{};
    large.vt = VT_UI4;
    large.ulVal = 0xFFFFFFFE;
    EXPECT_EQ(Write(L"Number", com::Variant(large)), S_OK);
    EXPECT_EQ(Read(L"Number").Number(), -2) << "the same 32 bits";
}

/// Takes the right to write from everybody, until it ends.
class WriteProtection {
public:
    WriteProtection(HKEY hive, const wchar_t* path) {
        EXPECT_EQ(
            RegCreateKeyExW(hive, path, 0, nullptr, 0, READ_CONTROL | WRITE_DAC, nullptr, &m_key, nullptr),
            ERROR_SUCCESS);
        Allow(L"D:(A;;KR;;;WD)");
    }
    WriteProtection(const WriteProtection&) = delete;
    WriteProtection& operator=(const WriteProtection&) = delete;
    ~WriteProtection() {
        Allow(L"D:(A;;KA;;;WD)");
        RegCloseKey(m_key);
    }

private:
    void Allow(const wchar_t* rights) const {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor,
                                                                         nullptr));
        EXPECT_EQ(RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
        LocalFree(descriptor);
    }

    HKEY m_key = nullptr;
};

TEST_F(RegistryTest, WithoutTheRightToWriteTheValueIsTheUsers) {
    StoreText(HKEY_LOCAL_MACHINE, L"Text", L"machine");
    const WriteProtection protection(HKEY_LOCAL_MACHINE, kPath);
    EXPECT_EQ(Write(L"Text", com::Variant(L"user")), S_OK);
    EXPECT_TRUE(Holds(HKEY_CURRENT_USER, L"Text", RRF_RT_REG_SZ));
    EXPECT_EQ(Read(L"Text").Text(), L"user");
    RegDeleteTreeW(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(Read(L"Text").Text(), L"machine");
}

TEST_F(RegistryTest, ANewValueOfTheMachineReplacesAnOlderOneOfTheUser) {
    StoreText(HKEY_CURRENT_USER, L"Text", L"older");
    StoreText(HKEY_CURRENT_USER, L"Other", L"the user's");
    EXPECT_EQ(Write(L"Text", com::Variant(L"newer")), S_OK);
    EXPECT_EQ(Read(L"Text").Text(), L"newer");
    EXPECT_EQ(Read(L"Other").Text(), L"the user's");
}

TEST_F(RegistryTest, ProductsHaveKeysOfTheirOwn) {
    const std::wstring folder = L"D:\\bin";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znFramework", L"ZNBinDir", REG_SZ, folder.c_str(), 14);
    EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_FRAMEWORK, nullptr), S_OK);
    EXPECT_EQ(Read(L"ZNBinDir").Text(), folder);
    EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_MOBILE, nullptr), S_OK);
    EXPECT_EQ(Read(L"ZNBinDir").Text(), L"default");
}

TEST_F(RegistryTest, MisuseIsRefused) {
    EXPECT_EQ(registry->Open(kMachine, 99, com::Bstr(L"").Get()), E_INVALIDARG);
    EXPECT_EQ(registry->Open(1, ZN_PRODUCT_MOBILE, com::Bstr(L"").Get()), E_INVALIDARG);
    const auto closed = Create<ZNRegistry, IZNRegistry>();
    com::Variant value;
    EXPECT_EQ(closed->Read(com::Bstr(L"x").Get(), com::Variant().Get(), value.Put()), E_UNEXPECTED);
    EXPECT_EQ(closed->Write(com::Bstr(L"x").Get(), com::Variant().Get()), E_UNEXPECTED);
    EXPECT_EQ(Read(L"x").Text(), L"default") << "a refused Open leaves the key as it was";
}

}  // namespace
}  // namespace tests
