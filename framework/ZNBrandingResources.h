// Texts of the user interface, in the product's branding.
#pragma once

#include "com/server/ServerObject.h"
#include "znFramework.h"

class ZNBrandingResources final : public com::ServerObject<IZNBrandingResources> {
public:
    STDMETHODIMP Text(VARIANT Id, BSTR* Value) override;
};
