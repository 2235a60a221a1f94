// The FTP sender/receiver's connection, settings and administration.
#include <msxml2.h>

#include "common/Apartment.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/FtpPassword.h"
#include "tests/win/library/FtpTest.h"
#include "tests/win/support/CurrentFolder.h"

namespace tests {
namespace {

class FtpSessionTest : public FtpTest {
protected:
    FtpSessionTest() { Configure(); }
};

TEST_F(FtpSessionTest, AConnectionIsTheHostsUntilItEndsIt) {
    EXPECT_TRUE(Connect());
    EXPECT_TRUE(Connect());
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@host")) << "once";
    EXPECT_TRUE(Disconnect());
    EXPECT_THAT(server.open, IsEmpty());
    framework.resources[145] = L"\u0100 Tool";
    ReleaseThisApartment();  // as when the thread leaves COM
    EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver2::Disconnect, remote2)) << "twice is harmless";
    EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver2::Connect, remote2));
    EXPECT_EQ(server.logins.back(), "? Tool: joe:secret@host") << "in the apartment that began anew";
    Renew();
    EXPECT_EQ(server.open.size(), 2u) << "the end of the object does not end the connection";
}

TEST_F(FtpSessionTest, NoServerIsWaitedForWithoutEnd) {
    server.Fail("SetOption", {ERROR_INTERNET_INVALID_OPTION});
    EXPECT_TRUE(Connect()) << "also where the system does not know a limit";
    EXPECT_THAT(server.options, ElementsAre(Pair(INTERNET_OPTION_CONNECT_TIMEOUT, 30'000),
                                            Pair(INTERNET_OPTION_CONTROL_SEND_TIMEOUT, 60'000),
                                            Pair(INTERNET_OPTION_CONTROL_RECEIVE_TIMEOUT, 120'000),
                                            Pair(INTERNET_OPTION_DATA_SEND_TIMEOUT, 120'000),
                                            Pair(INTERNET_OPTION_DATA_RECEIVE_TIMEOUT, 120'000)));
}

TEST_F(FtpSessionTest, AFailedConnectionSaysWhatIsKnownAndLeavesNothingOpen) {
    SuppressMessages();
    const auto reportsFor = [&](const char* function, DWORD error) {
        server.Fail(function, {error});
        const auto reports = FailToConnect();
        EXPECT_THAT(server.open, IsEmpty());
        return reports;
    };
    const std::wstring text = L"Could not connect to the FTP server: ";
    EXPECT_THAT(
        reportsFor("Connect", ERROR_SUCCESS),
        OneFtpReport(L"DoConnection", text + ErrorText(0) + L"\r\nServer name: host\r\nUser name: joe"));
    EXPECT_THAT(reportsFor("Connect", ERROR_INTERNET_NAME_NOT_RESOLVED),
                OneFtpReport(L"DoConnection", text + L"Check server name"));
    EXPECT_THAT(reportsFor("Connect", ERROR_INTERNET_INCORRECT_PASSWORD),
                OneFtpReport(L"DoConnection", text + L"Check user or password"));
    EXPECT_THAT(reportsFor("Connect", ERROR_INTERNET_CANNOT_CONNECT), IsEmpty());
    EXPECT_THAT(reportsFor("Open", 5),
                OneFtpReport(L"DoConnection", L"Could not Initialize Internet connection: " + ErrorText(5)));
    EXPECT_TRUE(Connect());
}

TEST_F(FtpSessionTest, APasswordThatCannotTravelIsNotTold) {
    for (const wchar_t* password : {L"secret\u0100", L"secret\r\nDELE x"}) {
        Init({{L"FTPPassword", password}});
        EXPECT_FALSE(Connect());
        EXPECT_THAT(framework.TakeLogText(), AllOf(HasSubstr(L"The FTP password has a character that is not"),
                                                   Not(HasSubstr(L"secret"))));
        EXPECT_THAT(server.open, IsEmpty());
        EXPECT_THAT(server.logins, IsEmpty());
    }
}

TEST_F(FtpSessionTest, TheEndOfALineInANameIsNoFurtherCommand) {
    temp.File(L"send\\a.mdb");
    Init({{L"RemoteSendFolder", L"in\r\nDELE x"}, {L"RemoteReceiveFolder", L"out\tx"}});
    EXPECT_FALSE(Send());
    EXPECT_TRUE(Receive()) << "as from a folder that is not there";
    EXPECT_THAT(progress->transcript, HasSubstr(L"out\tx/: a control character")) << "but it is told";
    EXPECT_THAT(server.folders, ElementsAre("/"));
    EXPECT_THAT(framework.TakeLogText(),
                AllOf(HasSubstr(L"SetRemoteFolder\r\nin\r\nDELE x: a control character"),
                      HasSubstr(L"SetRemoteFolder\r\nout\tx/: a control character")));
}

TEST_F(FtpSessionTest, NobodyIsAskedWithoutUserInterface) {
    const std::wstring text =
        L"The host allows no user interface, so nobody can be asked for the FTP login. ";
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    EXPECT_THAT(FailToSend(),
                OneFtpReport(L"InternalOpenConnection",
                             text + L"There is no connection as user joe to the FTP server host: "
                                    L"check the server, the user and the password."))
        << "nothing to send, but the server is asked for";
    Init({{L"FTPUser", L""}});
    EXPECT_THAT(FailToConnect(),
                OneFtpReport(L"InternalOpenConnection", text + L"Set the FTP server, user and password."));
    EXPECT_FALSE(LoginCancelled());
}

TEST_F(FtpSessionTest, EmptyFoldersAreReported) {
    NameApplication();
    Init({{L"RemoteSendFolder", L""}, {L"RemoteReceiveFolder", L""}});
    EXPECT_THAT(FailToSend(),
                OneFtpReport(L"IZNSenderReceiver_Send", L"one or more of the Send folders are not set"));
    EXPECT_EQ(progress->transcript, L"message 1 one or more of the Send folders are not set|");
    EXPECT_THAT(FailToReceive(),
                OneFtpReport(L"IZNSenderReceiver_Receive", L"one or more of the Receive folders is not set"));
    EXPECT_THAT(server.logins, IsEmpty());
}

class FtpSettingsTest : public FtpTest {};

TEST_F(FtpSettingsTest, FieldAndEnterpriseTakeOppositeFolders) {
    for (const std::wstring side : {L"F", L"E"})
        for (const std::wstring kind :
             {L"FTPServer", L"Outgoing", L"Incoming", L"FTPFieldToEnterprise", L"FTPEnterpriseToField"})
            framework.folders[side + L"/" + kind] = side + L" " + kind;
    PropSet({{L"MOBILE", L"TRUE"}});
    EXPECT_FALSE(Ask<bool>(&IZNSenderReceiver::Init, remote, static_cast<IZNPropertySet*>(nullptr)));
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(Reported(L"clsFTPSndRcv.cls.IZNSenderReceiver2_PropSet",
                             L"The folder locator is missing: set ApplicationName first.\r\n"),
                    Reported(L"clsFTPSndRcv.cls.IZNSenderReceiver_Init", L"There is no property set.\r\n")));
    NameApplication();
    EXPECT_EQ(Ask<std::wstring>(&IZNSenderReceiver2::get_ApplicationName, remote2), L"App");
    PropSet({{L"MOBILE", L""}});
    EXPECT_EQ(PropSet(), L"FTP_SERVER=F FTPServer\nFTP_USER=\nFTP_PASSWORD=\nMOBILE=TRUE\n"
                         L"LOCAL_SEND_FOLDER=F Outgoing\nLOCAL_RECEIVE_FOLDER=F Incoming\n"
                         L"REMOTE_RECEIVE_FOLDER=F FTPEnterpriseToField\n"
                         L"REMOTE_SEND_FOLDER=F FTPFieldToEnterprise\n");
    Init({{L"FTPPassword", L"plain"}, {L"ftpuser", L"wrong case"}, {L"remotesendfolder", L"too"}});
    PropSet({{L"MOBILE", L"false"}, {L"REMOTE_SEND_FOLDER", L"own"}});
    EXPECT_EQ(PropSet(), L"FTP_SERVER=E FTPServer\nFTP_USER=\nFTP_PASSWORD=plain\nMOBILE=FALSE\n"
                         L"LOCAL_SEND_FOLDER=E Outgoing\nLOCAL_RECEIVE_FOLDER=E Incoming\n"
                         L"REMOTE_RECEIVE_FOLDER=E FTPFieldToEnterprise\nREMOTE_SEND_FOLDER=own\n");
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
    EXPECT_THAT(PropSet(), EndsWith(L"REMOTE_RECEIVE_FOLDER=registry out\nREMOTE_SEND_FOLDER=given in\n"));
    Disconnect();
    Init({{L"FTPUser", L""}});
    EXPECT_THAT(FailToConnect(), SizeIs(1)) << "a value that was cleared is not read again";
}

TEST_F(FtpSettingsTest, MissingValuesAreReadBeforeATransferOrATest) {
    const CurrentFolder current;
    server.folders.insert({"/in", "/out"});
    for (const bool transfers : {true, false}) {
        Renew();
        NameApplication();
        framework.registry[L"13/Transport/RemoteSendFolder"] = L"in";
        framework.registry[L"13/Transport/RemoteReceiveFolder"] = L"out";
        Init({{L"FTPServer", L"host"}, {L"FTPUser", L"joe"}, {L"FTPPassword", L"secret"}});
        SendFrom(temp.Folder(L"send"));
        temp.File(L"send\\a.mdb", "1");
        if (transfers)
            EXPECT_TRUE(Send());
        else
            EXPECT_EQ(Ask<std::wstring>(&_clsFTPSndRcv::VerifyFTPSite, com::As<_clsFTPSndRcv>(remote.Get())),
                      L"");
    }
    EXPECT_THAT(server.files, ElementsAre(Pair("/in/a.mdb", "1")));
}

TEST_F(FtpSettingsTest, OptionsNeedNoApplicationName) {
    ThisApartment().commandLine = com::Make<clsCmdLine>();
    ThisApartment().commandLine->Parse(std::wstring_view(L"/FTPServer=typed /FTPUser=joe"));
    Init({{L"FTPPassword", L"secret"}});
    EXPECT_TRUE(Connect());
    EXPECT_THAT(server.logins, ElementsAre("Test Tool: joe:secret@typed"));
    Renew();
    ThisApartment().commandLine = com::Make<clsCmdLine>();
    framework.registry[L"13/Transport/RemoteSendFolder"] = L"in";
    Init({{L"FTPServer", L"host"}});
    EXPECT_FALSE(Connect());
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"set ApplicationName first."));
    EXPECT_THAT(PropSet(), HasSubstr(L"REMOTE_SEND_FOLDER=in\n")) << "nor do the folders";
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
    framework.folders[L"F/FTPPassword"] = std::wstring(64, L'A');
    Renew();
    NameApplication();
    EXPECT_THAT(FailToConnect(),
                Contains(Reported(L"clsFTPSndRcv.cls.ProcessParameters",
                                  L"The stored FTP password cannot be deciphered, so that it counts "
                                  L"as missing. Save the login anew in the login prompt or in the "
                                  L"FTP properties.")));
}

class FtpAdministrationTest : public FtpTest {};

TEST_F(FtpAdministrationTest, NameCategoryAndOrderOfCalls) {
    framework.resources[130] = L"FTP transfer";
    EXPECT_EQ(Administration(remote), L"FTP transfer in {category 135} with properties");
    ComPtr<IZNMobileAdminPropertiesEx> none;
    EXPECT_EQ(remote.As(&none), E_NOINTERFACE);
    EXPECT_EQ(Execute(), nullptr);
    EXPECT_THAT(framework.TakeLog(),
                OneFtpReport(L"IZNMobileAdminProperties_Execute: ",
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
        const auto text = Ask<std::wstring>(&IXMLDOMNode::get_xml, node);
        EXPECT_THAT(text, StartsWith(L"<MOBILECONFIGURATIONROOT>"));
        for (const std::wstring name : names)
            EXPECT_THAT(text, HasSubstr(L"KeyName=\"" + name + L"\" KeyValue=\"my " + name + L"\""));
    }
}

TEST_F(FtpAdministrationTest, APasswordThatThePromptSavedTravelsAsDigits) {
    for (const std::wstring name :
         {L"FTPServer", L"FTPUser", L"FTPEnterpriseToField", L"FTPFieldtoEnterprise"})
        framework.registry[L"13/Transport/" + name] = name;
    for (int number = 0; number < 10; ++number) {
        // The bytes of some are characters, those of others are not.
        const std::wstring password = L"secret" + std::to_wstring(number);
        framework.registry[L"13/Transport/FTPPassword"] = FtpPassword::EncipherBytes(password);
        // Without a user interface the dialog is cancelled at once.
        for (const ComPtr<IUnknown>& result : {Initialize(nullptr), Execute()}) {
            EXPECT_NE(result, nullptr) << number;
            if (!result) continue;
            FtpSite site;
            AdminXml::ReadSettings(result.Get(), site);
            EXPECT_EQ(site.password, FtpPassword::Encipher(password));
        }
        EXPECT_EQ(Ask<LONG>(&_clsFTPSndRcv::get_DialogEnd, com::As<_clsFTPSndRcv>(remote.Get())),
                  ZN_DIALOG_FAILED);
        EXPECT_THAT(framework.TakeLog(),
                    Each(Reported(L"frmFTP.frm.Show", L"Attempted to show the dialog frmFTP and a "
                                                      L"user interface is not supported.")));
    }
}

}  // namespace
}  // namespace tests
