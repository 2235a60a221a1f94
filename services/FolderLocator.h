// The framework's mobile-folder locator, as components use it: created for one application, then asked.
#pragma once

#include <wrl/client.h>

#include <string>

#include "znFramework.h"

class FolderLocator {
public:
    /// Creates the locator for an application. Throws a failure.
    void Open(const std::wstring& applicationName);

    /// A folder or setting of the enterprise's or of the field's side. Throws a failure, also before Open.
    std::wstring FolderPath(bool enterprise, const wchar_t* kind) const;

private:
    IZNMobileFolders* Get() const;

    Microsoft::WRL::ComPtr<IZNMobileFolders> m_locator;
};
