// Identifiers of component categories.
#pragma once

#include "com/Object.h"
#include "znFramework.h"

class ZNCategory final : public com::Object<IZNCategory> {
public:
    STDMETHODIMP CategoryId(LONG Code, BSTR* Value) override;
};
