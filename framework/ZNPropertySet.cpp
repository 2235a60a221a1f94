// See ZNPropertySet.h.
#include "framework/ZNPropertySet.h"

#include <algorithm>

#include "com/Result.h"
#include "com/Values.h"

ZNPropertySet::Property* ZNPropertySet::Find(const std::wstring& name) {
    const auto found = std::ranges::find(m_properties, name, &Property::name);
    return found == m_properties.end() ? nullptr : &*found;
}

STDMETHODIMP ZNPropertySet::GetProperty(BSTR Name, VARIANT* Value) {
    return com::Return(Value, [&] {
        const Property* property = Find(com::Text(Name));
        return property ? property->value : com::Variant();
    });
}

STDMETHODIMP ZNPropertySet::SetProperty(BSTR Name, VARIANT Value) {
    return com::Call([&] {
        Property property{com::Text(Name), com::Variant(Value)};
        if (Property* existing = Find(property.name))
            existing->value = std::move(property.value);
        else
            m_properties.push_back(std::move(property));
    });
}

STDMETHODIMP ZNPropertySet::GetAllProperties(VARIANT* Names, VARIANT* Values) {
    if (!Names || !Values) return E_POINTER;
    VariantInit(Names);
    VariantInit(Values);
    return com::Call([&] {
        std::vector<std::wstring> names;
        std::vector<com::Variant> values;
        for (const Property& property : m_properties) {
            names.push_back(property.name);
            values.push_back(property.value);
        }
        com::Variant allNames = com::Variant::Array(names);
        com::Variant allValues = com::Variant::Array(values);
        *Names = allNames.Release();
        *Values = allValues.Release();
    });
}
