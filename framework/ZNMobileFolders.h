// Locates the packet folders of an application.
#pragma once

#include <string>

#include "com/Object.h"
#include "znFramework.h"

class ZNMobileFolders final : public com::Object<IZNMobileFolders> {
public:
    STDMETHODIMP
    put_ApplicationName(BSTR Value) override;
    STDMETHODIMP
    FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) override;
};
