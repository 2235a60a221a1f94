// The folder-copy sender/receiver over real folders.
#include <filesystem>

#include "base/Text.h"
#include "sendrecv/clsXCOPYSndRcv.h"
#include "tests/win/library/SenderReceiverTest.h"

namespace tests {
namespace {

const std::wstring kSend = L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Send";
const std::wstring kMove = L"clsXCOPYSndRcv.cls.MoveFiles";
const std::wstring kFailed =
    L"Failed to transport packets between remote and local\r\nCheck your connection to the server";

class Xcopy : public SenderReceiverTest {
protected:
    Xcopy() { Use(com::Make<clsXCOPYSndRcv>()); }

    /// A field computer with its four folders below the scratch folder.
    void BeMobile() {
        NameApplication();
        PropSet({{L"MOBILE", L"TRUE"},
                 {L"LOCAL_SEND_FOLDER", temp / L"out"},
                 {L"LOCAL_RECEIVE_FOLDER", temp / L"in"},
                 {L"REMOTE_SEND_FOLDER", temp / L"share\\in"},
                 {L"REMOTE_RECEIVE_FOLDER", temp / L"share\\out"}});
    }
};

TEST_F(Xcopy, FieldAndEnterpriseTakeOppositeFolders) {
    framework.folders = {{L"F/Outgoing", L"F:\\out"},
                         {L"F/Incoming", L"F:\\in"},
                         {L"E/Outgoing", L"E:\\out"},
                         {L"E/Incoming", L"E:\\in"}};
    NameApplication();
    PropSet({{L"MOBILE", L"True"}});
    EXPECT_EQ(PropSet(), L"MOBILE=TRUE\nLOCAL_SEND_FOLDER=F:\\out\nLOCAL_RECEIVE_FOLDER=F:\\in\n"
                         L"REMOTE_SEND_FOLDER=E:\\in\nREMOTE_RECEIVE_FOLDER=E:\\out\n");
    PropSet({{L"MOBILE", L"false"}});
    EXPECT_EQ(PropSet(), L"MOBILE=FALSE\nLOCAL_SEND_FOLDER=E:\\out\nLOCAL_RECEIVE_FOLDER=E:\\in\n");
    PropSet({{L"MOBILE", L""}, {L"LOCAL_SEND_FOLDER", L"X:\\"}});
    EXPECT_THAT(PropSet(), StartsWith(L"MOBILE=TRUE\nLOCAL_SEND_FOLDER=X:\\\n"));
}

TEST_F(Xcopy, LocalFoldersAreTestedButStoredAnyway) {
    const std::wstring missing = temp / L"missing";
    SendFrom(missing);
    EXPECT_EQ(Ask<std::wstring>(&IZNSenderReceiver::get_LocalSendFolder, remote), missing);
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"modMain.CheckReadWriteDelete", L"Folder T:\\missing doesn't exist."));
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
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(Reported(kSend, L"one or more of the Send folders are not set"),
                            Reported(L"clsXCOPYSndRcv.cls.IZNSenderReceiver_Receive",
                                     L"one or more of the Receiver folders are not set")));
    SendFrom(temp.Path());
    ReceiveInto(temp.Path());
    EXPECT_TRUE(Send()) << "no remote side: nothing to do";
    EXPECT_TRUE(Receive());
    EXPECT_EQ(progress->transcript, L"");
}

TEST_F(Xcopy, TheSameFolderOnBothSidesIsLeftAlone) {
    temp.File(L"out\\x.mdb");
    SendFrom(temp / L"out");
    Init({{L"RemoteSendFolder", base::Upper(temp / L"out")}});
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb"));
    Init({{L"RemoteSendFolder", temp / L"out\\inner"}});
    EXPECT_FALSE(Send());
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb")) << "nor is a folder moved into itself";
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(Reported(kMove, L"The folder T:\\out\\inner lies inside the folder "
                                            L"T:\\out whose files are to be moved into it.\r\n"),
                            Reported(kSend, kFailed)));
    SendFrom(temp / L"out\\");
    for (const wchar_t* inner : {L"out\\inner", L"out\\\\inner", L"in\\..\\OUT/inner"}) {
        Init({{L"RemoteSendFolder", temp / inner}});
        EXPECT_FALSE(Send()) << inner;
        EXPECT_THAT(framework.TakeLogText(), HasSubstr(L" whose files are to be moved into it."));
    }
}

