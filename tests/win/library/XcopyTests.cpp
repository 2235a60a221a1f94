// The folder-copy sender/receiver over real folders.
#include <gmock/gmock.h>

#include "base/Text.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/ProgressDouble.h"
#include "tests/win/support/TempFolder.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Xcopy : public LibraryTest {
protected:
    Xcopy() : remote(Create<clsXCOPYSndRcv, IZNSenderReceiver>()) { remote.As(&settings); }

    /// A field computer with its four folders below the scratch folder.
    void BeMobile() {
        settings->put_ApplicationName(com::Bstr(L"App").Get());
        settings->putref_PropSet(Properties({{L"MOBILE", L"TRUE"},
                                             {L"LOCAL_SEND_FOLDER", temp / L"out"},
                                             {L"LOCAL_RECEIVE_FOLDER", temp / L"in"},
                                             {L"REMOTE_SEND_FOLDER", temp / L"share\\in"},
                                             {L"REMOTE_RECEIVE_FOLDER", temp / L"share\\out"}})
                                     .Get());
    }
    bool Send(IUnknown* object) {
        return com::Get<bool>(&IZNSenderReceiver::Send, remote.Get(), com::Bstr(L"").Get(), object);
    }
    bool Send() { return Send(static_cast<IZNProgress*>(progress.Get())); }
    bool Receive(const wchar_t* folder = L"") {
        return com::Get<bool>(&IZNSenderReceiver::Receive, remote.Get(), com::Bstr(folder).Get(),
                              static_cast<IUnknown*>(static_cast<IZNProgress*>(progress.Get())));
    }
    std::wstring Settings() {
        ComPtr<IZNPropertySet> set;
        EXPECT_EQ(settings->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }

    TempFolder temp;
    ComPtr<IZNSenderReceiver> remote;
    ComPtr<IZNSenderReceiver2> settings;
    ComPtr<ProgressDouble> progress = com::Make<ProgressDouble>();
};

TEST_F(Xcopy, FieldAndEnterpriseTakeOppositeFolders) {
    framework.folders = {{L"F/Outgoing", L"F:\\out"},
                         {L"F/Incoming", L"F:\\in"},
                         {L"E/Outgoing", L"E:\\out"},
                         {L"E/Incoming", L"E:\\in"}};
    settings->put_ApplicationName(com::Bstr(L"App").Get());
    settings->putref_PropSet(Properties({{L"MOBILE", L"True"}}).Get());
    EXPECT_EQ(Settings(), L"MOBILE=TRUE\nLOCAL_SEND_FOLDER=F:\\out\nLOCAL_RECEIVE_FOLDER=F:\\in\n"
                          L"REMOTE_SEND_FOLDER=E:\\in\nREMOTE_RECEIVE_FOLDER=E:\\out\n");
    settings->putref_PropSet(Properties({{L"MOBILE", L"false"}}).Get());
    EXPECT_EQ(Settings(), L"MOBILE=FALSE\nLOCAL_SEND_FOLDER=E:\\out\nLOCAL_RECEIVE_FOLDER=E:\\in\n");
    settings->putref_PropSet(Properties({{L"MOBILE", L""}, {L"LOCAL_SEND_FOLDER", L"X:\\"}}).Get());
    EXPECT_THAT(Settings(), StartsWith(L"MOBILE=TRUE\nLOCAL_SEND_FOLDER=X:\\\n"));
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(Xcopy, SettingsNeedAnApplicationNameFirst) {
    EXPECT_EQ(settings->putref_PropSet(Properties({{L"MOBILE", L"TRUE"}}).Get()), S_OK);
    EXPECT_THAT(framework.LogText(), HasSubstr(L"clsXCOPYSndRcv.cls.IZNSenderReceiver2_PropSet\r\n"));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"ApplicationName"));
    EXPECT_EQ(settings->putref_PropSet(nullptr), S_OK);
    EXPECT_FALSE(
        com::Get<bool>(&IZNSenderReceiver::Init, remote.Get(), static_cast<IZNPropertySet*>(nullptr)));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Init\r\n"));
}

TEST_F(Xcopy, InitTakesTheRemoteFoldersByTheirExactNames) {
    temp.File(L"out\\x.mdb");
    remote->put_LocalSendFolder(com::Bstr(temp / L"out").Get());
    const auto set = Properties(
        {{L"remotesendfolder", temp / L"wrong"}, {L"RemoteSendFolder", temp / L"share"}, {L"Other", L"?"}});
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver::Init, remote.Get(), set.Get()));
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"share"), ElementsAre(L"x.mdb"));
}

TEST_F(Xcopy, LocalFoldersAreTestedButStoredAnyway) {
    EXPECT_EQ(remote->put_LocalSendFolder(com::Bstr(temp / L"missing").Get()), S_OK);
    EXPECT_EQ(com::Get<std::wstring>(&IZNSenderReceiver::get_LocalSendFolder, remote.Get()),
              temp / L"missing");
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Folder " + temp / L"missing" + L" doesn't exist."));
}

