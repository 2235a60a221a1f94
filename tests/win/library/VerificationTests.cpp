// The check of an FTP site, before a scripted server.
#include <gmock/gmock.h>

#include "common/modMain.h"
#include "mobile/modverification.h"
#include "tests/win/support/CurrentFolder.h"
#include "tests/win/support/FtpScript.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

using testing::HasSubstr;

constexpr wchar_t kFetched[] = L"c:\\FromFTP.xml";

class VerificationTest : public testing::Test {
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
        const bool fine = modverification::CheckFTPSite(
            site, testConnection, [&](const std::wstring& text, LONG) { shown += text; });
        EXPECT_EQ(fine, shown.empty());
        return fine ? L"fine" : shown;
    }

    ComApartment apartment;
    Framework framework;
    FtpScript server;
    CurrentFolder current;
    FtpSite site{L"host", L"joe", L"secret", L"out", L"in"};
};

TEST_F(VerificationTest, TheFirstFaultOfTheSettingsIsNamed) {
    EXPECT_EQ(Check(false), L"fine");
    site = {L"host", L"joe", L"secret", L" out", L"out "};
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
    }
    EXPECT_EQ(server.transcript, "");
}

TEST_F(VerificationTest, AWorkingSiteGetsItsFoldersAndKeepsNoTestFile) {
    server.folders.insert("/in");
    EXPECT_EQ(Check(), L"fine");
    EXPECT_EQ(server.transcript, "Open Test Tool 0|Connect host 0 joe secret 1 0|"
                                 "SetFolder out|Create out|SetFolder out|"
                                 "Put TestFtpConnection.txt 2|Get TestFtpConnection.txt 0 128 0|"
                                 "Delete TestFtpConnection.txt|SetFolder /|"
                                 "SetFolder in|Put TestFtpConnection.txt 2|Get TestFtpConnection.txt 0 128 0|"
                                 "Delete TestFtpConnection.txt|Close 2|Close 1|");
    EXPECT_TRUE(server.files.empty());
    EXPECT_EQ(current.temp.Content(L"TestFtpConnection.txt"), "");
    EXPECT_NE(GetFileAttributesW(kFetched), INVALID_FILE_ATTRIBUTES);
}

TEST_F(VerificationTest, AFailedConnectionIsExplained) {
    for (const auto& [error, text] :
         {std::pair<DWORD, std::wstring>{ERROR_INTERNET_NAME_NOT_RESOLVED, L"<12007>\r\n\t<156>\r\n"},
          {ERROR_INTERNET_INCORRECT_PASSWORD, L"<12014>\r\n\t<157>\r\n"},
          {ERROR_SUCCESS, L"<158>\r\n" + ErrorText(0) + L"\r\n"},
          {ERROR_INTERNET_CANNOT_CONNECT, ErrorText(ERROR_INTERNET_CANNOT_CONNECT)}}) {
        server.Fail("Connect", {error});
        EXPECT_EQ(Check(), text);
    }
    EXPECT_THAT(framework.LogText(), HasSubstr(L"modverification.ReportError")) << "12029 has no text";
    server.Fail("Open", {ERROR_ACCESS_DENIED});
    EXPECT_EQ(Check(), L"<155>\r\n" + ErrorText(ERROR_ACCESS_DENIED) + L"\r\n");
}

TEST_F(VerificationTest, AFolderWithASlashIsRefusedBeforeAnythingIsSent) {
    site.fieldToEnterprise = L"in/deep";
    EXPECT_EQ(Check(), L"<160>\r\nin/deep\r\n");
    EXPECT_EQ(server.transcript, "Open Test Tool 0|Connect host 0 joe secret 1 0|Close 2|Close 1|");
}

TEST_F(VerificationTest, EachStepInAFolderIsExplained) {
    server.Fail("Create", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_EQ(Check(), L"<159>\r\nout\r\n");
    server.response = "553 Disk full.\r\n";
    server.Fail("Put", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_THAT(Check(), testing::StartsWith(L"553 Disk full.\r\n"));
    server.currentFolder = "/";
    server.Fail("SetFolder", {ERROR_SUCCESS, ERROR_SUCCESS});
    server.folders.erase("/out");
    EXPECT_EQ(Check(), ErrorText(ERROR_SUCCESS) + L"\r\n") << "created, but closed to the user";
}

TEST_F(VerificationTest, AFailedFetchDoesNotFailTheTest) {
    server.Fail("Get", {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED});
    EXPECT_EQ(Check(), L"fine");
    EXPECT_TRUE(server.files.empty());
}

TEST_F(VerificationTest, UnattendedItBlocksNobodyAndLogsTheMessage) {
    EXPECT_FALSE(modverification::VerifyFTPSite(L"host", L"", L"secret", L"out", L"in", true, true));
    EXPECT_THAT(framework.LogText(),
                HasSubstr(L"modverification.ReportError\r\nAttempted to raise a messagebox"));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Message: <151>"));
    framework.log.clear();
    EXPECT_FALSE(modverification::VerifyFTPSite(L"host", L"", L"secret", L"out", L"in", true, false));
    EXPECT_EQ(framework.LogText(), L"");
}

}  // namespace
}  // namespace tests
