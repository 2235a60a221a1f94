// Locale of the user.
#pragma once

#include "com/Object.h"
#include "znFramework.h"

class ZNLocale final : public com::Object<IZNLocale> {
public:
    STDMETHODIMP get_RightToLeftReading(VARIANT_BOOL* Value) override;
};
