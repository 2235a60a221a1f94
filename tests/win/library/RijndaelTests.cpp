// The cipher's class: every shape in which hosts pass bytes, in-place changes, errors.
#include <algorithm>

#include "cipher/TextBytes.h"
#include "tests/win/support/Library.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using Bytes = std::vector<int>;

/// An array of numbers as a host declares it.
com::Variant ArrayOf(VARTYPE type, const Bytes& numbers, LONG lowerBound = 0) {
    SAFEARRAYBOUND bound{static_cast<ULONG>(numbers.size()), lowerBound};
    com::Variant array;
    VARIANT* raw = array.Put();
    raw->vt = static_cast<VARTYPE>(VT_ARRAY | type);
    raw->parray = SafeArrayCreate(type, 1, &bound);
    for (const int number : numbers) {
        VARIANT value = com::Variant(LONG{number}).Release();
        if (type != VT_VARIANT) VariantChangeType(&value, &value, 0, type);
        SafeArrayPutElement(raw->parray, &lowerBound,
                            type == VT_VARIANT ? &value : static_cast<void*>(&value.bVal));
        ++lowerBound;
    }
    return array;
}

com::Variant ByteArrayOf(const Bytes& numbers) { return ArrayOf(VT_UI1, numbers); }

/// The elements of a one-dimensional array of any type.
Bytes Elements(const VARIANT& value) {
    SAFEARRAY* array = value.vt & VT_BYREF ? *value.pparray : value.parray;
    VARTYPE type = VT_EMPTY;
    SafeArrayGetVartype(array, &type);
    LONG index = 0;
    LONG last = -1;
    SafeArrayGetLBound(array, 1, &index);
    SafeArrayGetUBound(array, 1, &last);
    Bytes numbers;
    for (; index <= last; ++index) {
        com::Variant element;
        VARIANT* raw = element.Put();
        SafeArrayGetElement(array, &index, type == VT_VARIANT ? raw : static_cast<void*>(&raw->bVal));
        if (type != VT_VARIANT) raw->vt = type;
        numbers.push_back(element.Number());
    }
    return numbers;
}

std::wstring TextOf(const com::Variant& bytes) {
    const Bytes numbers = Elements(bytes.Get());
    return ::TextOf(std::vector<std::uint8_t>(numbers.begin(), numbers.end()));
}

VARIANT ByReference(VARIANT& value) {
    VARIANT reference;
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &value;
    return reference;
}

/// As a host passes a typed array variable.
VARIANT ByReference(SAFEARRAY*& array, VARTYPE type) {
    VARIANT reference;
    reference.vt = static_cast<VARTYPE>(VT_BYREF | VT_ARRAY | type);
    reference.pparray = &array;
    return reference;
}

bool IsBare(const com::Variant& value) {
    return value.Get().vt == (VT_ARRAY | VT_UI1) && value.Get().parray == nullptr;
}

const Bytes kMessage = {1, 2, 254, 255};
const com::Variant kText(L"a message");

class RijndaelClass : public LibraryTest {
protected:
    ComPtr<_clsRijndael> cipher = Create<clsRijndael, _clsRijndael>();
    const com::Variant password = ByteArrayOf({7, 8, 9});

    com::Variant Enciphered(const VARIANT& message, bool hex = false) {
        com::Variant result;
        EXPECT_EQ(
            cipher->EncryptData(message, password.Get(), hex ? VARIANT_TRUE : VARIANT_FALSE, result.Put()),
            S_OK);
        return result;
    }
    com::Variant Deciphered(VARIANT* data, bool hex = false) {
        com::Variant result;
        EXPECT_EQ(cipher->DecryptData(data, password.Get(), hex ? VARIANT_TRUE : VARIANT_FALSE, result.Put()),
                  S_OK);
        return result;
    }
    HRESULT TryEncipher(const com::Variant& message, const com::Variant& with) {
        com::Variant result;
        return cipher->EncryptData(message.Get(), with.Get(), VARIANT_FALSE, result.Put());
    }
};