TEST_F(Xcopy, AReadOnlySourceIsCopiedAndStays) {
    BeMobile();
    temp.File(L"out\\a.mdb");
    temp.File(L"out\\b.mdb");
    temp.Protect(L"out\\a.mdb");
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"a.mdb", L"b.mdb"));
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    const auto text = [](const std::wstring& file) {
        return L"Could not delete packet file: " + file +
               L" in the transporter's source folder. "
               L"Check your folder permissions for read/write/modify/delete access.\r\n";
    };
    EXPECT_THAT(progress->transcript, HasSubstr(L"status " + kMove + L"\r\n" + text(temp / L"out\\a.mdb")));
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(AllOf(Reported(kMove, text(L"T:\\out\\a.mdb")),
                                  Field(&LogEntry::text, EndsWith(L" - Build: 1.2.3")))));
}

TEST_F(Xcopy, AFileInUseEndsTheTransferAndLosesNothing) {
    BeMobile();
    base::FileHandle lock = Held(temp.File(L"out\\a.mdb", "locked"), GENERIC_WRITE, 0);
    EXPECT_FALSE(Send());
    lock.Reset();
    EXPECT_THAT(temp.Files(L"share\\in"), IsEmpty());
    EXPECT_EQ(temp.Content(L"out\\a.mdb"), "locked");
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(Reported(kMove, base::SystemText(ERROR_SHARING_VIOLATION, L"T:\\out\\a.mdb") + L"\r\n"),
                    Reported(kSend, kFailed)));
    EXPECT_THAT(progress->transcript, EndsWith(L"status " + kSend + L"\r\n" + kFailed + L"|"));
    EXPECT_TRUE(Send()) << "the next run completes the job";
    EXPECT_EQ(temp.Content(L"share\\in\\a.mdb"), "locked");
}

TEST_F(Xcopy, AFileThatIsStillBeingWrittenWaitsForTheNextCycle) {
    BeMobile();
    const auto source = temp.File(L"out\\a.mdb", "half");
    temp.File(L"out\\b.mdb");
    base::FileHandle writer =
        Held(source, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    EXPECT_TRUE(Send());
    EXPECT_TRUE(WriteFile(writer.Get(), " and the rest", 13, nullptr, nullptr));
    writer.Reset();
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"b.mdb")) << "half a packet does not travel";
    EXPECT_THAT(framework.TakeLogText(),
                AllOf(HasSubstr(L"Could not delete packet file: T:\\out\\a.mdb in"),
                      HasSubstr(L"\r\nSomebody still writes to it; it was not copied and stays "
                                L"for the next transfer.\r\n")));
    EXPECT_TRUE(Send());
    EXPECT_EQ(temp.Content(L"share\\in\\a.mdb"), "half and the rest");
}

TEST_F(Xcopy, AFileThatSomebodyElseHasTakenIsToldWhereItWasToBeSent) {
    BeMobile();
    for (const wchar_t* name : {L"out\\a.mdb", L"out\\b.mdb", L"out\\c.mdb"})
        temp.File(name);
    const auto take = [&] { DeleteFileW((temp / (L"out\\" + *temp.Files(L"out").begin())).c_str()); };
    progress->onPosition = [&] {
        if (progress->position == 1) take();
    };
    EXPECT_TRUE(Send());
    EXPECT_THAT(temp.Files(L"share\\in"), SizeIs(2));
    EXPECT_THAT(temp.Files(L"out"), IsEmpty());
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L".mdb before it was sent."));
    for (const wchar_t* name : {L"out\\a.mdb", L"out\\sub\\b.mdb", L"out\\taken\\c.mdb"})
        temp.File(name);
    progress->onPosition = [&] {
        std::filesystem::remove(temp / L"out\\sub\\b.mdb");
        std::filesystem::remove_all(temp / L"out\\taken");
    };
    EXPECT_TRUE(Send());
    EXPECT_THAT(framework.TakeLogText(),
                AllOf(Not(HasSubstr(L"a.mdb")), HasSubstr(L"\\sub\\b.mdb before it was sent."),
                      HasSubstr(L"\\taken\\c.mdb before it was sent.")));
    for (const wchar_t* name : {L"share\\out\\a.mdb", L"share\\out\\b.mdb"})
        temp.File(name);
    progress->onPosition = [&] { std::filesystem::remove(temp / L"share\\out\\b.mdb"); };
    EXPECT_TRUE(Receive()) << "another receiver of the share was quicker";
    EXPECT_THAT(framework.TakeLog(), IsEmpty());
    temp.File(L"out\\a.mdb");
    temp.File(L"out\\b.mdb");
    progress->onPosition = [&] { std::filesystem::remove_all(temp / L"out"); };
    EXPECT_FALSE(Send()) << "the whole folder is gone, as a disk that is pulled out";
    EXPECT_THAT(framework.TakeLog(), SizeIs(2));
}

