// The live test of an FTP site.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "ftp/settings/FtpSite.h"

/// Why a site does not work.
struct SiteFault {
    std::wstring text;  ///< a line for each thing that went wrong, the newest first; may be empty
    LONG number = 0;    ///< error of the connection, which as a branding resource heads the text; or 0
    FtpSiteMember setting = nullptr;  ///< that is probably to blame; null where none is
};

/// Why an FTP call failed, as a sentence. error: of GetLastError.
std::wstring CallFailure(DWORD error);

struct SiteTestResult {
    std::optional<SiteFault> fault;  ///< nothing when the site works
    /// Of a site that works: what was tested, what could not be, and which test files stay; lines.
    std::wstring report;
};

/// Connects, creates missing folders, and sends, fetches and deletes a test file in both. That leaves
/// TestFtpConnection.txt in the current directory and c:\FromFTP.xml. A site from which the file cannot be
/// fetched, or deleted, works all the same. The connection is closed again: no server waits for whoever is
/// shown the result.
SiteTestResult TestSite(const FtpSite& site);
