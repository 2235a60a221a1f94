#include "mobile/frmFTP.h"

#include <array>

#include "base/Text.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/settings/FtpPassword.h"
#include "mobile/frmFTPControls.h"
#include "mobile/modMobileAdminXML.h"
#include "mobile/modverification.h"
#include "services/Branding.h"

namespace {

enum Box { kServer, kUser, kPassword, kEnterpriseToField, kFieldToEnterprise, kBoxes };

constexpr int TextBox(int box) { return IDC_FTP_TEXT + box; }

constexpr bool IsTextBox(int control) { return control >= IDC_FTP_TEXT && control < IDC_FTP_TEXT + kBoxes; }

// Branding resources
constexpr LONG kTitle = 131;
constexpr LONG kSiteVerified = 139;
struct Caption {
    int control;
    LONG resource;
};
constexpr std::array<Caption, 10> kCaptions = {{
    {IDC_FTP_LABEL + kServer, 132},
    {IDC_FTP_LABEL + kUser, 133},
    {IDC_FTP_LABEL + kPassword, 134},
    {IDC_FTP_LABEL + kEnterpriseToField, 135},
    {IDC_FTP_LABEL + kFieldToEnterprise, 136},
    {IDC_FTP_FOLDERS, 141},
    {IDC_FTP_VERIFY_ON_APPLY, 163},
    {IDC_FTP_VERIFY, 138},
    {IDC_FTP_APPLY, 101},
    {IDC_FTP_CANCEL, 102},
}};

}  // namespace

void frmFTP::Execute(long Sides, std::wstring& EnterpriseToField, std::wstring& FieldToEnterprise,
                     std::wstring& Server, std::wstring& User, std::wstring& Password) try {
    m_lSides = Sides;
    m_sEncipheredPassword = Password;
    m_site = {Server, User, FtpPassword::Decipher(Password), EnterpriseToField, FieldToEnterprise};
    m_document = GenerateFTPXML();
    if (!ShowModal()) return;
    Server = m_site.server;
    User = m_site.user;
    Password = m_sEncipheredPassword;
    EnterpriseToField = m_site.enterpriseToField;
    FieldToEnterprise = m_site.fieldToEnterprise;
} catch (...) {
    ReportCurrentError(L"frmFTP.frm.Execute");
}

Microsoft::WRL::ComPtr<IXMLDOMDocument> frmFTP::GenerateFTPXML() const {
    return ::GenerateFTPXML(m_lSides, m_site.enterpriseToField, m_site.fieldToEnterprise, m_site.server,
                            m_site.user, m_sEncipheredPassword);
}

int frmFTP::Load() {
    InitializeLocale();
    SetInitalControlState();
    SetText(TextBox(kEnterpriseToField), m_site.enterpriseToField);
    SetText(TextBox(kFieldToEnterprise), m_site.fieldToEnterprise);
    SetText(TextBox(kServer), m_site.server);
    SetText(TextBox(kUser), m_site.user);
    SetText(TextBox(kPassword), m_site.password);
    return TextBox(kServer);
}

void frmFTP::InitializeLocale() const {
    SetCaption(BrandedText(kTitle));
    for (const Caption& caption : kCaptions)
        SetText(caption.control, BrandedText(caption.resource));
}

void frmFTP::SetInitalControlState() const {
    SendDlgItemMessageW(Window(), TextBox(kPassword), EM_SETPASSWORDCHAR, L'*', 0);
    Enable(IDC_FTP_APPLY, false);
    SetChecked(IDC_FTP_VERIFY_ON_APPLY, true);
}

void frmFTP::Command(int control, int code) {
    if (IsTextBox(control) && code == EN_CHANGE) SetApplyButtonState();
    if (control == IDC_FTP_VERIFY) cmdFTP_Click();
    if (control == IDC_FTP_APPLY) cmdApply_Click();
    if (control == IDC_FTP_CANCEL) Close(false);
}

void frmFTP::SetApplyButtonState() const {
    bool complete = true;
    for (int box = 0; box < kBoxes; ++box)
        complete = complete && !base::Trimmed(Text(TextBox(box))).empty();
    Enable(IDC_FTP_APPLY, complete);
}

FtpSite frmFTP::ReadBoxes() const {
    return {Text(TextBox(kServer)), Text(TextBox(kUser)), Text(TextBox(kPassword)),
            Text(TextBox(kEnterpriseToField)), Text(TextBox(kFieldToEnterprise))};
}

bool frmFTP::VerifyFTPSite(const FtpSite& site, bool testConnection) const {
    const WaitCursor busy;
    return modverification::CheckFTPSite(site, testConnection, &modverification::ShowVerificationMessage);
}

void frmFTP::cmdFTP_Click() const try {
    if (VerifyFTPSite(ReadBoxes(), true))
        modverification::ShowVerificationMessage(BrandedText(kSiteVerified), MB_ICONINFORMATION);
} catch (...) {
    ReportCurrentError(L"frmFTP.frm.cmdFTP_Click");
}

void frmFTP::cmdApply_Click() try {
    const FtpSite site = ReadBoxes();
    if (!VerifyFTPSite(site, IsChecked(IDC_FTP_VERIFY_ON_APPLY))) return;
    m_sEncipheredPassword = FtpPassword::Encipher(site.password);
    m_site = site;
    m_document = GenerateFTPXML();
    Close(true);
} catch (...) {
    // The dialog stays open, with everything that the user typed.
    ReportCurrentError(L"frmFTP.frm.cmdApply_Click");
}
