// See SiteTest.h.
#include "ftp/SiteTest.h"

#include "base/File.h"
#include "base/SystemError.h"
#include "common/Report.h"
#include "ftp/FtpConnection.h"
#include "services/Branding.h"

namespace {

// Branding resources
constexpr LONG kSessionNotOpened = 155;
constexpr LONG kNameNotResolved = 156;
constexpr LONG kLoginRefused = 157;
constexpr LONG kNotConnected = 158;
constexpr LONG kFolderNotCreated = 159;
constexpr LONG kFolderHasSlash = 160;

constexpr auto kTestFile = L"TestFtpConnection.txt";
constexpr auto kFetchedFile = L"c:\\FromFTP.xml";

/// What made the last FTP call fail.
std::wstring CallFailure() {
    const DWORD error = GetLastError();
    const std::wstring text = ErrorText(error);
    return error == ERROR_INTERNET_EXTENDED_ERROR ? Lines(LastResponse(), text) : text;
}

class SiteTest {
public:
    /// False leaves the fault.
    bool FTPConnect(const FtpSite& site) try {
        return Connect(site) && HasNoSlash(site.enterpriseToField) && HasNoSlash(site.fieldToEnterprise) &&
               TestFolders(site);
    } catch (...) {
        return Failed(base::CurrentFailure().description);
    }

    SiteFault fault;

private:
    void Collect(const std::wstring& text) { fault.text = Lines(text, fault.text); }
    bool Failed(const std::wstring& text) {
        Collect(text);
        return false;
    }

    bool Connect(const FtpSite& site);
    bool HasNoSlash(const std::wstring& folder);
    bool TestFolders(const FtpSite& site);
    bool TestFTPGetandPutFile(const std::wstring& folder);
    bool EnterOrCreate(const std::wstring& folder);

    FtpConnection m_connection;
};

bool SiteTest::Connect(const FtpSite& site) {
    if (!m_connection.OpenSession()) {
        const std::wstring failure = CallFailure();
        return Failed(Lines(BrandedText(kSessionNotOpened), failure));
    }
    if (m_connection.Connect(site)) return true;
    const DWORD error = GetLastError();
    fault.number = static_cast<LONG>(error);
    if (error == ERROR_INTERNET_NAME_NOT_RESOLVED) Collect(BrandedText(kNameNotResolved));
    if (error == ERROR_INTERNET_INCORRECT_PASSWORD) Collect(BrandedText(kLoginRefused));
    if (error == ERROR_SUCCESS) Collect(Lines(BrandedText(kNotConnected), ErrorText(error)));
    return false;
}

bool SiteTest::HasNoSlash(const std::wstring& folder) {
    return folder.find(L'/') == std::wstring::npos || Failed(Lines(BrandedText(kFolderHasSlash), folder));
}

bool SiteTest::TestFolders(const FtpSite& site) {
    base::File::Open(kTestFile, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
    const std::string start = m_connection.CurrentFolder();
    if (!TestFTPGetandPutFile(site.enterpriseToField)) return false;
    if (!m_connection.ReturnTo(start)) return Failed(CallFailure());
    return TestFTPGetandPutFile(site.fieldToEnterprise);
}

bool SiteTest::TestFTPGetandPutFile(const std::wstring& folder) {
    if (!EnterOrCreate(folder)) return false;
    if (!m_connection.Put(kTestFile, kTestFile, FTP_TRANSFER_TYPE_BINARY)) return Failed(CallFailure());
    // Users without administrator's rights may not write to the fixed path, and their site is fine.
    if (!m_connection.Get(kTestFile, kFetchedFile, FILE_ATTRIBUTE_NORMAL)) Collect(CallFailure());
    m_connection.Delete(kTestFile);
    return true;
}

bool SiteTest::EnterOrCreate(const std::wstring& folder) {
    switch (m_connection.EnterOrCreate(folder)) {
    case FtpConnection::Entry::Entered:
        return true;
    case FtpConnection::Entry::NotCreated:
        return Failed(Lines(BrandedText(kFolderNotCreated), folder));
    default:
        return Failed(CallFailure());
    }
}

}  // namespace

std::optional<SiteFault> TestSite(const FtpSite& site) {
    SiteTest test;
    return test.FTPConnect(site) ? std::nullopt : std::optional(std::move(test.fault));
}
