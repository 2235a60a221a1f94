// Packets through FTP: both directions, and the answers that no server gives on demand.
#include "base/Text.h"
#include "tests/win/library/FtpTest.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

constexpr DWORD kLost = ERROR_INTERNET_CONNECTION_RESET;

class FtpTransferTest : public FtpTest {
protected:
    FtpTransferTest() {
        server.folders = {"/", "/in", "/out"};
        Configure();
        EXPECT_TRUE(Connect());
    }
    ~FtpTransferTest() override { EXPECT_EQ(server.open.size(), 2u) << "no search stays open"; }

    /// What is reported about a direction that fails.
    std::wstring FailToSend() {
        EXPECT_FALSE(Send());
        return Reported();
    }
    std::wstring FailToReceive(const wchar_t* folder = L"") {
        EXPECT_FALSE(Receive(folder));
        return Reported();
    }
};

TEST_F(FtpTransferTest, SendMovesFilesAndUpperCasedSubFolders) {
    server.files["/in/a.mdb"] = "older and longer";
    temp.File(L"send\\a.mdb", "one");
    temp.File(L"send\\Field1\\b.xml", "two");
    temp.Protect(L"send\\a.mdb");
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.files, ElementsAre(Pair("/in/FIELD1/b.xml", "two"), Pair("/in/a.mdb", "one")));
    EXPECT_THAT(temp.Files(L"send"), IsEmpty()) << "a read-only source is deleted, too";
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_EQ(progress->transcript, L"range 0-1|status Sending files|range 0-1|message 0 Move a.mdb|0|"
                                    L"range 0-1|message 0 Move b.xml|0|");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, SendCreatesEachMissingRemoteFolderButNoneForNothing) {
    server.folders = {"/"};
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.folders, ElementsAre("/")) << "an empty local folder is nothing to send";
    for (const wchar_t* folder : {L"a/b/c", L"d/"}) {
        Init({{L"RemoteSendFolder", folder}});
        temp.File(L"send\\x.mdb", "x");
        EXPECT_TRUE(Send());
    }
    EXPECT_THAT(server.files, ElementsAre(Pair("/a/b/c/x.mdb", "x"), Pair("/d/x.mdb", "x")));
    EXPECT_THAT(server.folders, ElementsAre("/", "/a", "/a/b", "/a/b/c", "/d"));
}

TEST_F(FtpTransferTest, ReceiveMovesFilesAndSubFoldersInTheServersSpelling) {
    const std::string content("1\r\n\x1A\0!", 6);
    server.folders.insert({"/out/SUB", "/out/SUB/Deep"});
    server.files = {{"/out/SUB/a.mdb", content}, {"/out/SUB/Deep/b.mdb", "2"}};
    temp.File(L"receive\\sub\\a.mdb", "older");
    temp.Protect(L"receive\\sub\\a.mdb");
    EXPECT_TRUE(Receive(L"sub"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"sub\\Deep\\b.mdb", L"sub\\a.mdb"));
    EXPECT_EQ(temp.Content(L"receive\\sub\\a.mdb"), content);
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_EQ(progress->transcript,
              L"range 0-1|status Receiving files|range 0-2|message 0 Move a.mdb|0|message 0 Move Deep|1|"
              L"range 0-1|message 0 Move b.mdb|0|");
}

TEST_F(FtpTransferTest, ReceiveFindsNothingInAMissingOrEmptyFolder) {
    EXPECT_TRUE(Receive(L"missing"));
    EXPECT_TRUE(Receive()) << "empty";
    server.listing = {{".", FILE_ATTRIBUTE_DIRECTORY}, {"..", FILE_ATTRIBUTE_DIRECTORY}};
    EXPECT_TRUE(Receive()) << "nothing but itself and its parent";
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, AFailedPutSaysWhyAndKeepsTheFile) {
    temp.File(L"send\\a.mdb");
    temp.File(L"send\\b.mdb");
    const auto reportFor = [&](DWORD error, const char* response = "") {
        server.response = response;
        server.Fail("Put", {error});
        const std::wstring text = FailToSend();
        EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"a.mdb", L"b.mdb")) << "the first failure ends it";
        EXPECT_EQ(server.currentFolder, "/in") << "where the transfer failed";
        return text;
    };
    EXPECT_EQ(reportFor(ERROR_INTERNET_EXTENDED_ERROR, "452 no space left on DEVICE.\r\n"),
              Report(L"SendLocalFile", L"FTP site is out of space."));
    EXPECT_EQ(reportFor(ERROR_INTERNET_EXTENDED_ERROR, "553 Could not create file."),
              Report(L"SendLocalFile", L"553 Could not create file."));
    EXPECT_EQ(reportFor(ERROR_SHARING_VIOLATION), L"");
    EXPECT_EQ(reportFor(kLost), Report(L"SendLocalFile", L"Failed to transmit file a.mdb to the FTP server.",
                                       ErrorText(kLost)));
    EXPECT_THAT(progress->transcript, HasSubstr(L"|message 1 FTP site is out of space.|"));
    EXPECT_TRUE(Send()) << "the next run completes the job";
}

