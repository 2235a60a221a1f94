// Name and value pairs through which a host passes settings.
#pragma once

#include <string>
#include <vector>

#include "com/Object.h"
#include "com/Text.h"
#include "znSystem.h"

class ZNPropertySet final : public com::Object<IZNPropertySet> {
public:
    STDMETHODIMP
    GetProperty(BSTR Name, VARIANT* Value) override;
    STDMETHODIMP
    SetProperty(BSTR Name, VARIANT Value) override;
    STDMETHODIMP
    GetAllProperties(VARIANT* Names, VARIANT* Values) override;

private:
    com::Variant* Find(const std::wstring& name);

    std::vector<std::wstring> m_names;
    std::vector<com::Variant> m_values;  ///< in the order of their names
};