TEST_F(Xcopy, SendMovesFilesAndSubFolders) {
    BeMobile();
    temp.File(L"out\\a.mdb", "first");
    temp.File(L"out\\b ~1.xml", "second");
    temp.File(L"out\\sub\\c.mdb", "third");
    temp.File(L"share\\in\\a.mdb", "older and longer");
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"a.mdb", L"b ~1.xml", L"sub\\c.mdb"));
    EXPECT_EQ(temp.Content(L"share\\in\\a.mdb"), "first");
    EXPECT_THAT(temp.Files(L"out"), IsEmpty());
    EXPECT_TRUE(temp.Exists(L"out\\sub")) << "emptied folders stay";
    EXPECT_EQ(progress->transcript, L"range 0-1|status Send Packets|status Moving packets from local folder|"
                                    L"range 0-2|message 0 Transferring 2 file(s)|1|2|"
                                    L"range 0-1|message 0 Transferring 1 file(s)|1|");
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(Xcopy, ReceiveFollowsTheFolderName) {
    BeMobile();
    temp.File(L"share\\out\\top.mdb");
    temp.File(L"share\\out\\sub\\x.mdb");
    EXPECT_TRUE(Receive(L"sub"));
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"sub\\x.mdb"));
    EXPECT_TRUE(Receive(L"missing"));
    EXPECT_FALSE(temp.Exists(L"in\\missing"));
    progress->transcript.clear();
    EXPECT_TRUE(Receive());
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"sub\\x.mdb", L"top.mdb"));
    EXPECT_THAT(progress->transcript,
                StartsWith(L"range 0-1|status Receive Packets|status Moving packets to local folder|"));
}

TEST_F(Xcopy, UnsetFolders) {
    EXPECT_FALSE(Send());
    EXPECT_FALSE(Receive());
    EXPECT_EQ(framework.LogText(), L"Test Tool:\r\nclsXCOPYSndRcv.cls.IZNSenderReceiver_Send\r\none or more "
                                   L"of the Send folders are not set\n--\n"
                                   L"Test Tool:\r\nclsXCOPYSndRcv.cls.IZNSenderReceiver_Receive\r\none or "
                                   L"more of the Receiver folders are not set\n--\n");
    EXPECT_EQ(progress->transcript, L"");
    remote->put_LocalSendFolder(com::Bstr(temp.Path()).Get());
    remote->put_LocalReceiveFolder(com::Bstr(temp.Path()).Get());
    EXPECT_TRUE(Send()) << "no remote side: nothing to do";
    EXPECT_TRUE(Receive());
    EXPECT_EQ(progress->transcript, L"");
}

TEST_F(Xcopy, TheSameFolderOnBothSidesIsLeftAlone) {
    temp.File(L"out\\x.mdb");
    settings->put_ApplicationName(com::Bstr(L"App").Get());
    const std::wstring upper = base::Upper(temp / L"out");
    settings->putref_PropSet(
        Properties(
            {{L"MOBILE", L"TRUE"}, {L"LOCAL_SEND_FOLDER", temp / L"out"}, {L"REMOTE_SEND_FOLDER", upper}})
            .Get());
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb"));
}

TEST_F(Xcopy, AFolderIsNotMovedIntoItself) {
    temp.File(L"out\\x.mdb");
    remote->put_LocalSendFolder(com::Bstr(temp / L"out").Get());
    remote->Init(Properties({{L"RemoteSendFolder", temp / L"out\\inner"}}).Get(),
                 std::make_unique<VARIANT_BOOL>().get());
    EXPECT_FALSE(Send());
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb"));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"lies inside the folder"));
}

TEST_F(Xcopy, AReadOnlySourceIsCopiedAndStays) {
    BeMobile();
    temp.File(L"out\\a.mdb");
    temp.File(L"out\\b.mdb");
    temp.Protect(L"out\\a.mdb");
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"a.mdb", L"b.mdb"));
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    const std::wstring text = L"clsXCOPYSndRcv.cls.MoveFiles\r\nCould not delete packet file: " +
                              temp / L"out\\a.mdb" +
                              L" in the transporter's source folder. "
                              L"Check your folder permissions for read/write/modify/delete access.\r\n";
    EXPECT_THAT(progress->transcript, HasSubstr(L"status " + text));
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_THAT(framework.log[0].text, StartsWith(L"Test Tool:\r\n" + text));
    EXPECT_THAT(framework.log[0].text, EndsWith(L" - Build: 1.0.0"));
}

