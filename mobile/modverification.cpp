#include "mobile/modverification.h"

#include <array>
#include <utility>

#include "base/File.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/FtpHandles.h"
#include "services/Branding.h"

using base::Trimmed;

namespace modverification {

namespace {

// Branding resources
constexpr LONG kTitle = 131;
constexpr LONG kSessionNotOpened = 155;
constexpr LONG kNameNotResolved = 156;
constexpr LONG kLoginRefused = 157;
constexpr LONG kNotConnected = 158;
constexpr LONG kFolderNotCreated = 159;
constexpr LONG kFolderHasSlash = 160;
constexpr LONG kSameFolders = 162;
constexpr std::array<std::pair<std::wstring FtpSite::*, LONG>, 5> kEmptySettings = {{
    {&FtpSite::server, 150},
    {&FtpSite::user, 151},
    {&FtpSite::password, 152},
    {&FtpSite::enterpriseToField, 153},
    {&FtpSite::fieldToEnterprise, 154},
}};

constexpr char kTestFile[] = "TestFtpConnection.txt";
constexpr char kFetchedFile[] = "c:\\FromFTP.xml";

/// What made the last FTP call fail.
std::wstring CallFailure() {
    const DWORD error = GetLastError();
    const std::wstring text = ErrorText(error);
    return error == ERROR_INTERNET_EXTENDED_ERROR ? LastResponse().append(kCrLf).append(text) : text;
}

/// The resource of a number, which may be a WinINet error; not every one of those has a text.
std::wstring Heading(LONG number) try { return BrandedText(number); } catch (...) {
    const std::wstring text = ErrorText(static_cast<DWORD>(number));
    return StandardHandler(L"modverification.ReportError\r\n" + text, text);
}

/// One check of a site, with the texts that it collects.
class Verification {
public:
    explicit Verification(const ShowMessage& show) : m_show(show) {}

    void Collect(const std::wstring& text) { m_text = text + std::wstring(kCrLf) + m_text; }
    void Collect(LONG message) { Collect(BrandedText(message)); }
    void Collect(LONG message, const std::wstring& detail) {
        Collect(BrandedText(message).append(kCrLf).append(detail));
    }
    /// Shows what was collected under the resource of a number, unless that is 0. A number that is left
    /// alone shows, too: every failure does.
    void ReportError(LONG number, LONG flag);

    /// The live test. A failure is shown once the connection is closed: no server waits for the user.
    bool FTPConnect(const FtpSite& site);

private:
    bool Connect(const FtpSite& site);
    void CollectConnectFailure();
    bool HasNoSlash(const std::wstring& folder);
    bool TestFolders(const FtpSite& site);
    bool TestFTPGetandPutFile(const std::wstring& folder);
    bool EnterOrCreate(const std::wstring& folder);
    bool ReturnTo(const std::string& folder);
    void InternalCloseConnection() { m_handles.Close(); }