TEST_F(FtpTransferTest, APartOfAPacketDoesNotStayOnTheServer) {
    temp.File(L"send\\a.mdb", "content");
    const auto leftOf = [&](const std::string& part, DWORD error) {
        server.failedPut = [&] { server.files["/in/a.mdb"] = part; };
        server.Fail("Put", {error});
        const std::wstring text = FailToSend();
        EXPECT_EQ(text.find(L"clsFTPSndRcv.cls"), text.rfind(L"clsFTPSndRcv.cls")) << "one report";
        EXPECT_EQ(temp.Content(L"send\\a.mdb"), "content");
        return server.files["/in/a.mdb"];
    };
    server.Fail("Delete", {kLost});
    EXPECT_EQ(leftOf("con", ERROR_INTERNET_INTERNAL_ERROR), "con") << "the server refused to delete it";
    EXPECT_EQ(leftOf("con", ERROR_INTERNET_EXTENDED_ERROR), "");
    EXPECT_EQ(leftOf("old", ERROR_SHARING_VIOLATION), "old") << "the put never came to replace it";
    EXPECT_EQ(leftOf("old and whole", ERROR_INTERNET_EXTENDED_ERROR), "old and whole");
}

TEST_F(FtpTransferTest, ASourceIsDeletedOnlyAfterItsCopyWasSeen) {
    const std::wstring failed =
        Report(L"SendLocalFile", L"Failed occurred while transmiting file a.mdb to the FTP server.");
    temp.File(L"send\\a.mdb");
    server.Fail("Find", {ERROR_NO_MORE_FILES});
    EXPECT_EQ(FailToSend(), failed);
    server.Fail("Find", {kLost});
    EXPECT_EQ(FailToSend(), Report(L"RemoteFileExists",
                                   L"Could not verify that file a.mdb was transported to the FTP server.",
                                   ErrorText(kLost)) +
                                failed);
    EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
    server.Fail("Find", {ERROR_SUCCESS});
    EXPECT_TRUE(Send()) << "no handle, but no error either: the file counts as present";
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
}

TEST_F(FtpTransferTest, APacketSavedAgainWhileItIsSentStaysForTheNextRun) {
    const auto file = temp.File(L"send\\a.mdb", "old");
    server.afterPut = [&] { temp.File(L"send\\a.mdb", "new"); };
    EXPECT_EQ(FailToSend(), L"") << "in use, as a file that cannot be opened";
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new") << "also of the same size";
    base::FileHandle writer;
    server.afterPut = [&] { writer = Held(file, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE); };
    EXPECT_EQ(FailToSend(), L"");
    writer.Reset();
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new");
    server.afterPut = [] {};
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.files["/in/a.mdb"], "new");
}

TEST_F(FtpTransferTest, ARemoteFolderThatCannotBeMadeIsReported) {
    temp.File(L"send\\a.mdb");
    Init({{L"RemoteSendFolder", L"x/y"}});
    server.Fail("SetFolder", {1, 1, kLost});
    EXPECT_EQ(FailToSend(),
              Report(L"CreateRemoteFolders", L"Could not set current directory(x): " + ErrorText(kLost)));
    server.Fail("Create", {kLost});
    EXPECT_EQ(FailToSend(), Report(L"CreateRemoteFolders",
                                   L"Could not create FTP directory: " + ErrorText(kLost), L"Folder: y"));
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
}

TEST_F(FtpTransferTest, AListingThatFailsMovesNothing) {
    server.files = {{"/out/a.mdb", "1"}, {"/out/b.mdb", "2"}};
    server.Fail("Find", {kLost});
    EXPECT_EQ(FailToReceive(),
              Report(L"CreateRemoteFileList", L"Could not find first FTP file: " + ErrorText(kLost),
                     L"Folder: out/"));
    server.Fail("FindNext", {kLost});
    EXPECT_EQ(FailToReceive(), Report(L"CreateRemoteFileList",
                                      L"Could not find FTP file: " + ErrorText(kLost), L"Folder: out/"));
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(server.files.size(), 2u);
}

TEST_F(FtpTransferTest, AFailedGetLeavesNothingLocalAndTheServersCopy) {
    server.files["/out/a.mdb"] = "content";
    server.Fail("Get", {kLost});
    EXPECT_EQ(FailToReceive(), Report(L"GetRemoteFile",
                                      L"Failed to retrieve file a.mdb on the FTP server to local folder " +
                                          temp / L"receive\\",
                                      ErrorText(kLost)));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    server.listing = {{"a.mdb", FILE_ATTRIBUTE_NORMAL, 8}};
    EXPECT_EQ(FailToReceive(),
              Report(L"GetRemoteFile", L"Failed to retrieve file a.mdb from the FTP server."))
        << "shorter than listed";
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    server.listing.reset();
    server.Fail("Delete", {kLost});
    EXPECT_EQ(
        FailToReceive(),
        Report(L"GetRemoteFile", L"Failed to delete the file a.mdb from the FTP server.", ErrorText(kLost)));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "content");
    EXPECT_TRUE(Receive()) << "the next run completes the job";
    EXPECT_THAT(server.files, IsEmpty());
}

