// The FTP sender/receiver's connection, settings and administration.
#include <msxml2.h>

#include "common/Apartment.h"
#include "ftp/settings/FtpPassword.h"
#include "tests/win/library/FtpTest.h"
#include "tests/win/support/Library.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class FtpSessionTest : public FtpTest {
protected:
    FtpSessionTest() { Configure(); }

    std::wstring PromptReport(const std::wstring& text) {
        return Report(L"InternalOpenConnection",
                      L"The host allows no user interface, so nobody can be asked for the FTP login. " +
                          text);
    }
};

TEST_F(FtpSessionTest, AConnectionIsTheHostsUntilItEndsIt) {
    EXPECT_TRUE(Connect());
    EXPECT_TRUE(Connect());
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@host")) << "once";
    EXPECT_TRUE(Disconnect());
    EXPECT_THAT(server.open, IsEmpty());
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver2::Disconnect, remote2.Get())) << "twice is harmless";
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver2::Connect, remote2.Get()));
    Renew();
    EXPECT_EQ(server.open.size(), 2u) << "the end of the object does not end the connection";
}

TEST_F(FtpSessionTest, AFailedConnectionSaysWhatIsKnownAndLeavesNothingOpen) {
    SuppressMessages();
    const auto reportFor = [&](const char* function, DWORD error) {
        server.Fail(function, {error});
        EXPECT_FALSE(Connect());
        EXPECT_THAT(server.open, IsEmpty());
        return Reported();
    };
    const std::wstring text = L"Could not connect to the FTP server: ";
    EXPECT_EQ(reportFor("Connect", ERROR_SUCCESS),
              Report(L"DoConnection", text + ErrorText(0), L"Server name: host", L"User name: joe"));
    EXPECT_EQ(reportFor("Connect", ERROR_INTERNET_NAME_NOT_RESOLVED),
              Report(L"DoConnection", text + L"Check server name"));
    EXPECT_EQ(reportFor("Connect", ERROR_INTERNET_INCORRECT_PASSWORD),
              Report(L"DoConnection", text + L"Check user or password"));
    EXPECT_EQ(reportFor("Connect", ERROR_INTERNET_CANNOT_CONNECT), L"");
    EXPECT_EQ(reportFor("Open", ERROR_OUTOFMEMORY),
              Report(L"DoConnection",
                     L"Could not Initialize Internet connection: " + ErrorText(ERROR_OUTOFMEMORY)));
    EXPECT_TRUE(Connect());
}

TEST_F(FtpSessionTest, APasswordThatCannotTravelIsNotTold) {
    Init({{L"FTPPassword", L"secret\u0100"}});
    EXPECT_FALSE(Connect());
    const std::wstring text = Reported();
    EXPECT_THAT(text, HasSubstr(L"The FTP password has a character that is not in the system's"));
    EXPECT_THAT(text, testing::Not(HasSubstr(L"secret")));
    EXPECT_THAT(server.open, IsEmpty());
}

TEST_F(FtpSessionTest, NobodyIsAskedWithoutUserInterface) {
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    EXPECT_FALSE(Send()) << "nothing to send, but the server is asked for";
    EXPECT_EQ(Reported(),
              PromptReport(L"There is no connection as user joe to the FTP server host: check the "
                           L"server, the user and the password."));
    Init({{L"FTPUser", L""}});
    EXPECT_FALSE(Connect());
    EXPECT_EQ(Reported(), PromptReport(L"Set the FTP server, user and password."));
    EXPECT_FALSE(LoginCancelled());
}

TEST_F(FtpSessionTest, EmptyFoldersAreReported) {
    Init({{L"RemoteSendFolder", L""}, {L"RemoteReceiveFolder", L""}});
    EXPECT_FALSE(Send());
    const std::wstring send = L"one or more of the Send folders are not set";
    EXPECT_THAT(Reported(), EndsWith(Report(L"IZNSenderReceiver_Send", send)));
    EXPECT_EQ(progress->transcript, L"message 1 " + send + L"|");
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(),
              Report(L"IZNSenderReceiver_Receive", L"one or more of the Receive folders is not set"));
    EXPECT_THAT(server.logins, IsEmpty());
}

