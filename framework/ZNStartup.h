// Start-up service: knows the tools and components of the product by their numbers.
#pragma once

#include "com/server/ServerObject.h"
#include "znSystem.h"

class ZNStartup final : public com::ServerObject<IZNStartup> {
public:
    STDMETHODIMP Initialize(BSTR Title) override;
    STDMETHODIMP Entry(LONG Number, VARIANT Arguments, VARIANT* Value) override;
};
