// See ByteArray.h.
#include "cipher/ByteArray.h"

#include <algorithm>
#include <new>
#include <string>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"

namespace ByteArray {

namespace {

/// The variant that a script's variable is, behind any reference to it.
VARIANT& Target(VARIANT& value) {
    VARIANT* target = &value;
    while (target->vt == (VT_BYREF | VT_VARIANT))
        target = target->pvarVal;
    return *target;
}

bool IsText(const VARIANT& value) { return (value.vt & ~VT_BYREF) == VT_BSTR; }

BSTR TextOf(const VARIANT& value) { return value.vt & VT_BYREF ? *value.pbstrVal : value.bstrVal; }

bool IsArray(const VARIANT& value) { return (value.vt & VT_ARRAY) != 0; }

SAFEARRAY* ArrayOf(const VARIANT& value) { return value.vt & VT_BYREF ? *value.pparray : value.parray; }

VARTYPE ElementTypeOf(const VARIANT& value) { return value.vt & VT_TYPEMASK; }

/// Without dimensions: what a dynamic array is before its first ReDim.
bool IsBare(SAFEARRAY* array) { return !array || SafeArrayGetDim(array) == 0; }

std::wstring Named(const wchar_t* name) { return name; }

[[noreturn]] void ThrowMismatch(const wchar_t* name) {
    throw base::Error(DISP_E_TYPEMISMATCH, Named(name) +
                                               L" must be an array of bytes, an array of numbers from 0 "
                                               L"to 255 with one dimension, or a string.");
}

void CheckShape(const VARIANT& value, const wchar_t* name) {
    const VARTYPE type = ElementTypeOf(value);
    const bool numbers = type == VT_UI1 || type == VT_I2 || type == VT_I4 || type == VT_VARIANT;
    if (!numbers || SafeArrayGetDim(ArrayOf(value)) != 1) ThrowMismatch(name);
}

LONG LowerBound(SAFEARRAY* array) {
    LONG bound = 0;
    com::Check(SafeArrayGetLBound(array, 1, &bound));
    return bound;
}

size_t Count(SAFEARRAY* array) {
    LONG upper = -1;
    com::Check(SafeArrayGetUBound(array, 1, &upper));
    return static_cast<size_t>(static_cast<LONGLONG>(upper) - LowerBound(array) + 1);
}

/// The elements of an array of bytes where they lie.
class Elements {
public:
    explicit Elements(SAFEARRAY* array) : m_array(array) { com::Check(SafeArrayAccessData(array, &m_data)); }
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;
    ~Elements() { SafeArrayUnaccessData(m_array); }

