// The FTP sender/receiver's connection, settings and administration.
#include <msxml2.h>

#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "ftp/settings/FtpPassword.h"
#include "tests/win/library/FtpTest.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class FtpSessionTest : public FtpTest {
protected:
    FtpSessionTest() { Configure(); }

    std::wstring PromptReport(const std::wstring& text) {
        return L"clsFTPSndRcv.cls.InternalOpenConnection\r\n"
               L"The host allows no user interface, so nobody can be asked for the FTP login. " +
               text;
    }
};

TEST_F(FtpSessionTest, ConnectsOnceAndClosesBothHandles) {
    EXPECT_TRUE(Connect());
    EXPECT_TRUE(Connect());
    EXPECT_EQ(Calls(), "Open Test Tool 0|Connect host 0 joe secret 1 0|");
    EXPECT_TRUE(Disconnect());
    EXPECT_EQ(Calls(), "Close 2|Close 1|");
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver2::Disconnect, settings.Get()))
        << "closing twice is harmless";
    EXPECT_EQ(Calls(), "Close 0|");
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver2::Connect, settings.Get()));
    Calls();
    remote.Reset();
    settings.Reset();
    EXPECT_EQ(Calls(), "") << "only the host ends a connection";
}

TEST_F(FtpSessionTest, AFailedConnectionSaysWhatIsKnown) {
    const std::wstring source = L"clsFTPSndRcv.cls.DoConnection\r\nCould not connect to the FTP server: ";
    const auto connectQuietly = [&](DWORD error) {
        server.Fail("Connect", {error});
        EXPECT_FALSE(Connect());
        EXPECT_THAT(Calls(), EndsWith("Close 1|"));
        return Reported();
    };
    ComPtr<_clsFTPSndRcv> script;
    ASSERT_EQ(remote.As(&script), S_OK);
    script->put_SupressMsg(VARIANT_TRUE);
    EXPECT_EQ(connectQuietly(ERROR_SUCCESS),
              source + ErrorText(0) + L"\r\nServer name: host\r\nUser name: joe");
    EXPECT_EQ(connectQuietly(ERROR_INTERNET_NAME_NOT_RESOLVED), source + L"Check server name");
    EXPECT_EQ(connectQuietly(ERROR_INTERNET_INCORRECT_PASSWORD), source + L"Check user or password");
    EXPECT_EQ(connectQuietly(ERROR_INTERNET_CANNOT_CONNECT), L"");
    server.Fail("Open", {ERROR_OUTOFMEMORY});
    EXPECT_FALSE(Connect());
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.DoConnection\r\nCould not Initialize Internet connection: " +
                              ErrorText(ERROR_OUTOFMEMORY));
    EXPECT_TRUE(Connect()) << "after all this, everything is closed and can be opened";
}

TEST_F(FtpSessionTest, APasswordThatCannotTravelIsNotTold) {
    Init({{L"FTPPassword", L"secret\u0100"}});
    EXPECT_FALSE(Connect());
    const std::wstring text = Reported();
    EXPECT_THAT(text, HasSubstr(L"The FTP password has a character that is not in the system's"));
    EXPECT_THAT(text, testing::Not(HasSubstr(L"secret")));
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
    EXPECT_FALSE(com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, remote.Get()));
}

TEST_F(FtpSessionTest, EmptyFoldersAreReported) {
    Init({{L"RemoteSendFolder", L""}, {L"RemoteReceiveFolder", L""}});
    EXPECT_FALSE(Send());
    EXPECT_THAT(Reported(), EndsWith(L"clsFTPSndRcv.cls.IZNSenderReceiver_Send\r\n"
                                     L"one or more of the Send folders are not set"));
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.IZNSenderReceiver_Receive\r\n"
                          L"one or more of the Receive folders is not set");
    EXPECT_EQ(Calls(), "");
}

class FtpSettingsTest : public FtpTest {};

TEST_F(FtpSettingsTest, FieldAndEnterpriseTakeOppositeFolders) {
    framework.folders = {{L"F/FTPServer", L"field server"},     {L"E/FTPServer", L"enterprise server"},
                         {L"F/Outgoing", L"F:\\out"},           {L"F/Incoming", L"F:\\in"},
                         {L"E/Outgoing", L"E:\\out"},           {L"E/Incoming", L"E:\\in"},
                         {L"F/FTPFieldToEnterprise", L"F f2e"}, {L"F/FTPEnterpriseToField", L"F e2f"},
                         {L"E/FTPFieldToEnterprise", L"E f2e"}, {L"E/FTPEnterpriseToField", L"E e2f"}};
    settings->putref_PropSet(Properties({{L"MOBILE", L"TRUE"}}).Get());
    EXPECT_THAT(Reported(), HasSubstr(L"set ApplicationName before PropSet"));
    settings->put_ApplicationName(com::Bstr(L"App").Get());
    EXPECT_EQ(com::Get<std::wstring>(&IZNSenderReceiver2::get_ApplicationName, settings.Get()), L"App");
    settings->putref_PropSet(Properties({{L"MOBILE", L""}}).Get());
    EXPECT_EQ(Settings(), L"FTP_SERVER=field server\nFTP_USER=\nFTP_PASSWORD=\nMOBILE=TRUE\n"
                          L"LOCAL_SEND_FOLDER=F:\\out\nLOCAL_RECEIVE_FOLDER=F:\\in\n"
                          L"REMOTE_RECEIVE_FOLDER=F e2f\nREMOTE_SEND_FOLDER=F f2e\n");
    Init({{L"FTPPassword", L"plain"}, {L"ftpuser", L"wrong case"}});
    settings->putref_PropSet(Properties({{L"MOBILE", L"false"}, {L"REMOTE_SEND_FOLDER", L"own"}}).Get());
    EXPECT_EQ(Settings(), L"FTP_SERVER=enterprise server\nFTP_USER=\nFTP_PASSWORD=plain\nMOBILE=FALSE\n"
                          L"LOCAL_SEND_FOLDER=E:\\out\nLOCAL_RECEIVE_FOLDER=E:\\in\n"
                          L"REMOTE_RECEIVE_FOLDER=E f2e\nREMOTE_SEND_FOLDER=own\n");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpSettingsTest, MissingValuesAreReadOnceBeforeTheFirstConnection) {
    settings->put_ApplicationName(com::Bstr(L"App").Get());
    settings->putref_PropSet(Properties({{L"MOBILE", L"TRUE"}}).Get());
    framework.folders[L"F/FTPServer"] = framework.folders[L"E/FTPServer"] = L"stored";
    framework.folders[L"F/FTPUser"] = framework.folders[L"E/FTPUser"] = L"joe";
    framework.registry[L"13/Transport/RemoteSendFolder"] = L"registry in";
    framework.registry[L"13/Transport/RemoteReceiveFolder"] = L"registry out";
    Init({{L"FTPServer", L"given"}, {L"RemoteSendFolder", L"given in"}, {L"FTPPassword", L"secret"}});
    EXPECT_TRUE(Connect());
    EXPECT_THAT(Calls(), EndsWith("Connect given 0 joe secret 1 0|"));
    EXPECT_THAT(Settings(), HasSubstr(L"REMOTE_RECEIVE_FOLDER=registry out\nREMOTE_SEND_FOLDER=given in\n"));
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
    EXPECT_THAT(Calls(), EndsWith("Connect typed 0 joe secret 1 0|"));
}

