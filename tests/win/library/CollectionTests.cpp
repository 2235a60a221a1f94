// The parser's public class, and its collections as scripts see them.
#include "tests/win/support/Library.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

class CmdLine : public LibraryTest {
protected:
    CmdLine() : parser(Create<clsCmdLine, _clsCmdLine>()) {
        EXPECT_EQ(parser->get_Options(&options), S_OK);
        EXPECT_EQ(parser->get_Parameters(&parameters), S_OK);
        own = Keys();
    }

    std::wstring Keys() {
        com::Variant keys;
        EXPECT_EQ(options->Keys(keys.Put()), S_OK);
        std::wstring text;
        LONG last = -1;
        SafeArrayGetUBound(keys.Get().parray, 1, &last);
        for (LONG i = 0; i <= last; ++i) {
            com::Variant key;
            SafeArrayGetElement(keys.Get().parray, &i, key.Put());
            text += key.Text() + L";";
        }
        return text;
    }

    ComPtr<_clsCmdLine> parser;
    ComPtr<_Dictionary> options;
    ComPtr<_Collection> parameters;
    std::wstring own;  ///< options of this test program's own command line
};

TEST_F(CmdLine, ParsesAccumulate) {
    parser->Parse(com::Bstr(L"/a=1 /b=2 one").Get());
    parser->Parse(com::Bstr(L"/a=3 two").Get());
    EXPECT_EQ(Keys(), own + L"b;a;") << "an option that is set again moves to the end";
    EXPECT_EQ(com::Get<std::wstring>(&_Dictionary::get_Item, options.Get(), com::Bstr(L"a").Get()), L"3");
    const LONG count = com::Get<LONG>(&_Collection::get_Count, parameters.Get());
    EXPECT_EQ(com::Get<com::Variant>(&_Collection::get_Item, parameters.Get(), count).Text(), L"two");
    EXPECT_EQ(com::Get<com::Variant>(&_Collection::get_Item, parameters.Get(), count - 1).Text(), L"one");
    EXPECT_EQ(com::Get<std::wstring>(&_clsCmdLine::get_InvalidMsg, parser.Get()), L"");
}

TEST_F(CmdLine, MissingItemsAreErrors) {
    com::Variant value;
    for (const LONG index : {0L, -1L, 1000L})
        EXPECT_EQ(parameters->get_Item(index, value.Put()), DISP_E_BADINDEX);
    com::Bstr text;
    EXPECT_EQ(options->get_Item(com::Bstr(L"missing").Get(), text.Put()), E_INVALIDARG);
    EXPECT_EQ(text.Get(), nullptr);
    EXPECT_FALSE(com::Get<bool>(&_Dictionary::Exists, options.Get(), com::Bstr(L"missing").Get()));
    EXPECT_EQ(parameters->get_Count(nullptr), E_POINTER);
    EXPECT_EQ(options->Keys(nullptr), E_POINTER);
}

TEST_F(CmdLine, EnumeratorsKeepTheirSnapshot) {
    const auto ownOptions = static_cast<ULONG>(com::Get<LONG>(&_Dictionary::get_Count, options.Get()));
    parser->Parse(com::Bstr(L"/a=1 /b=2 /c=3").Get());
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(options->get__NewEnum(&unknown), S_OK);
    ComPtr<IEnumVARIANT> all;
    ASSERT_EQ(unknown.As(&all), S_OK);
    parser->Parse(com::Bstr(L"/d=4").Get());

    EXPECT_EQ(all->Skip(ownOptions), S_OK);
    VARIANT values[4];
    ULONG fetched = 0;
    EXPECT_EQ(all->Next(4, values, nullptr), E_POINTER);
    EXPECT_EQ(all->Next(2, values, &fetched), S_OK);
    EXPECT_EQ(fetched, 2u);
    ComPtr<IEnumVARIANT> rest;
    EXPECT_EQ(all->Clone(&rest), S_OK);
    EXPECT_EQ(all->Skip(2), S_FALSE);
    EXPECT_EQ(rest->Next(4, values + 2, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1u);
    std::wstring names;
    for (int i = 0; i < 3; ++i) {
        names += values[i].bstrVal;
        VariantClear(&values[i]);
    }
    EXPECT_EQ(names, L"abc");
    all->Reset();
    EXPECT_EQ(all->Skip(ownOptions + 3), S_OK);
}

}  // namespace
}  // namespace tests
