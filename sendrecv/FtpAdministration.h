// What an administration tool asks of the FTP sender/receiver: five settings, as a document and in a dialog.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <optional>

#include "ftp/settings/FtpSite.h"

/// Failures are reported; their result is null.
class FtpAdministration {
public:
    /// Reads the settings from a document, or from the registry where there is none. Returns the
    /// document's element for them, or null when they are not complete.
    Microsoft::WRL::ComPtr<IUnknown> Initialize(LONG sides, IUnknown* context);
    /// Shows the dialog and returns the document that it leaves, or null. Initialize comes first.
    Microsoft::WRL::ComPtr<IUnknown> Execute(LONG sides);

private:
    std::optional<FtpSite> m_site;  ///< the password as documents hold it; nothing until Initialize
};
