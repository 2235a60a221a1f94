// What an administration tool asks of the FTP sender/receiver: five settings, as a document and in a dialog.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <optional>

#include "ftp/settings/FtpSite.h"
#include "znTransporter.h"

/// Failures are reported; their result is null.
class FtpAdministration {
public:
    /// Reads the settings from a document, or from the registry where there is none. Returns the
    /// document's element for them, or null when they are not complete.
    Microsoft::WRL::ComPtr<IUnknown> Initialize(LONG sides, IUnknown* context);
    /// Shows the dialog and returns the document that it leaves, or null. Initialize comes first.
    Microsoft::WRL::ComPtr<IUnknown> Execute(LONG sides);
    /// How the dialog of the last Execute ended.
    ZNDialogEnd DialogEnd() const noexcept { return m_dialogEnd; }

private:
    ZNDialogEnd m_dialogEnd = ZN_DIALOG_FAILED;
    std::optional<FtpSite> m_site;  ///< the password as documents hold it; nothing until Initialize
};
