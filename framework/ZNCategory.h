// Identifiers of component categories.
#pragma once

#include "com/server/ServerObject.h"
#include "znFramework.h"

class ZNCategory final : public com::ServerObject<IZNCategory> {
public:
    STDMETHODIMP CategoryId(LONG Code, BSTR* Value) override;
};
