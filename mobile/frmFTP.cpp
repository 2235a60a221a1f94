// See frmFTP.h.
#include "mobile/frmFTP.h"

#include <algorithm>
#include <array>

#include "base/Text.h"
#include "common/Report.h"
#include "common/modZNStartup.h"
#include "ftp/settings/FtpPassword.h"
#include "ftp/settings/FtpSettings.h"
#include "mobile/frmFTPControls.h"
#include "mobile/modMobileAdminXML.h"
#include "mobile/modverification.h"
#include "services/Branding.h"

using modverification::ShowVerificationMessage;

namespace {

// Each setting has a label and a box.
constexpr int kBoxes = kFtpSettings.size();
constexpr int kPasswordBox = IDC_FTP_TEXT + 2;

constexpr bool IsTextBox(int control) { return control >= IDC_FTP_TEXT && control < IDC_FTP_TEXT + kBoxes; }

// Branding resources
constexpr LONG kTitle = 131;
constexpr LONG kSiteVerified = 139;
struct Caption {
    int control;
    LONG resource;
};
constexpr std::array<Caption, 10> kCaptions = {{
    {IDC_FTP_LABEL, 132},
    {IDC_FTP_LABEL + 1, 133},
    {IDC_FTP_LABEL + 2, 134},
    {IDC_FTP_LABEL + 3, 135},
    {IDC_FTP_LABEL + 4, 136},
    {IDC_FTP_FOLDERS, 141},
    {IDC_FTP_VERIFY_ON_APPLY, 163},
    {IDC_FTP_VERIFY, 138},
    {IDC_FTP_APPLY, 101},
    {IDC_FTP_CANCEL, 102},
}};

constexpr auto kUnreadablePassword = L"The stored FTP password cannot be deciphered. Enter it anew.";

// Behind what every check let pass, such as a character that no document can hold.
constexpr auto kNotApplied =
    L"The settings cannot be stored as a document, so that they are not applied. The event "
    L"log tells why. Correct them, or cancel.";

int BoxOf(FtpSiteMember setting) {
    const auto found = std::ranges::find(kFtpSettings, setting, &FtpSetting::member);
    return IDC_FTP_TEXT + static_cast<int>(found - kFtpSettings.begin());
}

}  // namespace

ZNDialogEnd frmFTP::Execute(LONG Sides, FtpSite& Site) {
    return Procedure(L"frmFTP.frm.Execute").Guard(ZN_DIALOG_FAILED, [&] {
        m_lSides = Sides;
        m_site = Site;
        m_document = modMobileAdminXML::GenerateFTPXML(Sides, Site);
        if (!ShowModal()) return UserInterfaceIsAllowed() ? ZN_DIALOG_CANCELLED : ZN_DIALOG_FAILED;
        Site = m_site;
        return ZN_DIALOG_APPLIED;
    });
}

int frmFTP::Load() {
    InitializeLocale();
    SetInitalControlState();
    FtpSite shown = m_site;
    const auto password = FtpPassword::Decipher(m_site.password);
    const bool isUnreadable = !password && !m_site.password.empty();
    if (isUnreadable) Procedure(L"frmFTP.frm.Execute").Report(kUnreadablePassword);
    shown.password = password.value_or(L"");
    for (const FtpSetting& setting : kFtpSettings) {
        LimitText(BoxOf(setting.member), setting.longest);
        SetText(BoxOf(setting.member), shown.*setting.member);
    }
    return isUnreadable ? kPasswordBox : IDC_FTP_TEXT;
}

void frmFTP::InitializeLocale() const {
    SetCaption(BrandedText(kTitle));
    for (const Caption& caption : kCaptions)
        SetText(caption.control, BrandedText(caption.resource));
}

void frmFTP::SetInitalControlState() const {
    SendDlgItemMessageW(Window(), kPasswordBox, EM_SETPASSWORDCHAR, L'*', 0);
    Enable(IDC_FTP_APPLY, false);
    SetChecked(IDC_FTP_VERIFY_ON_APPLY, true);
}

void frmFTP::Command(int control, int code) {
    if (IsTextBox(control) && code == EN_CHANGE) SetApplyButtonState();
    if (control == IDC_FTP_VERIFY) cmdFTP_Click();
    if (control == IDC_FTP_APPLY) cmdApply_Click();
    if (control == IDC_FTP_CANCEL) Close(false);
}

FtpSite frmFTP::ReadBoxes() const {
    FtpSite site;
    for (const FtpSetting& setting : kFtpSettings)
        site.*setting.member = Text(BoxOf(setting.member));
    return site;
}

void frmFTP::SetApplyButtonState() const {
    const FtpSite site = ReadBoxes();
    Enable(IDC_FTP_APPLY, std::ranges::none_of(kFtpSettings, [&](const FtpSetting& setting) {
               return base::Trimmed(site.*setting.member).empty();
           }));
}

/// Tests what the boxes hold. A fault is shown, and the box that is to blame gets the keyboard.
bool frmFTP::VerifyFTPSite(const FtpSite& site, bool testConnection, std::wstring* report) const {
    std::wstring fault;
    FtpSiteMember toBlame = nullptr;
    const auto keep = [&](const std::wstring& text, FtpSiteMember setting) {
        fault = text;
        toBlame = setting;
    };
    const int focus = FocusedControl();
    ShowBusy(testConnection);
    const bool good = [&] {
        const WaitCursor busy;
        return modverification::VerifyFTPSite(site, testConnection, keep, report);
    }();
    ShowBusy(false);
    Focus(focus);
    if (!fault.empty()) ShowVerificationMessage(fault);
    if (toBlame) Focus(BoxOf(toBlame));
    return good;
}

/// A server may keep a test waiting for a minute.
void frmFTP::ShowBusy(bool busy) const {
    SetCaption(BrandedText(kTitle) + (busy ? L" - testing the site, please wait" : L""));
    for (const int button : {IDC_FTP_VERIFY, IDC_FTP_APPLY, IDC_FTP_CANCEL})
        Enable(button, !busy);
    if (!busy) SetApplyButtonState();
    Repaint();
}

void frmFTP::cmdFTP_Click() const {
    Procedure(L"frmFTP.frm.cmdFTP_Click").Guard([&] {
        std::wstring report;
        if (VerifyFTPSite(ReadBoxes(), true, &report))
            ShowVerificationMessage(Lines(BrandedText(kSiteVerified), report), MB_ICONINFORMATION);
    });
}

/// A failure leaves the dialog open, with everything that the user typed.
void frmFTP::cmdApply_Click() {
    Procedure(L"frmFTP.frm.cmdApply_Click").Guard([&] {
        FtpSite site = ReadBoxes();
        if (!VerifyFTPSite(site, IsChecked(IDC_FTP_VERIFY_ON_APPLY))) return;
        site.password = FtpPassword::Encipher(site.password);
        m_document = modMobileAdminXML::GenerateFTPXML(m_lSides, site);
        if (!m_document) return ShowVerificationMessage(kNotApplied);
        m_site = std::move(site);
        Close(true);
    });
}