TEST_F(RijndaelClass, TakesBytesInEachShape) {
    const Bytes expected = Elements(Enciphered(ByteArrayOf(kMessage).Get()).Get());
    ASSERT_EQ(expected.size(), 32u);
    for (const VARTYPE type : {VT_UI1, VT_I2, VT_I4, VT_VARIANT}) {
        com::Variant array = ArrayOf(type, kMessage, type == VT_I4 ? 5 : 0);
        EXPECT_EQ(Elements(Enciphered(array.Get()).Get()), expected) << type;
        VARIANT inner = array.Release();
        EXPECT_EQ(Elements(Enciphered(ByReference(inner)).Get()), expected) << type;
        EXPECT_EQ(Elements(Enciphered(ByReference(inner.parray, type)).Get()), expected) << type;
        VariantClear(&inner);
    }
    EXPECT_EQ(Elements(Enciphered(com::Variant(L"\x0201\xFFFE").Get()).Get()), expected);
}

TEST_F(RijndaelClass, HexadecimalTextIsReadBackAndReplaced) {
    com::Variant data(TextOf(Enciphered(kText.Get(), true)));
    ASSERT_EQ(data.Text().size(), 64u);
    const Bytes bytes = Elements(Enciphered(kText.Get()).Get());
    VARIANT raw = data.Release();
    VARIANT reference = ByReference(raw);
    EXPECT_EQ(TextOf(Deciphered(&reference, true)), L"a message");
    EXPECT_EQ(raw.vt, VT_ARRAY | VT_UI1);
    EXPECT_EQ(Elements(raw), bytes);
    EXPECT_EQ(TextOf(Deciphered(&raw)), L"a message") << "now that it is bytes";
    VariantClear(&raw);
}

TEST_F(RijndaelClass, ATypedArrayVariableIsReplacedByItsOwnType) {
    for (const VARTYPE type : {VT_UI1, VT_VARIANT}) {
        VARIANT raw = ArrayOf(type, Elements(Enciphered(kText.Get(), true).Get())).Release();
        VARIANT reference = ByReference(raw.parray, type);
        EXPECT_EQ(TextOf(Deciphered(&reference, true)), L"a message");
        EXPECT_EQ(Elements(raw), Elements(Enciphered(kText.Get()).Get())) << type;
        raw.parray->fFeatures |= FADF_FIXEDSIZE;
        com::Variant result;
        EXPECT_EQ(cipher->DecryptData(&reference, password.Get(), VARIANT_TRUE, result.Put()),
                  DISP_E_ARRAYISLOCKED);
        raw.parray->fFeatures &= static_cast<USHORT>(~FADF_FIXEDSIZE);
        VariantClear(&raw);
    }
}

TEST_F(RijndaelClass, BlocksChangeInPlace) {
    ASSERT_EQ(cipher->gentables(), S_OK);
    ASSERT_EQ(cipher->gkey(8, 8, ByteArrayOf(Bytes(32)).Get()), S_OK);
    Bytes plain(34);
    plain[33] = 77;
    for (const VARTYPE type : {VT_UI1, VT_I2, VT_VARIANT}) {
        VARIANT raw = ArrayOf(type, plain, 1).Release();
        VARIANT reference = ByReference(raw.parray, type);
        const SAFEARRAY* const before = raw.parray;
        EXPECT_EQ(cipher->Encrypt(&reference), S_OK);
        const Bytes enciphered = Elements(raw);
        EXPECT_EQ(enciphered[0], 0xC6);
        EXPECT_EQ(enciphered[31], 0xF3);
        EXPECT_EQ(enciphered[33], 77) << "what follows the block stays";
        EXPECT_EQ(cipher->Decrypt(&raw), S_OK);
        EXPECT_EQ(Elements(raw), plain);
        EXPECT_EQ(raw.parray, before);
        VariantClear(&raw);
    }
    com::Variant text(std::wstring(16, L'x'));
    VARIANT raw = text.Release();
    EXPECT_EQ(cipher->Encrypt(&raw), S_OK);
    EXPECT_EQ(cipher->Decrypt(&raw), S_OK);
    EXPECT_EQ(raw.vt, VT_ARRAY | VT_UI1);
    VariantClear(&raw);
}

