// The check of an FTP site, before a scripted server.
#include "common/modMain.h"
#include "mobile/modverification.h"
#include "tests/win/support/CurrentFolder.h"
#include "tests/win/support/FtpScript.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

constexpr wchar_t kFetched[] = L"c:\\FromFTP.xml";

class VerificationTest : public PartTest {
protected:
    VerificationTest() {
        for (const LONG number :
             {131, 150, 151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 162, 12007, 12014})
            framework.resources[number] = L"<" + std::to_wstring(number) + L">";
        Main();
    }
    ~VerificationTest() override { DeleteFileW(kFetched); }

    /// What is shown about the site; "fine" when nothing is.
    std::wstring Check(bool testConnection = true) {
        std::wstring shown;
        toBlame = nullptr;
        const auto show = [&](const std::wstring& text, FtpSiteMember setting) {
            EXPECT_THAT(server.open, IsEmpty()) << "no server waits for the user";
            shown += text;
            toBlame = setting;
        };
        const bool fine = modverification::VerifyFTPSite(site, testConnection, show, &report);
        EXPECT_EQ(fine, shown.empty());
        EXPECT_THAT(server.open, IsEmpty());
        server.currentFolder = "/";
        return fine ? L"fine" : shown;
    }

    FtpScript server;
    CurrentFolder current;
    FtpSite site{L"host", L"joe", L"secret", L"out", L"in"};
    FtpSiteMember toBlame = nullptr;
    std::wstring report;
};

TEST_F(VerificationTest, TheFirstFaultOfTheSettingsIsNamed) {
    EXPECT_EQ(Check(false), L"fine");
    site.enterpriseToField = L" out";
    site.fieldToEnterprise = L"out ";
    EXPECT_EQ(Check(false), L"<162>\r\n");
    site.fieldToEnterprise = L"OUT";
    EXPECT_EQ(Check(false), L"fine");
    for (const auto& [setting, message] : {std::pair{&FtpSite::fieldToEnterprise, L"<154>\r\n"},
                                           {&FtpSite::enterpriseToField, L"<153>\r\n"},
                                           {&FtpSite::password, L"<152>\r\n"},
                                           {&FtpSite::user, L"<151>\r\n"},
                                           {&FtpSite::server, L"<150>\r\n"}}) {
        site.*setting = L"  ";
        EXPECT_EQ(Check(), message);
        EXPECT_EQ(toBlame, setting);
    }
    site = {L"host", L"joe", L"secret", L"out", L" .."};
    EXPECT_EQ(Check(false), L"fine");
    EXPECT_THAT(Check(), StartsWith(L"The field-to-enterprise folder must not be"));
    EXPECT_EQ(toBlame, &FtpSite::fieldToEnterprise);
    site.fieldToEnterprise = L"in\r\nDELE x";
    EXPECT_THAT(Check(false), StartsWith(L"The field-to-enterprise folder holds a control character"));
    EXPECT_THAT(server.logins, IsEmpty());
}

