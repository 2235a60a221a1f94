// Locates the packet folders of an application.
#pragma once

#include <wrl/client.h>

#include "com/server/ServerObject.h"
#include "znFramework.h"
#include "znTransporter.h"

/// Answers from the mobile configuration of znTransporter.
class ZNMobileFolders final : public com::ServerObject<IZNMobileFolders> {
public:
    STDMETHODIMP put_ApplicationName(BSTR Value) override;
    STDMETHODIMP FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) override;

private:
    Microsoft::WRL::ComPtr<IZNMobileConfig> m_config;  ///< null until an application is named
};
