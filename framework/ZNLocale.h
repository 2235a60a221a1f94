// Locale of the user.
#pragma once

#include "com/server/ServerObject.h"
#include "znFramework.h"

class ZNLocale final : public com::ServerObject<IZNLocale> {
public:
    STDMETHODIMP get_RightToLeftReading(VARIANT_BOOL* Value) override;
};
