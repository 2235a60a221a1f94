// Texts of the user interface, in the product's branding.
#pragma once

#include "com/Object.h"
#include "znFramework.h"

class ZNBrandingResources final : public com::Object<IZNBrandingResources> {
public:
    STDMETHODIMP Text(VARIANT Id, BSTR* Value) override;
};
