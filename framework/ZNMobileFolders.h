// Locates the packet folders of an application.
#pragma once

#include <wrl/client.h>

#include <string>

#include "com/Object.h"
#include "znFramework.h"
#include "znTransporter.h"

/// Answers from the mobile configuration of znTransporter. Where that class is not registered, it reads the
/// settings that name each folder from the registry, which are the same for all applications.
class ZNMobileFolders final : public com::Object<IZNMobileFolders> {
public:
    STDMETHODIMP
    put_ApplicationName(BSTR Value) override;
    STDMETHODIMP
    FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) override;

private:
    std::wstring ConfiguredPath(VARIANT_BOOL enterprise, BSTR kind) const;

    Microsoft::WRL::ComPtr<IZNMobileConfig> m_config;  ///< null where there is no such class
};
