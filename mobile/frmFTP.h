// The FTP properties dialog: edits the settings of an FTP site, tests the site, and leaves the
// administration document.
#pragma once

#include <msxml2.h>
#include <wrl/client.h>

#include "ftp/settings/FtpSite.h"
#include "ui/Dialog.h"
#include "znTransporter.h"

class frmFTP final : Dialog {
public:
    frmFTP() : Dialog(L"frmFTP") {}

    /// Shows the dialog modally. Sides: goes into the document. Site: its password enciphered, as documents
    /// hold it. What the user applied replaces it; a cancelled dialog leaves it, and so does a host that
    /// allows no user interface, at once and with a report. Failures are reported.
    ZNDialogEnd Execute(LONG Sides, FtpSite& Site);

    /// The document of the settings that were applied, or else given; null where they are not complete.
    Microsoft::WRL::ComPtr<IXMLDOMDocument> GetXML() const { return m_document; }

private:
    int Load() override;
    void Command(int control, int code) override;
    void InitializeLocale() const;
    void SetInitalControlState() const;
    void SetApplyButtonState() const;
    void cmdFTP_Click() const;
    void cmdApply_Click();
    bool VerifyFTPSite(const FtpSite& site, bool testConnection, std::wstring* report = nullptr) const;
    void ShowBusy(bool busy) const;
    FtpSite ReadBoxes() const;

    LONG m_lSides = 0;
    FtpSite m_site;  ///< what the boxes start with, and what was applied; the password enciphered
    Microsoft::WRL::ComPtr<IXMLDOMDocument> m_document;
};
