// The cipher's class: every shape in which hosts pass bytes, in-place changes, errors.
#include <algorithm>

#include "cipher/TextBytes.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

using Bytes = std::vector<int>;

/// Where an array of the type keeps what a variant holds.
void* Slot(VARIANT& value, VARTYPE type) {
    return type == VT_VARIANT ? &value : static_cast<void*>(&value.bVal);
}

/// An array of numbers as a host declares it.
Variant ArrayOf(VARTYPE type, const Bytes& numbers, LONG lowerBound = 0) {
    VARIANT array;
    array.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    array.parray = SafeArrayCreateVector(type, lowerBound, static_cast<ULONG>(numbers.size()));
    for (const int number : numbers) {
        VARIANT value = Variant(LONG{number}).Release();
        if (type != VT_VARIANT) VariantChangeType(&value, &value, 0, type);
        SafeArrayPutElement(array.parray, &lowerBound, Slot(value, type));
        ++lowerBound;
    }
    Variant owner;
    *owner.Put() = array;
    return owner;
}
Variant ByteArrayOf(const Bytes& numbers) { return ArrayOf(VT_UI1, numbers); }

/// The elements of an array of any type.
Bytes Elements(const VARIANT& value) {
    const auto type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
    Bytes numbers(value.parray->rgsabound[0].cElements);
    LONG index = value.parray->rgsabound[0].lLbound;
    for (int& number : numbers) {
        VARIANT element;
        element.vt = type;
        SafeArrayGetElement(value.parray, &index, Slot(element, type));
        number = Variant(element).Number();
        ++index;
    }
    return numbers;
}

std::wstring TextOf(const Variant& bytes) {
    const Bytes numbers = Elements(bytes.Get());
    return ::TextOf(std::vector<std::uint8_t>(numbers.begin(), numbers.end()));
}

/// A variable as a host passes it: of VARIANT, or of the type of its value.
VARIANT Reference(VARIANT& value, VARTYPE type) {
    VARIANT reference;
    reference.vt = static_cast<VARTYPE>(VT_BYREF | type);
    reference.byref = Slot(value, type);
    return reference;
}
VARIANT TypedReference(VARIANT& value) { return Reference(value, value.vt); }

const Variant kText(L"a message");

class RijndaelClass : public LibraryTest {
protected:
    ComPtr<_clsRijndael> cipher = Create<clsRijndael, _clsRijndael>();
    const Variant password = ByteArrayOf({7, 8, 9});

    Variant Enciphered(const VARIANT& message, const VARIANT& with, bool hex = false) {
        Variant result;
        com::Check(cipher->EncryptData(message, with, hex ? VARIANT_TRUE : VARIANT_FALSE, result.Put()));
        return result;
    }
    Variant Enciphered(const VARIANT& message, bool hex = false) {
        return Enciphered(message, password.Get(), hex);
    }
    Variant Deciphered(VARIANT* data, bool hex = false) {
        Variant result;
        com::Check(
            cipher->DecryptData(data, password.Get(), hex ? VARIANT_TRUE : VARIANT_FALSE, result.Put()));
        return result;
    }
};

TEST_F(RijndaelClass, TakesBytesInEachShape) {
    const Bytes message = {1, 2, 254, 255};
    const Bytes expected = Elements(Enciphered(ByteArrayOf(message).Get()).Get());
    ASSERT_EQ(expected.size(), 32u);
    for (const VARTYPE type : {VT_UI1, VT_I2, VT_I4, VT_VARIANT}) {
        Variant array = ArrayOf(type, message, type == VT_I4 ? 5 : 0);
        EXPECT_EQ(Elements(Enciphered(array.Get()).Get()), expected) << type;
        VARIANT inner = array.Release();
        EXPECT_EQ(Elements(Enciphered(Reference(inner, VT_VARIANT)).Get()), expected) << type;
        EXPECT_EQ(Elements(Enciphered(TypedReference(inner)).Get()), expected) << type;
        VariantClear(&inner);
    }
    EXPECT_EQ(Elements(Enciphered(Variant(L"\x0201\xFFFE").Get()).Get()), expected);
}