class FtpSettingsTest : public FtpTest {};

TEST_F(FtpSettingsTest, FieldAndEnterpriseTakeOppositeFolders) {
    framework.folders = {{L"F/FTPServer", L"field server"},     {L"E/FTPServer", L"enterprise server"},
                         {L"F/Outgoing", L"F:\\out"},           {L"F/Incoming", L"F:\\in"},
                         {L"E/Outgoing", L"E:\\out"},           {L"E/Incoming", L"E:\\in"},
                         {L"F/FTPFieldToEnterprise", L"F f2e"}, {L"F/FTPEnterpriseToField", L"F e2f"},
                         {L"E/FTPFieldToEnterprise", L"E f2e"}, {L"E/FTPEnterpriseToField", L"E e2f"}};
    PropSet({{L"MOBILE", L"TRUE"}});
    EXPECT_THAT(Reported(),
                StartsWith(Report(L"IZNSenderReceiver2_PropSet", L"The folder locator is missing: "
                                                                 L"set ApplicationName before")));
    IZNPropertySet* const none = nullptr;
    EXPECT_FALSE(com::Get<bool>(&IZNSenderReceiver::Init, remote.Get(), none));
    EXPECT_THAT(Reported(), StartsWith(Report(L"IZNSenderReceiver_Init", L"")));
    NameApplication();
    EXPECT_EQ(com::Get<std::wstring>(&IZNSenderReceiver2::get_ApplicationName, remote2.Get()), L"App");
    PropSet({{L"MOBILE", L""}});
    EXPECT_EQ(PropSet(), L"FTP_SERVER=field server\nFTP_USER=\nFTP_PASSWORD=\nMOBILE=TRUE\n"
                         L"LOCAL_SEND_FOLDER=F:\\out\nLOCAL_RECEIVE_FOLDER=F:\\in\n"
                         L"REMOTE_RECEIVE_FOLDER=F e2f\nREMOTE_SEND_FOLDER=F f2e\n");
    Init({{L"FTPPassword", L"plain"}, {L"ftpuser", L"wrong case"}, {L"remotesendfolder", L"too"}});
    PropSet({{L"MOBILE", L"false"}, {L"REMOTE_SEND_FOLDER", L"own"}});
    EXPECT_EQ(PropSet(), L"FTP_SERVER=enterprise server\nFTP_USER=\nFTP_PASSWORD=plain\nMOBILE=FALSE\n"
                         L"LOCAL_SEND_FOLDER=E:\\out\nLOCAL_RECEIVE_FOLDER=E:\\in\n"
                         L"REMOTE_RECEIVE_FOLDER=E f2e\nREMOTE_SEND_FOLDER=own\n");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpSettingsTest, MissingValuesAreReadOnceBeforeTheFirstConnection) {
    NameApplication();
    PropSet({{L"MOBILE", L"TRUE"}});
    framework.folders = {{L"E/FTPServer", L"stored"}, {L"E/FTPUser", L"joe"}, {L"F/FTPUser", L"ann"}};
    framework.registry[L"13/Transport/RemoteSendFolder"] = L"registry in";
    framework.registry[L"13/Transport/RemoteReceiveFolder"] = L"registry out";
    Init({{L"FTPServer", L"given"}, {L"RemoteSendFolder", L"given in"}, {L"FTPPassword", L"secret"}});
    EXPECT_TRUE(Connect());
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@given"));
    EXPECT_THAT(PropSet(), HasSubstr(L"REMOTE_RECEIVE_FOLDER=registry out\nREMOTE_SEND_FOLDER=given in\n"));
    Disconnect();
    Init({{L"FTPUser", L""}});
    EXPECT_FALSE(Connect()) << "a value that was cleared is not read again";
}

