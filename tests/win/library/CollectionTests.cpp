// The parser's public class, and its collections as scripts see them.
#include "tests/win/support/Library.h"

namespace tests {
namespace {

class CmdLine : public LibraryTest {
protected:
    CmdLine() : parser(Create<clsCmdLine, _clsCmdLine>()) {
        EXPECT_EQ(parser->get_Options(&options), S_OK);
        EXPECT_EQ(parser->get_Parameters(&parameters), S_OK);
        own = Last(&_Dictionary::Keys, 100).size();
    }

    /// The last texts of all names or values.
    std::vector<std::wstring> Last(HRESULT (STDMETHODCALLTYPE _Dictionary::*member)(VARIANT*), size_t count) {
        auto texts = Texts(Ask<Variant>(member, options));
        texts.erase(texts.begin(), texts.end() - static_cast<std::ptrdiff_t>(std::min(count, texts.size())));
        return texts;
    }

    ComPtr<_clsCmdLine> parser;
    ComPtr<_Dictionary> options;
    ComPtr<_Collection> parameters;
    size_t own;  ///< options of this test program's own command line
};

TEST_F(CmdLine, ParsesAccumulate) {
    parser->Parse(In(L"/a=1 /b=2 one"));
    parser->Parse(In(L"/a=3 two"));
    EXPECT_THAT(Last(&_Dictionary::Keys, 2), ElementsAre(L"b", L"a")) << "what is set again moves to the end";
    EXPECT_THAT(Last(&_Dictionary::Items, 2), ElementsAre(L"2", L"3"));
    EXPECT_EQ(Ask<LONG>(&_Dictionary::get_Count, options), static_cast<LONG>(own + 2));
    const LONG count = Ask<LONG>(&_Collection::get_Count, parameters);
    EXPECT_EQ(Ask<Variant>(&_Collection::get_Item, parameters, count).Text(), L"two");
}

TEST_F(CmdLine, MissingItemsAreErrors) {
    Variant value;
    for (const LONG index : {0L, -1L, 1000L})
        EXPECT_EQ(parameters->get_Item(index, value.Put()), DISP_E_BADINDEX);
    auto* text = Poison<BSTR>();
    EXPECT_EQ(options->get_Item(In(L"missing"), &text), E_INVALIDARG);
    EXPECT_EQ(text, nullptr);
    EXPECT_FALSE(Ask<bool>(&_Dictionary::Exists, options, L"missing"));
    EXPECT_EQ(parameters->get_Count(nullptr), E_POINTER);
    EXPECT_EQ(options->Keys(nullptr), E_POINTER);
}

TEST_F(CmdLine, EnumeratorsKeepTheirSnapshot) {
    parser->Parse(In(L"/a=1 /b=2 /c=3"));
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(options->get__NewEnum(&unknown), S_OK);
    ComPtr<IEnumVARIANT> all;
    ASSERT_EQ(unknown.As(&all), S_OK);
    parser->Parse(In(L"/d=4"));

    EXPECT_EQ(all->Skip(static_cast<ULONG>(own)), S_OK);
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
    for (VARIANT& value : std::span(values, 3)) {
        names += value.bstrVal;
        VariantClear(&value);
    }
    EXPECT_EQ(names, L"abc");
    all->Reset();
    EXPECT_EQ(all->Skip(static_cast<ULONG>(own + 3)), S_OK);
}

}  // namespace
}  // namespace tests