    const ShowMessage& m_show;
    std::wstring m_text;  ///< the newest first
    LONG m_connectError = 0;
    FtpHandles m_handles;
};

void Verification::ReportError(LONG number, LONG flag) try {
    std::wstring text = std::exchange(m_text, {});
    if (number >= 1) text = text.empty() ? Heading(number) : Heading(number) + L"\r\n\t" + text;
    if (!text.empty() && m_show) m_show(text, flag);
} catch (...) {
    const std::wstring reason = base::CurrentFailure().description;
    Report(L"modverification.ReportError\r\n" + reason + L"\r\n" + ErrorText(static_cast<DWORD>(number)));
}

bool Verification::FTPConnect(const FtpSite& site) {
    bool works = false;
    try {
        works = Connect(site) && HasNoSlash(site.enterpriseToField) && HasNoSlash(site.fieldToEnterprise) &&
                TestFolders(site);
    } catch (...) {
        Collect(base::CurrentFailure().description);
    }
    InternalCloseConnection();
    if (!works) ReportError(m_connectError, 0);
    return works;
}

bool Verification::Connect(const FtpSite& site) {
    if (!m_handles.Open()) {
        Collect(kSessionNotOpened, CallFailure());
        return false;
    }
    if (m_handles.Connect({site.server, site.user, site.password})) return true;
    CollectConnectFailure();
    return false;
}

void Verification::CollectConnectFailure() {
    const DWORD error = GetLastError();
    m_connectError = static_cast<LONG>(error);
    if (error == ERROR_INTERNET_NAME_NOT_RESOLVED) Collect(kNameNotResolved);
    if (error == ERROR_INTERNET_INCORRECT_PASSWORD) Collect(kLoginRefused);
    if (error == ERROR_SUCCESS) Collect(kNotConnected, ErrorText(error));
}

bool Verification::HasNoSlash(const std::wstring& folder) {
    if (folder.find(L'/') == std::wstring::npos) return true;
    Collect(kFolderHasSlash, folder);
    return false;
}

bool Verification::TestFolders(const FtpSite& site) {
    base::File::Open(base::FromSystemCodePage(kTestFile), GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
    const std::string start = m_handles.CurrentFolder();
    return TestFTPGetandPutFile(site.enterpriseToField) && ReturnTo(start) &&
           TestFTPGetandPutFile(site.fieldToEnterprise);
}

bool Verification::ReturnTo(const std::string& folder) {
    if (m_handles.ReturnTo(folder)) return true;
    Collect(CallFailure());
    return false;
}

bool Verification::TestFTPGetandPutFile(const std::wstring& folder) {
    const HINTERNET connection = m_handles.Connection();
    if (!EnterOrCreate(folder)) return false;
    if (!WinInet().FtpPutFileA(connection, kTestFile, kTestFile, FTP_TRANSFER_TYPE_BINARY, 0)) {
        Collect(CallFailure());
        return false;
    }
    // Users without administrator's rights may not write to the fixed path, and their site is fine.
    if (!WinInet().FtpGetFileA(connection, kTestFile, kFetchedFile, FALSE, FILE_ATTRIBUTE_NORMAL,
                               FtpHandles::kFlags, 0))
        Collect(CallFailure());
    WinInet().FtpDeleteFileA(connection, kTestFile);
    return true;
}

bool Verification::EnterOrCreate(const std::wstring& folder) {
    const FtpHandles::Entry entry = m_handles.EnterOrCreate(folder);
    if (entry == FtpHandles::Entry::NotCreated) Collect(kFolderNotCreated, folder);
    if (entry == FtpHandles::Entry::NotEntered) Collect(CallFailure());
    return entry == FtpHandles::Entry::Entered;
}

}  // namespace

LONG SettingsFault(const FtpSite& site) {
    for (const auto& [setting, message] : kEmptySettings)
        if (Trimmed(site.*setting).empty()) return message;
    return Trimmed(site.enterpriseToField) == Trimmed(site.fieldToEnterprise) ? kSameFolders : 0;
}

bool CheckFTPSite(const FtpSite& site, bool TestConnection, const ShowMessage& show) try {
    Verification verification(show);
    if (const LONG fault = SettingsFault(site)) {
        if (!show) return false;
        verification.Collect(fault);
        verification.ReportError(0, 0);
        return false;
    }
    return !TestConnection || verification.FTPConnect(site);
} catch (...) {
    return StandardHandler(L"modverification.VerifyFTPSite", false);
}

bool VerifyFTPSite(const std::wstring& Server, const std::wstring& User, const std::wstring& Password,
                   const std::wstring& EnterpriseToField, const std::wstring& FieldToEnterprise,
                   bool TestConnection, bool ShowMessages) {
    const FtpSite site{Server, User, Password, EnterpriseToField, FieldToEnterprise};
    return CheckFTPSite(site, TestConnection, ShowMessages ? &ShowVerificationMessage : ShowMessage());
}

void ShowVerificationMessage(const std::wstring& text, LONG flag) {
    ZNMsgBox(text, flag, BrandedText(kTitle));
}

}  // namespace modverification
