#include "framework/ZNPropertySet.h"

#include <algorithm>

#include "com/Return.h"

com::Variant* ZNPropertySet::Find(const std::wstring& name) {
    const auto found = std::ranges::find(m_names, name);
    return found == m_names.end() ? nullptr : &m_values[static_cast<size_t>(found - m_names.begin())];
}

STDMETHODIMP
ZNPropertySet::GetProperty(BSTR Name, VARIANT* Value) {
    return com::Return(Value, [&] {
        const com::Variant* value = Find(com::Text(Name));
        return value ? *value : com::Variant();
    });
}

STDMETHODIMP
ZNPropertySet::SetProperty(BSTR Name, VARIANT Value) {
    return com::Call([&] {
        const std::wstring name = com::Text(Name);
        com::Variant value(Value);
        if (com::Variant* existing = Find(name)) {
            *existing = std::move(value);
        } else {
            m_values.push_back(std::move(value));
            m_names.push_back(name);
        }
    });
}

STDMETHODIMP
ZNPropertySet::GetAllProperties(VARIANT* Names, VARIANT* Values) {
    if (!Names || !Values) return E_POINTER;
    VariantInit(Names);
    VariantInit(Values);
    return com::Call([&] {
        com::Variant names = com::Variant::Array(m_names);
        com::Variant values = com::Variant::Array(m_values);
        *Names = names.Release();
        *Values = values.Release();
    });
}
