// See modverification.h.
#include "mobile/modverification.h"

#include "base/SystemError.h"
#include "base/Text.h"
#include "common/Report.h"
#include "common/modWinInet.h"
#include "common/modZNStartup.h"
#include "ftp/SiteTest.h"
#include "ftp/settings/FtpSettings.h"
#include "services/Branding.h"

using base::Trimmed;

namespace modverification {

namespace {

// Branding resources
constexpr LONG kTitle = 131;
constexpr LONG kFirstEmptySetting = 150;  // the others follow in the order of the settings
constexpr LONG kSameFolders = 162;

/// The resource of a number, which may be a WinINet error; not every one of those has a text.
std::wstring Heading(LONG number, const Procedure& self) {
    try {
        return BrandedText(number);
    } catch (...) {
        const auto error = static_cast<DWORD>(number);
        self.Report(Lines(ErrorText(error), base::CurrentFailure().description));
        return CallFailure(error);
    }
}

/// Shows a fault under the resource of its number, unless that is 0. A number without a text shows, too:
/// every failure does. Is False.
bool ReportError(SiteFault fault, const ShowMessage& show) {
    const Procedure self(L"modverification.ReportError");
    const LONG number = fault.number;
    std::wstring& text = fault.text;
    try {
        if (number >= 1)
            text = text.empty() ? Heading(number, self) : Lines(Heading(number, self), L"\t" + text);
        if (!text.empty() && show) show(text, fault.setting);
    } catch (...) {
        self.Report(Lines(base::CurrentFailure().description, ErrorText(static_cast<DWORD>(number))));
    }
    return false;
}

/// problem: what follows the setting.
SiteFault FaultOf(const FtpSetting& setting, const wchar_t* problem) {
    return {.text = std::wstring(L"The ") + setting.title + problem, .setting = setting.member};
}

/// What no setting can be, although all are there.
std::optional<SiteFault> UnusableValue(const FtpSite& site) {
    for (const FtpSetting& setting : kFtpSettings)
        if (base::HasControlCharacter(site.*setting.member))
            return FaultOf(setting,
                           L" holds a control character, such as a tab or the end of a line. Type it anew "
                           L"without that.");
    return std::nullopt;
}

/// What would be tested in the folder of the login itself, or above it.
std::optional<SiteFault> UnusableFolder(const FtpSite& site) {
    for (const FtpSetting& folder : {kFtpEnterpriseToField, kFtpFieldToEnterprise})
        if (const auto name = Trimmed(site.*folder.member); name == L"." || name == L"..")
            return FaultOf(
                folder, L" must not be \".\" or \"..\". Name a folder that lies in the folder of the login.");
    return std::nullopt;
}

/// The setting that the number of a fault speaks of.
FtpSiteMember SettingOfFault(LONG message) {
    return message == kSameFolders ? &FtpSite::fieldToEnterprise
                                   : kFtpSettings[static_cast<size_t>(message - kFirstEmptySetting)].member;
}

}  // namespace

LONG SettingsFault(const FtpSite& site) {
    LONG message = kFirstEmptySetting;
    for (const FtpSetting& setting : kFtpSettings) {
        if (Trimmed(site.*setting.member).empty()) return message;
        ++message;
    }
    return Trimmed(site.enterpriseToField) == Trimmed(site.fieldToEnterprise) ? kSameFolders : 0;
}

bool VerifyFTPSite(const FtpSite& site, bool TestConnection, const ShowMessage& show, std::wstring* report) {
    return Procedure(L"modverification.VerifyFTPSite").Guard(false, [&] {
        if (const LONG message = SettingsFault(site))
            return show &&
                   ReportError({.text = Lines(BrandedText(message), L""), .setting = SettingOfFault(message)},
                               show);
        if (const auto fault = UnusableValue(site)) return ReportError(*fault, show);
        if (!TestConnection) return true;
        if (const auto fault = UnusableFolder(site)) return ReportError(*fault, show);
        const SiteTestResult result = TestSite(site);
        if (result.fault) return ReportError(*result.fault, show);
        if (report) *report = result.report;
        return true;
    });
}

void ShowVerificationMessage(const std::wstring& text, LONG icon) {
    // What a server answers may be taller than the screen. Where nobody sees it, it goes into the log.
    constexpr size_t kLongest = 1000;
    const bool isTooLong = UserInterfaceIsAllowed() && text.size() > kLongest;
    ZNMsgBox(isTooLong ? text.substr(0, kLongest) + L" ..." : text, icon, BrandedText(kTitle));
}

}  // namespace modverification
