// Name and value pairs through which a host passes settings.
#pragma once

#include <string>
#include <vector>

#include "com/Values.h"
#include "com/server/ServerObject.h"
#include "znSystem.h"

class ZNPropertySet final : public com::ServerObject<IZNPropertySet> {
public:
    STDMETHODIMP GetProperty(BSTR Name, VARIANT* Value) override;
    STDMETHODIMP SetProperty(BSTR Name, VARIANT Value) override;
    STDMETHODIMP GetAllProperties(VARIANT* Names, VARIANT* Values) override;

private:
    struct Property {
        std::wstring name;
        com::Variant value;
    };

    Property* Find(const std::wstring& name);

    std::vector<Property> m_properties;  ///< in the order of first setting
};