TEST_F(Xcopy, AFileInUseEndsTheTransferAndLosesNothing) {
    BeMobile();
    temp.File(L"out\\a.mdb", "locked");
    const HANDLE lock =
        CreateFileW((temp / L"out\\a.mdb").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(lock, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(Send());
    CloseHandle(lock);
    EXPECT_THAT(temp.Files(L"share\\in"), IsEmpty());
    EXPECT_EQ(temp.Content(L"out\\a.mdb"), "locked");
    EXPECT_THAT(framework.log.at(0).text, HasSubstr(L"clsXCOPYSndRcv.cls.MoveFiles\r\n"));
    EXPECT_THAT(framework.log.at(0).text, HasSubstr(temp / L"out\\a.mdb"));
    const std::wstring failed = L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Send\r\nFailed to transport packets "
                                L"between remote and local\r\n"
                                L"Check your connection to the server";
    EXPECT_EQ(framework.log.at(1).text, L"Test Tool:\r\n" + failed);
    EXPECT_THAT(progress->transcript, EndsWith(L"status " + failed + L"|"));
    EXPECT_TRUE(Send()) << "the next run completes the job";
    EXPECT_EQ(temp.Content(L"share\\in\\a.mdb"), "locked");
}

TEST_F(Xcopy, AFileThatIsStillBeingWrittenWaitsForTheNextCycle) {
    BeMobile();
    const auto source = temp.File(L"out\\a.mdb", "half");
    temp.File(L"out\\b.mdb");
    const HANDLE writer =
        CreateFileW(source.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Send());
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(writer, " and the rest", 13, &written, nullptr));
    CloseHandle(writer);
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"b.mdb")) << "half a packet does not travel";
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Could not delete packet file: " + source));
    EXPECT_TRUE(Send());
    EXPECT_EQ(temp.Content(L"share\\in\\a.mdb"), "half and the rest");
}

TEST_F(Xcopy, AFolderInTheWayOfAFileIsReported) {
    BeMobile();
    temp.File(L"out\\a.mdb");
    temp.Folder(L"share\\in\\a.mdb");
    EXPECT_FALSE(Send());
    EXPECT_EQ(temp.Content(L"out\\a.mdb"), "content");
    temp.File(L"blocked", "a file where a folder is wanted");
    remote->Init(Properties({{L"RemoteSendFolder", temp / L"blocked"}}).Get(),
                 std::make_unique<VARIANT_BOOL>().get());
    EXPECT_FALSE(Send());
    EXPECT_EQ(temp.Content(L"out\\a.mdb"), "content");
}

TEST_F(Xcopy, CancelStopsAfterTheCurrentFile) {
    BeMobile();
    for (const wchar_t* name : {L"out\\1\\a", L"out\\1\\b", L"out\\1\\c", L"out\\2\\d"})
        temp.File(name);
    progress->cancelAt = 2;
    EXPECT_FALSE(Send());
    EXPECT_EQ(temp.Files(L"share\\in").size(), 2u);
    EXPECT_EQ(temp.Files(L"out").size(), 2u);
    EXPECT_THAT(progress->transcript, EndsWith(L"2|message 0 Interrupted by user|"));
    EXPECT_THAT(framework.log, IsEmpty());
    progress->cancelAt = -1;
    EXPECT_TRUE(Send());
    EXPECT_EQ(temp.Files(L"share\\in").size(), 4u);
}

TEST_F(Xcopy, WorksWithoutProgressAndRefusesOtherObjects) {
    BeMobile();
    temp.File(L"out\\a.mdb");
    EXPECT_FALSE(Send(Properties({}).Get())) << "no progress object";
    EXPECT_THAT(framework.LogText(), HasSubstr(L"progress object"));
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    EXPECT_TRUE(Send(nullptr));
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"a.mdb"));
    temp.File(L"share\\out\\b.mdb");
    EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver2::Receive, settings.Get(), com::Bstr(L"").Get(),
                               static_cast<IUnknown*>(nullptr)));
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"b.mdb"));
}

TEST_F(Xcopy, AdministrationAndCategories) {
    ComPtr<IZNMobileAdminProperties> admin;
    ASSERT_EQ(remote.As(&admin), S_OK);
    EXPECT_EQ(com::Get<std::wstring>(&IZNMobileAdminProperties::get_Name, admin.Get()), L"Folder Copy");
    EXPECT_FALSE(com::Get<bool>(&IZNMobileAdminProperties::get_HasProperties, admin.Get()));
    IUnknown* nothing = admin.Get();
    EXPECT_EQ(admin->Initialize(1, nullptr, &nothing), S_OK);
    EXPECT_EQ(nothing, nullptr);
    nothing = admin.Get();
    EXPECT_EQ(admin->Execute(1, &nothing), S_OK);
    EXPECT_EQ(nothing, nullptr);

    ComPtr<IZNMobileAdminPropertiesEx> more;
    ASSERT_EQ(remote.As(&more), S_OK);
    EXPECT_TRUE(com::Get<bool>(&IZNMobileAdminPropertiesEx::get_RequireBothEnterpriseAndField, more.Get()));

    ComPtr<IZNRegInCat> registration;
    ASSERT_EQ(remote.As(&registration), S_OK);
    const auto value = com::Get<com::Variant>(&IZNRegInCat::get_CategoriesToReg, registration.Get());
    ComPtr<_Collection> categories;
    ASSERT_EQ(value.Get().punkVal->QueryInterface(IID_PPV_ARGS(&categories)), S_OK);
    EXPECT_EQ(com::Get<LONG>(&_Collection::get_Count, categories.Get()), 1);
    EXPECT_EQ(com::Get<com::Variant>(&_Collection::get_Item, categories.Get(), LONG{1}).Text(),
              L"{category 135}");
}

}  // namespace
}  // namespace tests
