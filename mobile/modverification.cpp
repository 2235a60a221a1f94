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
        std::wstring text = ErrorText(static_cast<DWORD>(number));
        self.Report(Lines(text, base::CurrentFailure().description));
        return text;
    }
}

/// Shows a text under the resource of a number, unless that is 0. A number without a text shows, too: every
/// failure does.
void ReportError(LONG number, std::wstring text, const ShowMessage& show) {
    const Procedure self(L"modverification.ReportError");
    try {
        if (number >= 1)
            text = text.empty() ? Heading(number, self) : Lines(Heading(number, self), L"\t" + text);
        if (!text.empty() && show) show(text);
    } catch (...) {
        self.Report(Lines(base::CurrentFailure().description, ErrorText(static_cast<DWORD>(number))));
    }
}

/// What no FTP site can be, although the settings are complete; empty when there is nothing.
std::wstring UnusableValue(const FtpSite& site) {
    for (const FtpSetting& setting : kFtpSettings)
        if (base::HasControlCharacter(site.*setting.member))
            return std::wstring(L"The ") + setting.title +
                   L" holds a control character, such as a tab or the end of a line. Type it anew without "
                   L"that.";
    return {};
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

bool VerifyFTPSite(const FtpSite& site, bool TestConnection, const ShowMessage& show) {
    return Procedure(L"modverification.VerifyFTPSite").Guard(false, [&] {
        if (const LONG message = SettingsFault(site)) {
            if (show) ReportError(0, Lines(BrandedText(message), L""), show);
            return false;
        }
        if (const std::wstring problem = UnusableValue(site); !problem.empty()) {
            ReportError(0, problem, show);
            return false;
        }
        if (!TestConnection) return true;
        const std::optional<SiteFault> fault = TestSite(site);
        if (fault) ReportError(fault->number, fault->text, show);
        return !fault;
    });
}

void ShowVerificationMessage(const std::wstring& text, LONG icon) {
    ZNMsgBox(text, icon, BrandedText(kTitle));
}

}  // namespace modverification
