// Checks the settings of an FTP site, and the site itself.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "ftp/settings/FtpSite.h"

namespace modverification {

/// Receives a failure; flag: style of the message box that would show it.
using ShowMessage = std::function<void(const std::wstring& text, LONG flag)>;

/// Number of the branding resource that names the first fault of the settings alone: one is empty, or the
/// folders are the same; blanks at both ends do not count. 0 when there is none.
LONG SettingsFault(const FtpSite& site);

/// Whether the settings have no fault. With TestConnection also whether the site works: connects, creates
/// missing folders, and sends, fetches and deletes a test file in both. That leaves TestFtpConnection.txt in
/// the current directory and c:\FromFTP.xml. show: gets what failed, as one text; may be empty. Nothing is
/// thrown; a failure to show is reported.
bool CheckFTPSite(const FtpSite& site, bool TestConnection, const ShowMessage& show);

/// The same, with ShowMessages in a message box. Password: plain.
bool VerifyFTPSite(const std::wstring& Server, const std::wstring& User, const std::wstring& Password,
                   const std::wstring& EnterpriseToField, const std::wstring& FieldToEnterprise,
                   bool TestConnection, bool ShowMessages);

/// Shows a branding resource, or another text, under the title of the FTP properties. Throws like ZNMsgBox.
void ShowVerificationMessage(const std::wstring& text, LONG flag);

}  // namespace modverification