class FtpAdministrationTest : public FtpTest {
protected:
    FtpAdministrationTest() {
        framework.resources[130] = L"FTP transfer";
        remote.As(&admin);
    }

    ComPtr<IUnknown> Initialize(IUnknown* context) {
        ComPtr<IUnknown> result;
        EXPECT_EQ(admin->Initialize(3, context, &result), S_OK);
        return result;
    }

    ComPtr<IZNMobileAdminProperties> admin;
};

TEST_F(FtpAdministrationTest, NameCategoriesAndOrderOfCalls) {
    EXPECT_EQ(com::Get<std::wstring>(&IZNMobileAdminProperties::get_Name, admin.Get()), L"FTP transfer");
    EXPECT_TRUE(com::Get<bool>(&IZNMobileAdminProperties::get_HasProperties, admin.Get()));
    ComPtr<IZNMobileAdminPropertiesEx> none;
    EXPECT_EQ(remote.As(&none), E_NOINTERFACE);
    ComPtr<IUnknown> nothing = admin;
    EXPECT_EQ(admin->Execute(3, nothing.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(nothing.Get(), nullptr);
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Execute: \r\n"
                          L"Please Initialize IZNMobileAdminProperties before calling Execute.");
    ComPtr<IZNRegInCat> registration;
    ASSERT_EQ(remote.As(&registration), S_OK);
    const auto value = com::Get<com::Variant>(&IZNRegInCat::get_CategoriesToReg, registration.Get());
    ComPtr<_Collection> categories;
    ASSERT_EQ(value.Get().punkVal->QueryInterface(IID_PPV_ARGS(&categories)), S_OK);
    EXPECT_EQ(com::Get<com::Variant>(&_Collection::get_Item, categories.Get(), LONG{1}).Text(),
              L"{category 135}");
}

TEST_F(FtpAdministrationTest, SettingsComeFromTheRegistryOrFromADocument) {
    EXPECT_EQ(Initialize(nullptr), nullptr) << "nothing is configured";
    for (const wchar_t* name :
         {L"FTPServer", L"FTPUser", L"FTPPassword", L"FTPEnterpriseToField", L"FTPFieldtoEnterprise"})
        framework.registry[std::wstring(L"13/Transport/") + name] = std::wstring(L"my ") + name;
    const ComPtr<IUnknown> element = Initialize(nullptr);
    framework.registry.clear();
    for (const ComPtr<IUnknown>& result : {element, Initialize(element.Get())}) {
        ASSERT_NE(result, nullptr);
        ComPtr<IXMLDOMNode> node;
        ASSERT_EQ(result->QueryInterface(IID_IXMLDOMNode, &node), S_OK);
        const auto text = com::Get<std::wstring>(&IXMLDOMNode::get_xml, node.Get());
        EXPECT_THAT(text, StartsWith(L"<MOBILECONFIGURATIONROOT>"));
        EXPECT_THAT(text, HasSubstr(L"KeyName=\"FTPServer\" KeyValue=\"my FTPServer\""));
        EXPECT_THAT(text,
                    HasSubstr(L"KeyName=\"FTPFieldtoEnterprise\" KeyValue=\"my FTPFieldtoEnterprise\""));
    }
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpAdministrationTest, TheStoredPasswordIsDeciphered) {
    settings->put_ApplicationName(com::Bstr(L"App").Get());
    for (const std::wstring& stored :
         {FtpPassword::Encipher(L"secret"), FtpPassword::EncipherBytes(L"secret")}) {
        framework.folders = {{L"F/FTPServer", L"host"}, {L"F/FTPUser", L"joe"}, {L"F/FTPPassword", stored}};
        remote = com::Make<clsFTPSndRcv>();
        remote.As(&settings);
        settings->put_ApplicationName(com::Bstr(L"App").Get());
        EXPECT_TRUE(Connect());
        EXPECT_THAT(Calls(), EndsWith("Connect host 0 joe secret 1 0|"));
    }
}

}  // namespace
}  // namespace tests
