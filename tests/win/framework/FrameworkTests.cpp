// The reference framework's objects: the rules of COM, property set, branded texts, application context,
// categories and locale.
#include <array>

#include "tests/win/support/Dll.h"

namespace tests {
namespace {

TEST_F(FrameworkTest, EachObjectIsOneAndKeepsTheLibraryLoaded) {
    const std::pair<CLSID, IID> classes[] = {
        {__uuidof(ZNEventLog), __uuidof(IZNEventLog)},
        {__uuidof(ZNStartup), __uuidof(IZNStartup)},
        {__uuidof(ZNRegistry), __uuidof(IZNRegistry)},
        {__uuidof(ZNPropertySet), __uuidof(IZNPropertySet)},
        {__uuidof(ZNBrandingResources), __uuidof(IZNBrandingResources)},
        {__uuidof(ZNApplicationContext), __uuidof(IZNApplicationContext)},
        {__uuidof(ZNApplicationContext), __uuidof(IZNHostSettings)},
        {__uuidof(ZNLocale), __uuidof(IZNLocale)},
        {__uuidof(ZNCategory), __uuidof(IZNCategory)},
        {__uuidof(ZNMobileFolders), __uuidof(IZNMobileFolders)},
    };
    for (const auto& [clsid, contract] : classes) {
        {
            ComPtr<IUnknown> object;
            ASSERT_EQ(library.TryCreate(clsid, IID_PPV_ARGS(&object)), S_OK);
            EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
            ExpectOneIdentity(object.Get(), std::array{contract, IID_ISupportErrorInfo, IID_IUnknown});
        }
        EXPECT_EQ(library.CanUnloadNow(), S_OK) << "an object was leaked";
    }
}

TEST_F(FrameworkTest, AFailureEmptiesItsResultAndSaysWhy) {
    VARIANT value;
    const auto poisoned = [&value] {
        value.vt = VT_BSTR;
        value.bstrVal = Poison<BSTR>();
        return &value;
    };
    const auto expectFailure = [&](HRESULT result, HRESULT expected, const std::wstring& word) {
        EXPECT_EQ(result, expected);
        EXPECT_THAT(WhyFailed(result), HasSubstr(word));
        EXPECT_EQ(value.vt, VT_EMPTY);
    };
    const VARIANT none{};
    expectFailure(Create<ZNStartup, IZNStartup>()->Entry(999, none, poisoned()), E_INVALIDARG, L"999");
    expectFailure(Create<ZNRegistry, IZNRegistry>()->Read(nullptr, none, poisoned()), E_UNEXPECTED, L"Open");
    auto* text = Poison<BSTR>();
    expectFailure(Create<ZNBrandingResources, IZNBrandingResources>()->Text(Variant(4711).Get(), &text),
                  E_INVALIDARG, L"4711");
    EXPECT_EQ(text, nullptr);
    text = Poison<BSTR>();
    expectFailure(Create<ZNCategory, IZNCategory>()->CategoryId(136, &text), E_INVALIDARG, L"136");
    EXPECT_EQ(text, nullptr);
}

TEST_F(FrameworkTest, PropertySetKeepsNamesExactlyAndInOrder) {
    const auto set = Create<ZNPropertySet, IZNPropertySet>();
    const auto expectAll = [&](const std::vector<std::wstring>& names,
                               const std::vector<std::wstring>& values) {
        Variant allNames;
        Variant allValues;
        ASSERT_EQ(set->GetAllProperties(allNames.Put(), allValues.Put()), S_OK);
        EXPECT_EQ(Texts(allNames), names);
        EXPECT_EQ(Texts(allValues), values);
    };
    expectAll({}, {});
    set->SetProperty(In(L"Server"), Variant(L"first").Get());
    set->SetProperty(In(L"server"), Variant(7).Get());
    set->SetProperty(In(L"Server"), Variant(L"second").Get());
    expectAll({L"Server", L"server"}, {L"second", L"7"});
    const auto get = [&](const wchar_t* name) {
        return Ask<Variant>(&IZNPropertySet::GetProperty, set, name);
    };
    EXPECT_EQ(get(L"Server").Text(), L"second");
    EXPECT_EQ(get(L"server").Number(), 7);
    EXPECT_TRUE(get(L"SERVER").IsEmpty());
    const auto list = Variant::Array(std::vector<std::wstring>{L"a", L"b"});
    EXPECT_EQ(set->SetProperty(In(L"List"), list.Get()), S_OK);
    EXPECT_THAT(Texts(get(L"List")), ElementsAre(L"a", L"b"));
    // By reference, as Visual Basic passes its variables: the set keeps the value, not the variable.
    LONG number = 1;
    VARIANT variable{};
    variable.vt = VT_I4 | VT_BYREF;
    variable.plVal = &number;
    EXPECT_EQ(set->SetProperty(In(L"List"), variable), S_OK);
    number = 2;
    EXPECT_EQ(get(L"List").Number(), 1);
}

TEST_F(FrameworkTest, TextsByNumber) {
    const auto startup = Create<ZNStartup, IZNStartup>();
    const auto resources = Create<ZNBrandingResources, IZNBrandingResources>();
    const auto entry = [&](LONG number) {
        return Ask<Variant>(&IZNStartup::Entry, startup, number, Variant().Get());
    };
    const auto text = [&](const Variant& id) {
        return Ask<std::wstring>(&IZNBrandingResources::Text, resources, id.Get());
    };
    EXPECT_EQ(text(entry(145)), L"Packet Transporter");
    EXPECT_EQ(text(entry(120)), L"Folder copy") << "text is handed back as it is";
    EXPECT_EQ(text(Variant(L"145")), L"145") << "digits are text as well";
    VARIANT number{};
    number.vt = VT_R8;
    number.dblVal = 145;
    EXPECT_EQ(text(Variant(number)), L"Packet Transporter");
    for (const LONG id : {110, 140})
        EXPECT_EQ(entry(id).Get().vt, VT_BSTR);
    for (const LONG id :
         {101, 102, 110, 120, 130, 131, 132, 133, 134, 135, 136, 138, 139, 140, 141,   143,   144,
          145, 150, 151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 162, 163, 12007, 12014, 12029})
        EXPECT_NE(text(Variant(id)), L"") << id;
    for (const LONG id : {0, 1, 11999, 70000, -1})
        EXPECT_EQ(FailureOf([&] { text(Variant(id)); }).number, E_INVALIDARG) << id;
}

TEST_F(FrameworkTest, TheHostSaysWhetherWindowsAreAllowed) {
    const auto settings = Create<ZNApplicationContext, IZNHostSettings>();
    for (const bool allowed : {false, true, false}) {
        const auto context = Create<ZNApplicationContext, IZNApplicationContext>();
        settings->put_UserInterface(allowed ? VARIANT_TRUE : VARIANT_FALSE);
        EXPECT_EQ(Ask<bool>(&IZNApplicationContext::get_UserInterface, context), allowed);
    }
}

TEST_F(FrameworkTest, CategoriesAndLocale) {
    const auto category = Create<ZNCategory, IZNCategory>();
    GUID ids[2]{};
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(
            CLSIDFromString(Ask<std::wstring>(&IZNCategory::CategoryId, category, 134L + i).c_str(), &ids[i]),
            S_OK);
    EXPECT_FALSE(ids[0] == ids[1]);
    EXPECT_FALSE(Ask<bool>(&IZNLocale::get_RightToLeftReading, Create<ZNLocale, IZNLocale>()))
        << "the tests run in English";
}

}  // namespace
}  // namespace tests
