// See PropertySet.h.
#include "services/PropertySet.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/Framework.h"
#include "common/modMain.h"

using Microsoft::WRL::ComPtr;

namespace {

std::vector<com::Variant> Elements(const com::Variant& array) {
    const VARIANT& value = array.Get();
    if (value.vt != (VT_ARRAY | VT_VARIANT))
        throw base::Error(DISP_E_TYPEMISMATCH, L"The property set did not hand out an array of variants.");
    LONG first = 0;
    LONG last = -1;
    com::Check(SafeArrayGetLBound(value.parray, 1, &first));
    com::Check(SafeArrayGetUBound(value.parray, 1, &last));
    std::vector<com::Variant> elements;
    for (LONG i = first; i <= last; ++i) {
        com::Variant element;
        com::Check(SafeArrayGetElement(value.parray, &i, element.Put()));
        elements.push_back(std::move(element));
    }
    return elements;
}

}  // namespace

std::vector<std::pair<std::wstring, com::Variant>> AllProperties(IZNPropertySet* set) {
    if (!set) throw base::Error(E_POINTER, L"There is no property set.");
    com::Variant names;
    com::Variant values;
    com::Check(set->GetAllProperties(names.Put(), values.Put()), L"property set");
    const std::vector<com::Variant> allNames = Elements(names);
    std::vector<com::Variant> allValues = Elements(values);
    std::vector<std::pair<std::wstring, com::Variant>> properties;
    for (size_t i = 0; i < std::min(allNames.size(), allValues.size()); ++i)
        properties.emplace_back(allNames[i].Text(), std::move(allValues[i]));
    return properties;
}

ComPtr<IZNPropertySet>
NewPropertySet(const std::vector<std::pair<const wchar_t*, std::wstring>>& properties) {
    auto set = CreateFrameworkObject<ZNPropertySet, IZNPropertySet>();
    for (const auto& [name, value] : properties)
        SetProperty(set.Get(), name, value);
    return set;
}

void SetProperty(IZNPropertySet* set, const std::wstring& name, const std::wstring& value) {
    com::Check(set->SetProperty(com::Bstr(name).Get(), com::Variant(value).Get()), name);
}

LONG GetNumber(IZNPropertySet* set, const std::wstring& name, const std::wstring& missing) {
    const std::wstring text = GetProperty(set, name, missing);
    return com::Variant(text).Number(L"setting " + name + L" = " + text);
}

bool IsMobile(IZNPropertySet* set) { return base::Upper(GetProperty(set, L"MOBILE", L"FALSE")) != L"FALSE"; }
