// Property set, branded texts, application context, categories and locale of the reference framework.
#include "tests/win/framework/FrameworkTest.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

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
    ASSERT_EQ(values.Get().vt, VT_ARRAY | VT_VARIANT);
    for (const SAFEARRAY* array : {names.Get().parray, values.Get().parray}) {
        ASSERT_EQ(array->cDims, 1);
        ASSERT_EQ(array->rgsabound[0].cElements, 2u);
        EXPECT_EQ(array->rgsabound[0].lLbound, 0);
    }
    EXPECT_STREQ(static_cast<VARIANT*>(names.Get().parray->pvData)[1].bstrVal, L"server");
    EXPECT_STREQ(static_cast<VARIANT*>(values.Get().parray->pvData)[0].bstrVal, L"second");
}

TEST_F(FrameworkTest, PropertySetHoldsAnyValueAndMayBeEmpty) {
    const auto set = Create<ZNPropertySet, IZNPropertySet>();
    com::Variant names;
    com::Variant values;
    ASSERT_EQ(set->GetAllProperties(names.Put(), values.Put()), S_OK);
    ASSERT_EQ(names.Get().vt, VT_ARRAY | VT_VARIANT);
    EXPECT_EQ(names.Get().parray->rgsabound[0].cElements, 0u);
    const com::Bstr name(L"List");
    const auto list = com::Variant::Array(std::vector<std::wstring>{L"a", L"b"});
    EXPECT_EQ(set->SetProperty(name.Get(), list.Get()), S_OK);
    const auto copy = com::Get<com::Variant>(&IZNPropertySet::GetProperty, set.Get(), name.Get());
    ASSERT_EQ(copy.Get().vt, VT_ARRAY | VT_VARIANT);
    EXPECT_STREQ(static_cast<VARIANT*>(copy.Get().parray->pvData)[1].bstrVal, L"b");
    // By reference, as Visual Basic passes its variables: the set keeps the value, not the variable.
    LONG number = 1;
    VARIANT variable{};
    variable.vt = VT_I4 | VT_BYREF;
    variable.plVal = &number;
    EXPECT_EQ(set->SetProperty(name.Get(), variable), S_OK);
    number = 2;
    EXPECT_EQ(com::Get<com::Variant>(&IZNPropertySet::GetProperty, set.Get(), name.Get()).Number(), 1);
}

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
    EXPECT_EQ(text(com::Variant(L"145")), L"145") << "digits are text as well";
    VARIANT number{};
    number.vt = VT_R8;
    number.dblVal = 145;
    EXPECT_EQ(text(com::Variant(number)), L"Packet Transporter");
    EXPECT_EQ(entry(110).Get().vt, VT_BSTR);
    EXPECT_EQ(entry(140).Get().vt, VT_BSTR);
    for (const LONG id :
         {101, 102, 110, 120, 130, 131, 132, 133, 134, 135, 136, 138, 139, 140, 141,   143,   144,
          145, 150, 151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 162, 163, 12007, 12014, 12029})
        EXPECT_NE(text(com::Variant(id)), L"") << id;
    com::Bstr none;
    for (const LONG id : {0, 1, 11999, 70000, -1})
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
