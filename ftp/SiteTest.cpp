// See SiteTest.h.
#include "ftp/SiteTest.h"

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/SystemError.h"
#include "common/FtpReply.h"
#include "common/Report.h"
#include "ftp/FtpConnection.h"
#include "packets/PacketName.h"
#include "services/Branding.h"

namespace {

// Branding resources
constexpr LONG kSessionNotOpened = 155;
constexpr LONG kNameNotResolved = 156;
constexpr LONG kLoginRefused = 157;
constexpr LONG kNotConnected = 158;
constexpr LONG kFolderNotCreated = 159;
constexpr LONG kFolderHasSlash = 160;

constexpr auto kFetchedFile = L"c:\\FromFTP.xml";

/// The setting that an error of a connection speaks of.
FtpSiteMember SettingOf(DWORD error) {
    switch (error) {
    case ERROR_INTERNET_NAME_NOT_RESOLVED:
    case ERROR_INTERNET_CANNOT_CONNECT:
    case ERROR_INTERNET_TIMEOUT:
        return &FtpSite::server;
    case ERROR_INTERNET_INCORRECT_PASSWORD:
    case ERROR_INTERNET_LOGIN_FAILURE:
        return &FtpSite::password;
    default:
        return nullptr;
    }
}

/// Why a site may not be reached although it is there; empty where nothing of that is known.
std::wstring ProxyHint(const std::wstring& proxy) {
    if (proxy.empty()) return {};
    return L"The Internet Options of Windows send FTP through the proxy " + proxy +
           L". Proxies that speak HTTP cannot carry it: name the server among their exceptions there.";
}

/// Whether a transfer failed for lack of a data connection, as far as its error tells.
bool LacksDataConnection(DWORD error) {
    switch (error) {
    case ERROR_INTERNET_TIMEOUT:
    case ERROR_INTERNET_CANNOT_CONNECT:
    case ERROR_INTERNET_CONNECTION_ABORTED:
    case ERROR_INTERNET_CONNECTION_RESET:
        return true;
    case ERROR_INTERNET_EXTENDED_ERROR: {
        const std::wstring code = ReplyCode(LastResponse());
        return code.empty() || code == L"425";
    }
    default:
        return false;
    }
}

/// What the server answered to the call that failed, without the ends of its lines.
std::wstring ServerAnswer() {
    std::wstring answer = LastResponse();
    while (answer.ends_with(L'\r') || answer.ends_with(L'\n'))
        answer.pop_back();
    return answer;
}

/// Empty; it is sent from the current folder.
void CreateTestFile() try {
    base::File::Open(kSiteTestFile, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
} catch (const base::SystemError& error) {
    throw base::Error(error.failure().number, L"The file " + FileSystem::FullPath(kSiteTestFile) +
                                                  L", which the test sends, cannot be written: " +
                                                  base::SystemText(error.Code()) +
                                                  L" Start the program from a folder that you may write to.");
}

class SiteTest {
public:
    explicit SiteTest(const FtpSite& site) : m_site(site) {}

    /// False leaves the fault.
    bool FTPConnect() try {
        return Connect() && HasNoSlash(&FtpSite::enterpriseToField) &&
               HasNoSlash(&FtpSite::fieldToEnterprise) && TestFolders();
    } catch (...) {
        return Failed(base::CurrentFailure().description);
    }

    SiteFault fault;

    /// Behind a site that works.
    std::wstring Report() const;

private:
    void Collect(const std::wstring& text) { fault.text = Lines(text, fault.text); }
    bool Failed(const std::wstring& text) {
        Collect(text);
        return false;
    }
    /// Of the last FTP call.
    bool CallFailed(const std::wstring& text) {
        const DWORD error = GetLastError();
        return Failed(Lines(text, CallFailure(error)));
    }
    bool PutFailed(const std::wstring& folder);

    bool Connect();
    bool HasNoSlash(FtpSiteMember folder);
    bool TestFolders();
    bool TestFTPGetandPutFile(FtpSiteMember folder);
    bool EnterOrCreate(const std::wstring& folder);

    const FtpSite& m_site;
    FtpConnection m_connection;
};

bool SiteTest::Connect() {
    if (!m_connection.OpenSession()) {
        const DWORD error = GetLastError();
        return Failed(Lines(BrandedText(kSessionNotOpened), ErrorText(error)));
    }
    if (m_connection.Connect(m_site)) return true;
    const DWORD error = GetLastError();
    fault.number = static_cast<LONG>(error);
    fault.setting = SettingOf(error);
    if (const std::wstring hint = ProxyHint(m_connection.Proxy()); !hint.empty()) Collect(hint);
    if (error == ERROR_INTERNET_NAME_NOT_RESOLVED) Collect(BrandedText(kNameNotResolved));
    if (error == ERROR_INTERNET_INCORRECT_PASSWORD) Collect(BrandedText(kLoginRefused));
    if (error == ERROR_SUCCESS) Collect(Lines(BrandedText(kNotConnected), ErrorText(error)));
    return false;
}

bool SiteTest::HasNoSlash(FtpSiteMember folder) {
    if ((m_site.*folder).find(L'/') == std::wstring::npos) return true;
    fault.setting = folder;
    return Failed(Lines(BrandedText(kFolderHasSlash), m_site.*folder));
}

bool SiteTest::TestFolders() {
    CreateTestFile();
    const std::string start = m_connection.CurrentFolder(260);
    if (!TestFTPGetandPutFile(&FtpSite::enterpriseToField)) return false;
    if (!m_connection.ReturnTo(start, m_site.enterpriseToField))
        return CallFailed(L"The first folder of the login cannot be entered again.");
    return TestFTPGetandPutFile(&FtpSite::fieldToEnterprise);
}

bool SiteTest::TestFTPGetandPutFile(FtpSiteMember setting) {
    const std::wstring& folder = m_site.*setting;
    fault.setting = setting;
    if (!EnterOrCreate(folder)) return false;
    if (!m_connection.Put(kSiteTestFile, kSiteTestFile, FTP_TRANSFER_TYPE_BINARY)) return PutFailed(folder);
    // Users without administrator's rights may not write to the fixed path, and their site is fine.
    if (!m_connection.Get(kSiteTestFile, kFetchedFile, FILE_ATTRIBUTE_NORMAL))
        CallFailed(L"The test file cannot be fetched from the folder " + folder + L" to " + kFetchedFile +
                   L".");
    if (!m_connection.Delete(kSiteTestFile))
        CallFailed(std::wstring(L"The test file ") + kSiteTestFile + L" stays in the folder " + folder +
                   L": it cannot be deleted.");
    fault.setting = nullptr;
    return true;
}

/// The first transfer comes right behind the login: what keeps it from its data connection keeps each.
bool SiteTest::PutFailed(const std::wstring& folder) {
    const DWORD error = GetLastError();
    const bool isBlocked = fault.setting == &FtpSite::enterpriseToField && LacksDataConnection(error);
    if (isBlocked)
        Collect(L"The login works, but no data came through. The server connects back to this computer for "
                L"that (active mode), from its port 20, and a firewall lets that through only if told: allow "
                L"this program incoming connections, here and on the way.");
    return Failed(Lines(L"The test file cannot be sent to the folder " + folder +
                            L". Check whether the user may write there.",
                        CallFailure(error)));
}

bool SiteTest::EnterOrCreate(const std::wstring& folder) {
    switch (m_connection.EnterOrCreate(folder)) {
    case FtpConnection::Entry::Entered:
        return true;
    case FtpConnection::Entry::Unanswered:
        return CallFailed(L"The folder " + folder + L" cannot be entered.");
    case FtpConnection::Entry::NotCreated:
        return Failed(Lines(BrandedText(kFolderNotCreated), folder));
    default:
        return CallFailed(L"The folder " + folder + L" was created, but cannot be entered.");
    }
}

std::wstring SiteTest::Report() const {
    std::wstring left = L"Test files left on this computer: " + FileSystem::FullPath(kSiteTestFile);
    if (FileSystem::FileExists(kFetchedFile)) left.append(L", ").append(kFetchedFile);
    if (fault.text.empty())
        return Lines(L"A test file was sent to both folders, fetched from there and deleted again.", left);
    return Lines(L"A test file was sent to both folders. But:", fault.text + left);
}

}  // namespace

std::wstring CallFailure(DWORD error) {
    if (error == ERROR_SUCCESS) return L"The system gives no reason.";
    if (error == ERROR_INTERNET_EXTENDED_ERROR) {
        std::wstring answer = ServerAnswer();
        if (!answer.empty()) return answer;
    }
    if (error < INTERNET_ERROR_BASE) return base::SystemText(error);
    // The system's own table lacks these.
    const std::wstring text = Quietly([&] { return BrandedText(static_cast<LONG>(error)); });
    return text.empty()
               ? L"The FTP connection failed with the internet error " + std::to_wstring(error) + L"."
               : text;
}

SiteTestResult TestSite(const FtpSite& site) {
    SiteTest test(site);
    if (test.FTPConnect()) return {.fault = std::nullopt, .report = test.Report()};
    return {.fault = std::move(test.fault), .report = {}};
}