    std::span<std::uint8_t> Bytes() const { return {static_cast<std::uint8_t*>(m_data), Count(m_array)}; }

private:
    SAFEARRAY* m_array;
    void* m_data = nullptr;
};

/// Where SafeArrayGetElement and SafeArrayPutElement expect a value of the type.
void* Slot(VARIANT& value, VARTYPE type) {
    return type == VT_VARIANT ? &value : static_cast<void*>(&value.bVal);
}

LONG NumberAt(SAFEARRAY* array, LONG index, VARTYPE type) {
    com::Variant element;
    VARIANT* raw = element.Put();
    com::Check(SafeArrayGetElement(array, &index, Slot(*raw, type)));
    if (type != VT_VARIANT) raw->vt = type;
    return element.Number();
}

std::uint8_t ByteAt(SAFEARRAY* array, LONG index, VARTYPE type, const wchar_t* name) {
    const LONG number = NumberAt(array, index, type);
    if (number < 0 || number > 255)
        throw base::Error(DISP_E_OVERFLOW, Named(name) + L"(" + std::to_wstring(index) + L") is " +
                                               std::to_wstring(number) +
                                               L"; a byte is a number from 0 to 255.");
    return static_cast<std::uint8_t>(number);
}

SecretBytes ReadArray(SAFEARRAY* array, VARTYPE type, const wchar_t* name) {
    if (type == VT_UI1) {
        const Elements elements(array);
        const auto bytes = elements.Bytes();
        return {bytes.begin(), bytes.end()};
    }
    SecretBytes bytes(Count(array));
    LONG index = LowerBound(array);
    for (std::uint8_t& byte : bytes)
        byte = ByteAt(array, index++, type, name);
    return bytes;
}

SecretBytes ReadText(BSTR text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text);
    return {bytes, bytes + SysStringByteLen(text)};
}

void PutNumber(SAFEARRAY* array, LONG index, VARTYPE type, std::uint8_t byte) {
    VARIANT element;
    VariantInit(&element);
    element.vt = VT_UI1;
    element.bVal = byte;
    if (type != VT_VARIANT) com::Check(VariantChangeType(&element, &element, 0, type));
    com::Check(SafeArrayPutElement(array, &index, Slot(element, type)));
}

void WriteArray(SAFEARRAY* array, VARTYPE type, std::span<const std::uint8_t> bytes) {
    if (type == VT_UI1) {
        std::ranges::copy(bytes, Elements(array).Bytes().begin());
        return;
    }
    LONG index = LowerBound(array);
    for (const std::uint8_t byte : bytes)
        PutNumber(array, index++, type, byte);
}

com::Variant Owner(SAFEARRAY* array, VARTYPE type) {
    com::Variant value;
    VARIANT* raw = value.Put();
    raw->vt = static_cast<VARTYPE>(VT_ARRAY | type);
    raw->parray = array;
    return value;
}

com::Variant NewArray(VARTYPE type, std::span<const std::uint8_t> bytes) {
    SAFEARRAY* const array = SafeArrayCreateVector(type, 0, static_cast<ULONG>(bytes.size()));
    if (!array) throw std::bad_alloc();
    com::Variant owner = Owner(array, type);
    WriteArray(array, type, bytes);
    return owner;
}

/// A caller's own array variable keeps its type of elements.
void ReplaceArray(SAFEARRAY** array, VARTYPE type, std::span<const std::uint8_t> bytes, const wchar_t* name) {
    constexpr USHORT kFixed = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE;
    if (*array && ((*array)->fFeatures & kFixed))
        throw base::Error(DISP_E_ARRAYISLOCKED, Named(name) + L" has a fixed size; pass an array that can be "
                                                              L"resized, or a variant.");
    com::Variant replacement = NewArray(type, bytes);
    if (*array) com::Check(SafeArrayDestroy(*array), name);
    *array = replacement.Release().parray;
}

/// What is enciphered in place leaves nothing of the plain text behind.
void WipeText(BSTR text) {
    if (text) Wipe(text, SysStringByteLen(text));
}

void ReplaceText(BSTR* text, std::span<const std::uint8_t> bytes) {
    const BSTR replacement =
        SysAllocStringByteLen(reinterpret_cast<const char*>(bytes.data()), static_cast<UINT>(bytes.size()));
    if (!replacement) throw std::bad_alloc();
    WipeText(*text);
    SysFreeString(std::exchange(*text, replacement));
}

void Replace(VARIANT& value, std::span<const std::uint8_t> bytes, const wchar_t* name) {
    if (value.vt & VT_BYREF) {
        if (IsText(value)) return ReplaceText(value.pbstrVal, bytes);
        return ReplaceArray(value.pparray, ElementTypeOf(value), bytes, name);
    }
    com::Variant replacement = Make(bytes);
    if (IsText(value)) WipeText(value.bstrVal);
    com::Check(VariantClear(&value), name);
    value = replacement.Release();
}

}  // namespace

std::optional<SecretBytes> Read(const VARIANT& value, const wchar_t* name) {
    const VARIANT& source = Target(const_cast<VARIANT&>(value));
    if (source.vt == VT_EMPTY) return std::nullopt;
    if (IsText(source)) return ReadText(TextOf(source));
    if (!IsArray(source)) ThrowMismatch(name);
    if (IsBare(ArrayOf(source))) return std::nullopt;
    CheckShape(source, name);
    return ReadArray(ArrayOf(source), ElementTypeOf(source), name);
}

void Assign(VARIANT* target, std::span<const std::uint8_t> bytes, const wchar_t* name) {
    VARIANT& value = Target(*target);
    const bool inPlace = IsArray(value) && Count(ArrayOf(value)) == bytes.size();
    if (inPlace)
        WriteArray(ArrayOf(value), ElementTypeOf(value), bytes);
    else
        Replace(value, bytes, name);
}

com::Variant Make(std::span<const std::uint8_t> bytes) { return NewArray(VT_UI1, bytes); }

com::Variant Make(std::wstring_view text) {
    return NewArray(VT_UI1,
                    {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * sizeof(wchar_t)});
}

com::Variant MakeBare() { return Owner(nullptr, VT_UI1); }

}  // namespace ByteArray