TEST_F(FtpSettingsTest, OptionsNeedNoApplicationName) {
    ThisApartment().commandLine = com::Make<clsCmdLine>();
    ThisApartment().commandLine->Parse(std::wstring_view(L"/FTPServer=typed /FTPUser=joe"));
    Init({{L"FTPPassword", L"secret"}});
    EXPECT_TRUE(Connect());
    EXPECT_EQ(Reported(), L"");
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@typed"));
}

TEST_F(FtpSettingsTest, TheStoredPasswordIsDeciphered) {
    for (const std::wstring& stored :
         {FtpPassword::Encipher(L"secret"), FtpPassword::EncipherBytes(L"secret")}) {
        framework.folders = {{L"F/FTPServer", L"host"}, {L"F/FTPUser", L"joe"}, {L"F/FTPPassword", stored}};
        Renew();
        NameApplication();
        EXPECT_TRUE(Connect());
        EXPECT_EQ(server.logins.back(), "Test Tool: joe:secret@host");
    }
}

class FtpAdministrationTest : public FtpTest {};

TEST_F(FtpAdministrationTest, NameCategoryAndOrderOfCalls) {
    framework.resources[130] = L"FTP transfer";
    EXPECT_EQ(Name(), L"FTP transfer");
    EXPECT_TRUE(HasProperties());
    EXPECT_EQ(Category(), L"{category 135}");
    ComPtr<IZNMobileAdminPropertiesEx> none;
    EXPECT_EQ(remote.As(&none), E_NOINTERFACE);
    EXPECT_EQ(Execute(), nullptr);
    EXPECT_EQ(Reported(), Report(L"IZNMobileAdminProperties_Execute: ",
                                 L"Please Initialize IZNMobileAdminProperties before calling Execute."));
}

TEST_F(FtpAdministrationTest, SettingsComeFromTheRegistryOrFromADocument) {
    EXPECT_EQ(Initialize(nullptr), nullptr) << "nothing is configured";
    const auto names = {L"FTPServer", L"FTPUser", L"FTPPassword", L"FTPEnterpriseToField",
                        L"FTPFieldtoEnterprise"};
    for (const std::wstring name : names)
        framework.registry[L"13/Transport/" + name] = L"my " + name;
    const ComPtr<IUnknown> element = Initialize(nullptr);
    framework.registry.clear();
    for (const ComPtr<IUnknown>& result : {element, Initialize(element.Get())}) {
        ASSERT_NE(result, nullptr);
        ComPtr<IXMLDOMNode> node;
        ASSERT_EQ(result->QueryInterface(IID_IXMLDOMNode, &node), S_OK);
        const auto text = com::Get<std::wstring>(&IXMLDOMNode::get_xml, node.Get());
        EXPECT_THAT(text, StartsWith(L"<MOBILECONFIGURATIONROOT>"));
        for (const std::wstring name : names)
            EXPECT_THAT(text, HasSubstr(L"KeyName=\"" + name + L"\" KeyValue=\"my " + name + L"\""));
    }
    EXPECT_EQ(Reported(), L"");
}

class FtpFile : public LibraryTest {};

TEST_F(FtpFile, KeepsANameAndAttributes) {
    const auto file = Create<clsFTPFile, _clsFTPFile>();
    const auto name = [&] { return com::Get<std::wstring>(&_clsFTPFile::get_sFileName, file.Get()); };
    const auto attributes = [&] { return com::Get<LONG>(&_clsFTPFile::get_lAttributes, file.Get()); };
    EXPECT_EQ(name(), L"");
    EXPECT_EQ(attributes(), 0);
    file->put_sFileName(com::Bstr(L"a.mdb").Get());
    file->put_lAttributes(FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(name(), L"a.mdb");
    EXPECT_EQ(attributes(), FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace
}  // namespace tests
