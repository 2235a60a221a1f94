#include "com/Text.h"

#include <objbase.h>

#include <array>
#include <cstdio>
#include <new>

#include "com/Error.h"

namespace com {

namespace {

std::wstring Decoded(UINT codePage, std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring result(static_cast<size_t>(MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0)),
                        L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, result.data(), static_cast<int>(result.size()));
    return result;
}

}  // namespace

Bstr::Bstr(std::wstring_view text) : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (!m_text) throw std::bad_alloc();
}

BSTR* Bstr::Put() noexcept {
    SysFreeString(std::exchange(m_text, nullptr));
    return &m_text;
}

std::wstring Bstr::Text() const { return com::Text(m_text); }

std::wstring Text(BSTR text) { return text ? std::wstring(text, SysStringLen(text)) : std::wstring(); }

void Replace(BSTR* target, std::wstring_view text) {
    Bstr value(text);
    SysFreeString(std::exchange(*target, value.Release()));
}

Variant::Variant(std::wstring_view text) : Variant() {
    m_value.bstrVal = Bstr(text).Release();
    m_value.vt = VT_BSTR;
}

Variant::Variant(LONG number) : Variant() {
    m_value.vt = VT_I4;
    m_value.lVal = number;
}

Variant::Variant(const Variant& other) : Variant(other.m_value) {}

Variant::Variant(const VARIANT& other) : Variant() {
    Check(VariantCopyInd(&m_value, const_cast<VARIANT*>(&other)));
}

Variant Variant::Object(IUnknown* object) {
    Variant variant;
    variant.m_value.vt = VT_UNKNOWN;
    variant.m_value.punkVal = object;
    if (object) object->AddRef();
    return variant;
}

Variant Variant::Array(const std::vector<std::wstring>& texts) {
    std::vector<Variant> values;
    values.reserve(texts.size());
    for (const auto& text : texts)
        values.emplace_back(text);
    return Array(values);
}

Variant Variant::Array(const std::vector<Variant>& values) {
    Variant variant;
    variant.m_value.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(values.size()));
    if (!variant.m_value.parray) throw std::bad_alloc();
    variant.m_value.vt = VT_ARRAY | VT_VARIANT;
    for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i)
        Check(SafeArrayPutElement(variant.m_value.parray, &i, const_cast<VARIANT*>(&values[i].Get())));
    return variant;
}

VARIANT Variant::Release() noexcept {
    VARIANT value = m_value;
    VariantInit(&m_value);
    return value;
}

VARIANT* Variant::Put() noexcept {
    VariantClear(&m_value);
    return &m_value;
}

Variant Variant::Converted(VARTYPE type, std::wstring_view subject) const {
    Variant result;
    // The invariant locale keeps settings readable whatever the user's locale is. Without VARIANT_ALPHABOOL
    // a Boolean would become "0" or "-1", which no setting is compared with.
    Check(VariantChangeTypeEx(&result.m_value, const_cast<VARIANT*>(&m_value), LOCALE_INVARIANT,
                              VARIANT_NOVALUEPROP | VARIANT_ALPHABOOL, type),
          subject);
    return result;
}

std::wstring Variant::Text() const { return com::Text(Converted(VT_BSTR).m_value.bstrVal); }

LONG Variant::Number(std::wstring_view subject) const { return Converted(VT_I4, subject).m_value.lVal; }

std::wstring FromUtf8(std::string_view text) { return Decoded(CP_UTF8, text); }

std::string ToUtf8(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string result(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()),
                        nullptr, nullptr);
    return result;
}

std::wstring FromSystemCodePage(std::string_view text) { return Decoded(CP_ACP, text); }

std::string ToSystemCodePage(const std::wstring& text) {
    // Windows refuses these two where the code page is UTF-8, which has every character.
    const bool hasAll = GetACP() == CP_UTF8;
    BOOL lacking = FALSE;
    const auto convert = [&](char* out, int size) {
        return WideCharToMultiByte(CP_ACP, hasAll ? 0 : WC_NO_BEST_FIT_CHARS, text.data(),
                                   static_cast<int>(text.size()), out, size, nullptr,
                                   hasAll ? nullptr : &lacking);
    };
    std::string result(static_cast<size_t>(convert(nullptr, 0)), '\0');
    convert(result.data(), static_cast<int>(result.size()));
    if (lacking)
        throw Error(HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION),
                    text + L": a character is not in the system's 8-bit code page; use another name.");
    return result;
}

std::wstring Hexadecimal(DWORD number) {
    std::array<wchar_t, 16> digits;
    const int length = swprintf(digits.data(), digits.size(), L"0x%lX", number);
    return {digits.data(), static_cast<size_t>(length)};
}

std::wstring Upper(std::wstring_view text) {
    std::wstring result(text);
    CharUpperBuffW(result.data(), static_cast<DWORD>(result.size()));
    return result;
}

std::wstring_view Trimmed(std::wstring_view text) noexcept {
    const size_t start = text.find_first_not_of(L' ');
    if (start == std::wstring_view::npos) return {};
    return text.substr(start, text.find_last_not_of(L' ') - start + 1);
}

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring Text(const GUID& id) {
    std::array<wchar_t, 39> buffer;
    StringFromGUID2(id, buffer.data(), static_cast<int>(buffer.size()));
    return buffer.data();
}

}  // namespace com
