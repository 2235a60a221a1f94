// Checks the settings of an FTP site, and the site itself.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "ftp/settings/FtpSite.h"

namespace modverification {

/// Receives what failed. setting: that is probably to blame; null where none is.
using ShowMessage = std::function<void(const std::wstring& text, FtpSiteMember setting)>;

/// Number of the branding resource that names the first fault of the settings alone: one is empty, or the
/// folders are the same; blanks at both ends do not count. 0 when there is none.
LONG SettingsFault(const FtpSite& site);

/// Whether the settings, with a plain password, have no fault, nor a value that no site can have. With
/// TestConnection also whether the site works, by the live test of TestSite. show: gets what failed, as one
/// text; may be empty. report: gets what the live test of a site that works found; may be null. Nothing is
/// thrown; a failure to show is reported.
bool VerifyFTPSite(const FtpSite& site, bool TestConnection, const ShowMessage& show,
                   std::wstring* report = nullptr);

/// Shows a text, of which the start must be enough, in a message box under the title of the FTP properties.
/// icon: style of the box. Throws like ZNMsgBox.
void ShowVerificationMessage(const std::wstring& text, LONG icon = MB_ICONWARNING);

}  // namespace modverification