TEST_F(RijndaelClass, WithoutDimensionsThereIsNothing) {
    com::Variant bare;
    bare.Put()->vt = VT_ARRAY | VT_UI1;
    EXPECT_TRUE(IsBare(Enciphered(bare.Get())));
    EXPECT_TRUE(IsBare(Enciphered(com::Variant().Get())));
    VARIANT raw = bare.Release();
    EXPECT_TRUE(IsBare(Deciphered(&raw)));
    raw = ByteArrayOf(Bytes(33)).Release();
    EXPECT_TRUE(IsBare(Deciphered(&raw)));
    VariantClear(&raw);
    com::Variant result;
    EXPECT_EQ(cipher->EncryptData(kText.Get(), com::Variant().Get(), VARIANT_TRUE, result.Put()), S_OK);
    EXPECT_TRUE(IsBare(result));
}

TEST_F(RijndaelClass, ThePasswordWithoutElementsIsTheDefault) {
    com::Variant byDefault;
    com::Variant byName;
    ASSERT_EQ(cipher->put_Key(com::Bstr(L"another").Get()), S_OK);
    ASSERT_EQ(cipher->EncryptData(kText.Get(), ByteArrayOf({}).Get(), VARIANT_TRUE, byDefault.Put()), S_OK);
    ASSERT_EQ(cipher->EncryptData(kText.Get(), com::Variant(L"another").Get(), VARIANT_TRUE, byName.Put()),
              S_OK);
    EXPECT_EQ(TextOf(byDefault), TextOf(byName));
    ASSERT_EQ(cipher->EncryptData(kText.Get(), com::Variant(L"").Get(), VARIANT_TRUE, byDefault.Put()), S_OK);
    EXPECT_EQ(TextOf(byDefault), TextOf(byName));
}

TEST_F(RijndaelClass, ErrorsReachTheCaller) {
    const auto message = [] {
        ComPtr<IErrorInfo> info;
        com::Bstr text;
        if (GetErrorInfo(0, &info) == S_OK) info->GetDescription(text.Put());
        return text.Text();
    };
    VARIANT block = ByteArrayOf(Bytes(31)).Release();
    EXPECT_EQ(cipher->Encrypt(&block), E_UNEXPECTED);
    EXPECT_EQ(message(), L"No key is set: call gkey first.");
    EXPECT_EQ(cipher->gkey(5, 8, ByteArrayOf(Bytes(32)).Get()), E_INVALIDARG);
    EXPECT_EQ(message(), L"nb is 5; it counts 32-bit words and must be 4, 6 or 8.");
    EXPECT_EQ(cipher->gkey(4, 8, ByteArrayOf(Bytes(31)).Get()), DISP_E_BADINDEX);
    EXPECT_EQ(message(), L"Key has 31 bytes; 32 are needed.");
    ASSERT_EQ(cipher->gkey(8, 4, ByteArrayOf(Bytes(16)).Get()), S_OK);
    EXPECT_EQ(cipher->Decrypt(&block), DISP_E_BADINDEX);
    EXPECT_EQ(message(), L"buff has 31 bytes; whole blocks of 32 are needed.");
    EXPECT_EQ(cipher->Decrypt(nullptr), E_POINTER);
    VariantClear(&block);

    EXPECT_EQ(TryEncipher(ByteArrayOf({}), password), DISP_E_BADINDEX);
    EXPECT_EQ(TryEncipher(com::Variant(LONG{5}), password), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(message(), L"bytMessage must be an array of bytes, an array of numbers from 0 to 255 with one "
                         L"dimension, or a string.");
    EXPECT_EQ(TryEncipher(kText, ArrayOf(VT_VARIANT, {0, 256}, 3)), DISP_E_OVERFLOW);
    EXPECT_EQ(message(), L"bytPassword(4) is 256; a byte is a number from 0 to 255.");
    EXPECT_EQ(TryEncipher(com::Variant::Array(std::vector<std::wstring>{L"x"}), password),
              DISP_E_TYPEMISMATCH);
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    com::Variant table;
    table.Put()->vt = VT_ARRAY | VT_UI1;
    const_cast<VARIANT&>(table.Get()).parray = SafeArrayCreate(VT_UI1, 2, bounds);
    EXPECT_EQ(TryEncipher(table, password), DISP_E_TYPEMISMATCH);
}

}  // namespace
}  // namespace tests