TEST_F(VerificationTest, AWorkingSiteGetsItsFoldersAndKeepsNoTestFile) {
    server.folders.insert("/in");
    int files = 0;
    server.afterPut = [&] { files += static_cast<int>(server.files.size()); };
    EXPECT_EQ(Check(), L"fine");
    EXPECT_EQ(files, 2) << "one in each folder";
    EXPECT_THAT(server.folders, ElementsAre("/", "/in", "/out"));
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@host"));
    EXPECT_EQ(current.temp.Content(L"TestFtpConnection.txt"), "");
    EXPECT_NE(GetFileAttributesW(kFetched), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(report, L"A test file was sent to both folders, fetched from there and deleted again.\r\n"
                      L"Test files left on this computer: " +
                          current.temp.Path() + L"\\TestFtpConnection.txt, c:\\FromFTP.xml");
    server.Fail("Get", {ERROR_ACCESS_DENIED});
    server.Fail("Delete", {ERROR_ACCESS_DENIED});
    EXPECT_EQ(Check(), L"fine") << "a file that cannot be fetched or deleted does not fail the test";
    EXPECT_THAT(
        report,
        AllOf(StartsWith(L"A test file was sent to both folders. But:\r\n"),
              HasSubstr(L"cannot be fetched from the folder out to c:\\FromFTP.xml.\r\n"),
              HasSubstr(L"TestFtpConnection.txt stays in the folder out: it cannot be deleted.\r\n")));
}

TEST_F(VerificationTest, AFailedConnectionIsExplained) {
    for (const auto& [error, text, setting] :
         {std::tuple<DWORD, std::wstring, FtpSiteMember>{ERROR_INTERNET_NAME_NOT_RESOLVED,
                                                         L"<12007>\r\n\t<156>\r\n", &FtpSite::server},
          {ERROR_INTERNET_INCORRECT_PASSWORD, L"<12014>\r\n\t<157>\r\n", &FtpSite::password},
          {ERROR_SUCCESS, L"<158>\r\n" + ErrorText(0) + L"\r\n", nullptr},
          {ERROR_INTERNET_CANNOT_CONNECT, L"The FTP connection failed with the internet error 12029.",
           &FtpSite::server}}) {
        server.Fail("Connect", {error});
        EXPECT_EQ(Check(), text);
        EXPECT_EQ(toBlame, setting);
    }
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"modverification.ReportError")) << "12029 has no text";
    server.Fail("Open", {ERROR_ACCESS_DENIED});
    EXPECT_EQ(Check(), L"<155>\r\n" + ErrorText(ERROR_ACCESS_DENIED) + L"\r\n");
}

TEST_F(VerificationTest, AProxyForFtpIsNamedWhereTheServerIsNotReached) {
    const auto failure = [&](const wchar_t* proxies) {
        server.proxies = proxies;
        server.Fail("Connect", {ERROR_INTERNET_NAME_NOT_RESOLVED});
        return Check();
    };
    for (const wchar_t* proxies : {L"", L"http=web:80", L"https=web:80;socks=b:1"})
        EXPECT_EQ(failure(proxies), L"<12007>\r\n\t<156>\r\n") << proxies;
    for (const wchar_t* proxies : {L"web:80", L"http=a:1 FTP=web:80", L"http=a:1; web:80"})
        EXPECT_THAT(failure(proxies), AllOf(StartsWith(L"<12007>\r\n\t<156>\r\nThe Internet Options"),
                                            HasSubstr(L" the proxy web:80. ")));
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    EXPECT_THAT(Check(), HasSubstr(L"internet error 12029.\r\n\tThe Internet Options"));
    EXPECT_EQ(Check(), L"fine") << "one that the server is an exception of";
    EXPECT_THAT(framework.TakeLog(), SizeIs(1)) << "12029 has no text";
}

TEST_F(VerificationTest, AFirewallIsNamedWhereNoDataConnectionComesIn) {
    const auto text = HasSubstr(L"a firewall lets that through only if told");
    const auto failure = [&](DWORD error, const char* reply = "") {
        server.response = reply;
        server.Fail("Put", {error});
        return Check();
    };
    constexpr DWORD kReply = ERROR_INTERNET_EXTENDED_ERROR;
    for (const DWORD error : {DWORD{ERROR_INTERNET_TIMEOUT}, DWORD{ERROR_INTERNET_CANNOT_CONNECT},
                              DWORD{ERROR_INTERNET_CONNECTION_ABORTED}, kReply})
        EXPECT_THAT(failure(error), AllOf(StartsWith(L"The test file cannot be sent"), text)) << error;
    EXPECT_THAT(failure(kReply, "425 Cannot open data connection."), text);
    EXPECT_THAT(failure(kReply, "553 Disk full."), Not(text));
    EXPECT_THAT(failure(ERROR_ACCESS_DENIED), Not(text));
    server.afterPut = [&] { server.Fail("Put", {ERROR_INTERNET_TIMEOUT}); };
    EXPECT_THAT(Check(), AllOf(StartsWith(L"The test file cannot be sent"), Not(text)))
        << "the first folder took a file";
}