TEST_F(FtpTransferTest, ALocalFileInTheWayEndsTheTransfer) {
    server.files["/out/a.mdb"] = "new";
    base::FileHandle lock = Held(temp.File(L"receive\\a.mdb", "held"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_EQ(FailToReceive(),
              Report(L"GetRemoteFile", L"Local file " + temp / L"receive" +
                                           L"\\\\a.mdb already exists and couldn't be deleted."));
    lock.Reset();
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "held");
    EXPECT_EQ(server.files.size(), 1u);
}

TEST_F(FtpTransferTest, AListedNameThatWouldLeaveTheLocalFolderIsRefused) {
    for (const RemoteEntry& entry : {RemoteEntry{"..\\evil.mdb"}, RemoteEntry{"a/evil.mdb"},
                                     RemoteEntry{"C:evil.mdb"}, RemoteEntry{".."}, RemoteEntry{"NUL.txt"},
                                     RemoteEntry{"COM1"}, RemoteEntry{"..\\..\\up", FILE_ATTRIBUTE_DIRECTORY},
                                     RemoteEntry{"CON", FILE_ATTRIBUTE_DIRECTORY}}) {
        server.listing = {entry};
        EXPECT_THAT(FailToReceive(),
                    StartsWith(Report(L"GetRemoteFile", L"The FTP server lists the name " +
                                                            base::FromSystemCodePage(entry.name) + L",")));
    }
    EXPECT_THAT(temp.Files(), IsEmpty()) << "nothing is fetched";
}

TEST_F(FtpTransferTest, NamesThatDifferOnlyInCaseStayOnTheServer) {
    for (const RemoteEntry& entry :
         {RemoteEntry{"Sub", FILE_ATTRIBUTE_DIRECTORY}, RemoteEntry{"sub", FILE_ATTRIBUTE_NORMAL}}) {
        server.listing = {{"SUB", entry.attributes}, entry};
        EXPECT_THAT(
            FailToReceive(),
            StartsWith(Report(L"CreateRemoteFileList",
                              L"The FTP server lists the name " + base::FromSystemCodePage(entry.name) +
                                  L" and another one that differs only in the case")));
    }
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
}

TEST_F(FtpTransferTest, AConnectionThatIsLostBetweenFoldersIsReported) {
    const auto report = [](const std::wstring& folder, DWORD error) {
        return Report(L"MoveFiles", L"Could not set current directory(" + folder + L"): " + ErrorText(error));
    };
    server.Fail("SetFolder", {kLost, kLost});
    EXPECT_EQ(FailToReceive(), report(L"/", kLost)) << "not the same as a missing folder";
    server.Fail("GetFolder", {kLost});
    EXPECT_EQ(FailToReceive(), report(L"", ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(server.currentFolder, "/out") << "an empty path would be another folder";
    server.folders.insert({"/in/A", "/in/B"});
    temp.File(L"send\\a\\1.mdb");
    temp.File(L"send\\b\\2.mdb");
    server.afterPut = [&] { server.Fail("SetFolder", {kLost}); };
    EXPECT_EQ(FailToSend(), report(L"/in", kLost));
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"b\\2.mdb")) << "it would have landed in in/A";
}

TEST_F(FtpTransferTest, ANameOutsideTheCodePageDoesNotTravelUnderAnother) {
    temp.File(L"send\\\u0100.mdb");
    EXPECT_THAT(FailToSend(), HasSubstr(L"\u0100.mdb"));
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_EQ(temp.Files(L"send").size(), 1u);
}

TEST_F(FtpTransferTest, CancellingMakesSendFailAfterTheTransferButNotReceive) {
    server.files["/out/b.mdb"] = "2";
    temp.File(L"send\\a.mdb");
    progress->cancelAt = 0;
    EXPECT_EQ(FailToSend(), L"");
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
    EXPECT_TRUE(Receive());
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"b.mdb"));
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, AReceiveFolderThatCannotBeMadeIsReported) {
    temp.File(L"blocked");
    ReceiveInto(temp / L"blocked\\sub");
    Disconnect();
    const std::wstring report =
        Report(L"MoveFiles", L"Local receiving folder does not exist: " + temp / L"blocked\\sub\\x");
    EXPECT_THAT(FailToReceive(L"x"), EndsWith(report)) << "nobody can be shown why";
    SuppressMessages();
    EXPECT_THAT(FailToReceive(L"x"), EndsWith(report));
    EXPECT_EQ(server.logins.size(), 1u) << "no connection is made for it";
    EXPECT_TRUE(Connect());
}

}  // namespace
}  // namespace tests