TEST_F(RijndaelClass, HexadecimalTextIsReplacedByItsBytes) {
    const Variant digits(TextOf(Enciphered(kText.Get(), true)));
    ASSERT_EQ(digits.Text().size(), 64u);
    const Bytes bytes = Elements(Enciphered(kText.Get()).Get());
    VARIANT raw = Variant(digits).Release();
    VARIANT reference = Reference(raw, VT_VARIANT);
    EXPECT_EQ(TextOf(Deciphered(&reference, true)), L"a message");
    EXPECT_EQ(raw.vt, VT_ARRAY | VT_UI1);
    EXPECT_EQ(Elements(raw), bytes);
    EXPECT_EQ(TextOf(Deciphered(&raw)), L"a message") << "now that it is bytes";
    VariantClear(&raw);

    raw = Variant(digits).Release();
    reference = TypedReference(raw);
    EXPECT_EQ(TextOf(Deciphered(&reference, true)), L"a message");
    const auto* first = reinterpret_cast<const std::uint8_t*>(raw.bstrVal);
    EXPECT_EQ(Bytes(first, first + SysStringByteLen(raw.bstrVal)), bytes) << "a string variable stays one";
    VariantClear(&raw);

    for (const VARTYPE type : {VT_UI1, VT_VARIANT}) {
        raw = ArrayOf(type, Elements(Enciphered(kText.Get(), true).Get())).Release();
        reference = TypedReference(raw);
        EXPECT_EQ(TextOf(Deciphered(&reference, true)), L"a message");
        EXPECT_EQ(raw.vt, VT_ARRAY | type);
        EXPECT_EQ(Elements(raw), bytes);
        raw.parray->fFeatures |= FADF_FIXEDSIZE;
        EXPECT_EQ(FailureOf([&] { Deciphered(&reference, true); }).number, DISP_E_ARRAYISLOCKED);
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
        VARIANT reference = TypedReference(raw);
        const SAFEARRAY* const before = raw.parray;
        EXPECT_EQ(cipher->Encrypt(&reference), S_OK);
        const Bytes enciphered = Elements(raw);
        EXPECT_TRUE(enciphered[0] == 0xC6 && enciphered[31] == 0xF3);
        EXPECT_EQ(enciphered[33], 77) << "what follows the block stays";
        EXPECT_EQ(cipher->Decrypt(&raw), S_OK);
        EXPECT_EQ(Elements(raw), plain);
        EXPECT_EQ(raw.parray, before);
        VariantClear(&raw);
    }
    VARIANT text = Variant(std::wstring(16, L'x')).Release();
    EXPECT_EQ(cipher->Encrypt(&text), S_OK);
    EXPECT_EQ(text.vt, VT_ARRAY | VT_UI1);
    VariantClear(&text);
}

TEST_F(RijndaelClass, WithoutDimensionsThereIsNothing) {
    const auto expectNothing = [](const Variant& result) {
        EXPECT_EQ(result.Get().vt, VT_ARRAY | VT_UI1);
        EXPECT_EQ(result.Get().parray, nullptr);
    };
    Variant bare;
    bare.Put()->vt = VT_ARRAY | VT_UI1;
    expectNothing(Enciphered(bare.Get()));
    expectNothing(Enciphered(Variant().Get()));
    expectNothing(Enciphered(kText.Get(), Variant().Get()));
    for (VARIANT raw : {bare.Release(), ByteArrayOf(Bytes(33)).Release()}) {
        expectNothing(Deciphered(&raw));
        VariantClear(&raw);
    }
}

TEST_F(RijndaelClass, ErrorsReachTheCaller) {
    const auto expectFailure = [](HRESULT result, HRESULT expected, const wchar_t* why) {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(WhyFailed(result), why);
    };
    VARIANT block = ByteArrayOf(Bytes(31)).Release();
    expectFailure(cipher->Encrypt(&block), E_UNEXPECTED, L"No key is set: call gkey first.");
    expectFailure(cipher->gkey(5, 8, ByteArrayOf(Bytes(32)).Get()), E_INVALIDARG,
                  L"nb is 5; it counts 32-bit words and must be 4, 6 or 8.");
    expectFailure(cipher->gkey(4, 8, ByteArrayOf(Bytes(31)).Get()), DISP_E_BADINDEX,
                  L"Key has 31 bytes; 32 are needed.");
    ASSERT_EQ(cipher->gkey(8, 4, ByteArrayOf(Bytes(16)).Get()), S_OK);
    expectFailure(cipher->Decrypt(&block), DISP_E_BADINDEX,
                  L"buff has 31 bytes; whole blocks of 32 are needed.");
    EXPECT_EQ(cipher->Decrypt(nullptr), E_POINTER);
    VariantClear(&block);

    Variant result;
    const auto encipher = [&](const Variant& message, const Variant& with) {
        return cipher->EncryptData(message.Get(), with.Get(), VARIANT_FALSE, result.Put());
    };
    expectFailure(encipher(ByteArrayOf({}), password), DISP_E_BADINDEX,
                  L"bytMessage has no bytes; at least 1 is needed.");
    expectFailure(encipher(kText, ArrayOf(VT_VARIANT, {0, 256}, 3)), DISP_E_OVERFLOW,
                  L"bytPassword(4) is 256; a byte is a number from 0 to 255.");
    EXPECT_EQ(encipher(Variant::Array(std::vector<std::wstring>{L"x"}), password), DISP_E_TYPEMISMATCH);
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    VARIANT table;
    table.vt = VT_ARRAY | VT_UI1;
    table.parray = SafeArrayCreate(VT_UI1, 2, bounds);
    for (const Variant& message : {Variant(LONG{5}), Variant(table)})
        expectFailure(encipher(message, password), DISP_E_TYPEMISMATCH,
                      L"bytMessage must be an array of bytes, an array of numbers from 0 to 255 with one "
                      L"dimension, or a string.");
    VariantClear(&table);
}

}  // namespace
}  // namespace tests