TEST_F(VerificationTest, EachStepInAFolderIsExplained) {
    server.Fail("Create", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_EQ(Check(), L"<159>\r\nout\r\n");
    EXPECT_EQ(toBlame, &FtpSite::enterpriseToField);
    server.currentFolder = "/" + std::string(258, 'x');
    server.folders.insert(server.currentFolder);
    EXPECT_EQ(Check(), L"fine") << "as long as a folder can be";
    server.Fail("SetFolder", {ERROR_INTERNET_TIMEOUT});
    EXPECT_EQ(Check(), L"The folder out cannot be entered.\r\n"
                       L"The FTP connection failed with the internet error 12002.\r\n");
    server.Fail("SetFolder", {ERROR_SUCCESS, ERROR_SUCCESS});
    EXPECT_EQ(Check(),
              L"The folder out was created, but cannot be entered.\r\nThe system gives no reason.\r\n");
    const std::wstring refused =
        L"The test file cannot be sent to the folder out. Check whether the user may write there.\r\n";
    server.response = "553 Disk full.\r\n";
    server.Fail("Put", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_EQ(Check(), refused + L"553 Disk full.\r\n");
    EXPECT_EQ(toBlame, &FtpSite::enterpriseToField);
    framework.resources[ERROR_FTP_TRANSFER_IN_PROGRESS] = L"<12110>";
    server.Fail("Put", {ERROR_FTP_TRANSFER_IN_PROGRESS});
    EXPECT_EQ(Check(), refused + L"<12110>\r\n");
    server.Fail("GetFolder", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_EQ(Check(), L"fine") << "from a folder whose name the server does not tell";
    server.afterPut = [&] { server.Fail("SetFolder", {ERROR_INTERNET_TIMEOUT, ERROR_INTERNET_TIMEOUT}); };
    EXPECT_EQ(Check(), L"The first folder of the login cannot be entered again.\r\n"
                       L"The FTP connection failed with the internet error 12002.\r\n");
    server.afterPut = [] {};
    DeleteFileW(L"TestFtpConnection.txt");
    ASSERT_TRUE(CreateDirectoryW(L"TestFtpConnection.txt", nullptr)) << "in the place of the test file";
    EXPECT_THAT(Check(),
                AllOf(StartsWith(L"The file "), HasSubstr(L"\\TestFtpConnection.txt, which the test sends, "
                                                          L"cannot be written: ")));
    RemoveDirectoryW(L"TestFtpConnection.txt");
    server.folders.clear();
    site.fieldToEnterprise = L"in/deep";
    EXPECT_EQ(Check(), L"<160>\r\nin/deep\r\n");
    EXPECT_THAT(server.folders, IsEmpty()) << "refused before anything is sent";
}

TEST_F(VerificationTest, UnattendedItBlocksNobodyAndLogsTheMessage) {
    site.user.clear();
    const auto show = [](const std::wstring& text, FtpSiteMember) {
        modverification::ShowVerificationMessage(text);
    };
    EXPECT_FALSE(modverification::VerifyFTPSite(site, true, show));
    EXPECT_THAT(framework.TakeLog(), ElementsAre(Reported(L"modverification.ReportError",
                                                          L"Attempted to raise a messagebox and a user "
                                                          L"interface is not supported.\r\n")));
    EXPECT_FALSE(modverification::VerifyFTPSite(site, true, {}));
    try {
        modverification::ShowVerificationMessage(std::wstring(5000, L'x'));
        FAIL() << "a message box without a user interface";
    } catch (const base::Error& error) {
        EXPECT_GT(error.failure().description.size(), 5000u) << "nothing is kept from the log";
    }
}

}  // namespace
}  // namespace tests
