// See Values.h.
#include "com/Values.h"

#include <objbase.h>

#include <array>
#include <new>

#include "com/ErrorInfo.h"

namespace com {

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

Variant Variant::Object(IDispatch* object) {
    Variant variant;
    variant.m_value.vt = VT_DISPATCH;
    variant.m_value.pdispVal = object;
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

bool Variant::Flag() const { return !IsEmpty() && Converted(VT_BOOL).m_value.boolVal != VARIANT_FALSE; }

std::wstring Text(const GUID& id) {
    std::array<wchar_t, 39> buffer;
    StringFromGUID2(id, buffer.data(), static_cast<int>(buffer.size()));
    return buffer.data();
}

}  // namespace com
