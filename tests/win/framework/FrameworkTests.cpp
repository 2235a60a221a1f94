// The reference framework, through its DLL: settings, registry, log, texts and folders.
#include <gmock/gmock.h>

#include <thread>

#include "tests/win/support/Dll.h"
#include "tests/win/support/TempFolder.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class FrameworkTest : public testing::Test {
protected:
    template <class Class, class Interface>
    ComPtr<Interface> Create() const {
        return library.Create<Class, Interface>();
    }

    Library library{L"znFramework.dll"};
    ComApartment apartment;
};

// --- Property set -----------------------------------------------------------------------------------

TEST_F(FrameworkTest, PropertySetKeepsNamesExactlyAndInOrder) {
    const auto set = Create<ZNPropertySet, IZNPropertySet>();
    const auto put = [&](const wchar_t* name, const com::Variant& value) {
        EXPECT_EQ(set->SetProperty(com::Bstr(name).Get(), value.Get()), S_OK);
    };
    put(L"Server", com::Variant(L"first"));
    put(L"server", com::Variant(7));
    put(L"Server", com::Variant(L"second"));
    const auto get = [&](const wchar_t* name) {
        return com::Get<com::Variant>(&IZNPropertySet::GetProperty, set.Get(), com::Bstr(name).Get());
    };
    EXPECT_EQ(get(L"Server").Text(), L"second");
    EXPECT_EQ(get(L"server").Number(), 7);
    EXPECT_TRUE(get(L"SERVER").IsEmpty());
    com::Variant names;
    com::Variant values;
    ASSERT_EQ(set->GetAllProperties(names.Put(), values.Put()), S_OK);
    ASSERT_EQ(names.Get().vt, VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(names.Get().parray->rgsabound[0].cElements, 2u);
    EXPECT_STREQ(static_cast<VARIANT*>(names.Get().parray->pvData)[1].bstrVal, L"server");
    EXPECT_STREQ(static_cast<VARIANT*>(values.Get().parray->pvData)[0].bstrVal, L"second");
    EXPECT_EQ(set->GetAllProperties(nullptr, values.Put()), E_POINTER);
    EXPECT_EQ(set->GetProperty(com::Bstr(L"x").Get(), nullptr), E_POINTER);
}

// --- Registry ---------------------------------------------------------------------------------------

/// A registry object on a key of its own, which is removed from both hives afterwards.
class RegistryTest : public FrameworkTest {
protected:
    RegistryTest() : registry(Create<ZNRegistry, IZNRegistry>()) {
        Clear();
        EXPECT_EQ(registry->Open(kMachine, ZN_PRODUCT_MOBILE, com::Bstr(L"Tests").Get()), S_OK);
    }
    ~RegistryTest() override { Clear(); }

    static void Clear() {
        for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
            RegDeleteTreeW(hive, kPath);
    }
    static void Store(HKEY hive, const wchar_t* name, DWORD type, const void* data, DWORD size) {
        EXPECT_EQ(RegSetKeyValueW(hive, kPath, name, type, data, size), ERROR_SUCCESS);
    }
    static void StoreText(HKEY hive, const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) {
        Store(hive, name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    com::Variant Read(const wchar_t* name) {
        return com::Get<com::Variant>(&IZNRegistry::Read, registry.Get(), com::Bstr(name).Get(),
                                      com::Variant(L"default").Get());
    }

    static constexpr LONG kMachine = static_cast<LONG>(0x80000002);
    static constexpr const wchar_t* kPath = L"Software\\znMobile\\Tests";
    ComPtr<IZNRegistry> registry;
};

TEST_F(RegistryTest, TheUsersValueWinsOverTheMachines) {
    EXPECT_EQ(Read(L"Name").Text(), L"default") << "neither key nor value is there";
    StoreText(HKEY_LOCAL_MACHINE, L"Name", L"machine");
    EXPECT_EQ(Read(L"Name").Text(), L"machine");
    StoreText(HKEY_CURRENT_USER, L"Name", L"user");
    EXPECT_EQ(Read(L"name").Text(), L"user");
    EXPECT_EQ(Read(L"Other").Text(), L"default");
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
}

TEST_F(RegistryTest, WritesForTheMachine) {
    EXPECT_EQ(registry->Write(com::Bstr(L"Text").Get(), com::Variant(L"Größe").Get()), S_OK);
    EXPECT_EQ(registry->Write(com::Bstr(L"Number").Get(), com::Variant(5).Get()), S_OK);
    DWORD type = 0;
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kPath, L"Number", RRF_RT_REG_DWORD, &type, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(Read(L"Text").Text(), L"Größe");
    EXPECT_EQ(Read(L"Number").Number(), 5);
}

TEST_F(RegistryTest, MisuseIsRefused) {
    EXPECT_EQ(registry->Open(kMachine, 99, com::Bstr(L"").Get()), E_INVALIDARG);
    EXPECT_EQ(registry->Open(1, ZN_PRODUCT_MOBILE, com::Bstr(L"").Get()), E_INVALIDARG);
    const auto closed = Create<ZNRegistry, IZNRegistry>();
    com::Variant value;
    EXPECT_EQ(closed->Read(com::Bstr(L"x").Get(), com::Variant().Get(), value.Put()), E_UNEXPECTED);
    EXPECT_EQ(closed->Write(com::Bstr(L"x").Get(), com::Variant().Get()), E_UNEXPECTED);
    EXPECT_EQ(registry->Read(com::Bstr(L"x").Get(), com::Variant().Get(), nullptr), E_POINTER);
}

TEST_F(RegistryTest, FoldersComeFromTheRegistry) {
    constexpr const wchar_t* kTransport = L"Software\\znMobile\\Transport";
    const std::wstring outgoing = L"D:\\out";
    RegSetKeyValueW(HKEY_CURRENT_USER, kTransport, L"EnterpriseOutgoing", REG_SZ, outgoing.c_str(), 14);
    const auto folders = Create<ZNMobileFolders, IZNMobileFolders>();
    EXPECT_EQ(folders->put_ApplicationName(com::Bstr(L"App").Get()), S_OK);
    const auto path = [&](VARIANT_BOOL enterprise, const wchar_t* kind) {
        return com::Get<std::wstring>(&IZNMobileFolders::FolderPath, folders.Get(), enterprise,
                                      com::Bstr(kind).Get());
    };
    EXPECT_EQ(path(VARIANT_TRUE, L"outgoing"), outgoing);
    EXPECT_EQ(path(VARIANT_FALSE, L"Outgoing"), L"");
    EXPECT_EQ(path(VARIANT_TRUE, L"unknown"), L"");
    EXPECT_EQ(path(VARIANT_FALSE, L"FTPFieldToEnterprise"), L"FieldToEnterprise");
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kTransport, L"EnterpriseOutgoing");
}

// --- Event log --------------------------------------------------------------------------------------

class LogTest : public FrameworkTest {
protected:
    LogTest() : context(Create<ZNApplicationContext, IZNHostSettings>()) {}
    ~LogTest() override { context->put_LogFile(com::Bstr(L"").Get()); }

    TempFolder temp;
    ComPtr<IZNHostSettings> context;
};

TEST_F(LogTest, EntriesAreReadableText) {
    context->put_LogFile(com::Bstr(temp / L"log.txt").Get());
    const auto log = Create<ZNEventLog, IZNEventLog>();
    EXPECT_EQ(log->Write(com::Bstr(L"Tool:\r\nGröße").Get(), ZN_EVENTLOG_ERROR_TYPE), S_OK);
    EXPECT_EQ(log->Write(com::Bstr(L"second").Get(), ZN_EVENTLOG_WARNING_TYPE), S_OK);
    EXPECT_EQ(log->Write(com::Bstr(L"third").Get(), ZN_EVENTLOG_INFORMATION_TYPE), S_OK);
    const std::string content = temp.Content(L"log.txt");
    EXPECT_THAT(content, HasSubstr(" ERROR\r\nTool:\r\nGröße\r\n\r\n"));
    EXPECT_THAT(content, HasSubstr(" WARNING\r\nsecond\r\n\r\n"));
    EXPECT_THAT(content, HasSubstr(" INFORMATION\r\nthird\r\n\r\n"));
    EXPECT_THAT(content, StartsWith("20"));
}

TEST_F(LogTest, ThreadsDoNotMixTheirEntries) {
    context->put_LogFile(com::Bstr(temp / L"log.txt").Get());
    const std::wstring text(3000, L'x');
    const auto writeMany = [&] {
        const ComApartment own;
        const auto log = Create<ZNEventLog, IZNEventLog>();
        for (int i = 0; i < 50; ++i)
            log->Write(com::Bstr(text).Get(), ZN_EVENTLOG_ERROR_TYPE);
    };
    std::thread other(writeMany);
    writeMany();
    other.join();
    const std::string content = temp.Content(L"log.txt");
    size_t entries = 0;
    const std::string entry = " ERROR\r\n" + std::string(3000, 'x') + "\r\n\r\n";
    for (size_t at = content.find(entry); at != std::string::npos; at = content.find(entry, at + 1))
        ++entries;
    EXPECT_EQ(entries, 100u);
}

TEST_F(LogTest, AnUnwritableFileIsNoFailureWhileWindowsTakesTheEntry) {
    context->put_LogFile(com::Bstr(temp / L"missing\\log.txt").Get());
    EXPECT_EQ((Create<ZNEventLog, IZNEventLog>())->Write(com::Bstr(L"text").Get(), ZN_EVENTLOG_ERROR_TYPE),
              S_OK);
}

// --- Texts, context, categories ---------------------------------------------------------------------

TEST_F(FrameworkTest, TextsByNumber) {
    const auto startup = Create<ZNStartup, IZNStartup>();
    const auto resources = Create<ZNBrandingResources, IZNBrandingResources>();
    const auto entry = [&](LONG number) {
        return com::Get<com::Variant>(&IZNStartup::Entry, startup.Get(), number, com::Variant().Get());
    };
    const auto text = [&](const com::Variant& id) {
        return com::Get<std::wstring>(&IZNBrandingResources::Text, resources.Get(), id.Get());
    };
    EXPECT_EQ(text(entry(145)), L"Packet Transporter");
    EXPECT_EQ(text(entry(120)), L"Folder copy") << "text is handed back as it is";
    for (const LONG id : {101, 102, 110, 120, 130, 131, 132, 133, 134, 135, 136, 138, 139, 140, 141, 143,
                          144, 145, 150, 151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 162, 163})
        EXPECT_NE(text(com::Variant(id)), L"") << id;
    com::Bstr none;
    for (const LONG id : {0, 1, 12029, 70000, -1})
        EXPECT_EQ(resources->Text(com::Variant(id).Get(), none.Put()), E_INVALIDARG) << id;
    com::Variant value;
    EXPECT_EQ(startup->Entry(999, com::Variant().Get(), value.Put()), E_INVALIDARG);
}

TEST_F(FrameworkTest, TheHostSaysWhetherWindowsAreAllowed) {
    const auto settings = Create<ZNApplicationContext, IZNHostSettings>();
    const auto allowed = [&] {
        const auto context = Create<ZNApplicationContext, IZNApplicationContext>();
        return com::Get<bool>(&IZNApplicationContext::get_UserInterface, context.Get());
    };
    EXPECT_FALSE(allowed());
    settings->put_UserInterface(VARIANT_TRUE);
    EXPECT_TRUE(allowed());
    settings->put_UserInterface(VARIANT_FALSE);
    EXPECT_FALSE(allowed());
}

TEST_F(FrameworkTest, CategoriesAndLocale) {
    const auto category = Create<ZNCategory, IZNCategory>();
    const auto identifier = [&](LONG code) {
        return com::Get<std::wstring>(&IZNCategory::CategoryId, category.Get(), code);
    };
    GUID id;
    EXPECT_EQ(CLSIDFromString(identifier(ZN_CATEGORY_ENCODER).c_str(), &id), S_OK);
    EXPECT_NE(identifier(ZN_CATEGORY_ENCODER), identifier(ZN_CATEGORY_SENDER_RECEIVER));
    com::Bstr none;
    EXPECT_EQ(category->CategoryId(1, none.Put()), E_INVALIDARG);
    EXPECT_FALSE(com::Get<bool>(&IZNLocale::get_RightToLeftReading, Create<ZNLocale, IZNLocale>().Get()))
        << "the tests run in English";
}

}  // namespace
}  // namespace tests