TEST_F(Xcopy, NamesThatDifferOnlyInCaseStay) {
    if (!FileSystem::FolderExists(kCaseSensitive))
        GTEST_SKIP() << "needs a file system that tells them apart";
    const TwoLetterCases share;
    share.File(L"sub\\b.mdb");
    ASSERT_TRUE(CreateDirectoryW(share.Exactly(L"SUB").c_str(), nullptr));
    BeMobile();
    SendFrom(share.Path());
    Init({{L"RemoteReceiveFolder", share.Path()}});
    const auto stay = [&](bool isMoved, const std::wstring& from, const std::wstring& to) {
        EXPECT_TRUE(isMoved);
        EXPECT_THAT(share.Files(), ElementsAre(L"A.mdb", L"a.mdb", L"sub\\b.mdb"));
        EXPECT_EQ(share.Content(L"A.mdb") + share.Content(L"a.mdb"), "upper");
        const auto reported = [&](const std::wstring& name) {
            return Reported(kMove, L"The folder " + from + L" holds the name " + name +
                                       L" and another one that differs only in the case of letters. Both "
                                       L"would be one name in the folder T:\\" +
                                       to + L". Both stay; rename or remove one of them.");
        };
        EXPECT_THAT(framework.TakeLog(), UnorderedElementsAre(reported(L"A.mdb"), reported(L"a.mdb"),
                                                              reported(L"sub"), reported(L"SUB")));
    };
    stay(Send(), share.Path(), L"share\\in");
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"other.mdb"));
    stay(Send(), share.Path(), L"share\\in");
    stay(Receive(), share / L"", L"in\\");
}

TEST_F(Xcopy, CancelStopsAfterTheCurrentFile) {
    BeMobile();
    for (const bool once : {false, true}) {
        for (const wchar_t* name :
             {L"out\\1\\a", L"out\\1\\b", L"out\\1\\c", L"out\\2\\d", L"out\\2\\e", L"out\\2\\f"})
            temp.File(name);
        progress->position = 0;
        progress->cancelAt = 2;
        progress->cancelsOnce = once;
        EXPECT_FALSE(Send());
        EXPECT_EQ(temp.Files(L"out").size(), 4u);
        EXPECT_THAT(progress->transcript, EndsWith(L"2|message 0 Interrupted by user|"));
        progress->cancelAt = -1;
        EXPECT_TRUE(Send());
        EXPECT_EQ(temp.Files(L"share\\in").size(), 6u);
    }
}

TEST_F(Xcopy, WorksWithoutProgressAndRefusesOtherObjects) {
    BeMobile();
    temp.File(L"out\\a.mdb");
    EXPECT_FALSE(Send(Properties({}).Get())) << "no progress object";
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"progress object"));
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a.mdb"));
    EXPECT_TRUE(Send(nullptr));
    EXPECT_THAT(temp.Files(L"share\\in"), ElementsAre(L"a.mdb"));
    temp.File(L"share\\out\\b.mdb");
    EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver2::Receive, remote2, L"", static_cast<IUnknown*>(nullptr)));
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"b.mdb"));
}

TEST_F(Xcopy, AdministrationAndCategory) {
    EXPECT_EQ(Administration(remote), L"Folder Copy in {category 135}");
    EXPECT_EQ(Initialize(nullptr), nullptr);
    EXPECT_EQ(Execute(), nullptr);
    ComPtr<IZNMobileAdminPropertiesEx> more;
    ASSERT_EQ(remote.As(&more), S_OK);
    EXPECT_TRUE(Ask<bool>(&IZNMobileAdminPropertiesEx::get_RequireBothEnterpriseAndField, more));
    EXPECT_TRUE(Connect() && Disconnect());
}

}  // namespace
}  // namespace tests
