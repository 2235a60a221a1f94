// Packets through FTP: both directions, and the answers that no server gives on demand.
#include <array>

#include "base/File.h"
#include "base/Text.h"
#include "base/WindowsTime.h"
#include "common/FtpReply.h"
#include "ftp/FtpTransfer.h"
#include "tests/win/library/FtpTest.h"

namespace tests {
namespace {

constexpr DWORD kLost = ERROR_INTERNET_CONNECTION_RESET;

class FtpTransferTest : public FtpTest {
protected:
    FtpTransferTest() {
        server.folders = {"/", "/in", "/out"};
        Configure();
        EXPECT_TRUE(Connect());
    }
    ~FtpTransferTest() override { EXPECT_THAT(server.open, SizeIs(2)) << "no search stays open"; }
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
}

TEST_F(FtpTransferTest, SendCreatesEachMissingRemoteFolderButNoneForNothing) {
    server.folders = {"/"};
    const int calls = server.calls;
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.calls, calls + 1) << "no folder was entered that must be left";
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

TEST_F(FtpTransferTest, ReceiveTakesTheFoldersOfALocalPathForThoseOfTheServer) {
    server.folders.insert({"/out/A", "/out/A/B"});
    server.files["/out/A/B/x.mdb"] = "1";
    EXPECT_TRUE(Receive(L"A\\b"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"A\\b\\x.mdb"));
    EXPECT_EQ(server.currentFolder, "/");
}

TEST_F(FtpTransferTest, FilesOfFolderTestsAndWhatIsStillCopiedAreNoPackets) {
    temp.File(L"send\\sub\\RWD_TestFile.txt");
    server.files = {
        {"/out/TestFtpConnection.txt", ""}, {"/out/rwd_testfile.TXT", ""}, {"/out/~1-2.arriving", "a part"}};
    EXPECT_TRUE(Send() && Receive());
    EXPECT_THAT(server.files, SizeIs(3));
    EXPECT_THAT(server.folders, ElementsAre("/", "/in", "/out")) << "nothing is to be sent";
    EXPECT_THAT(temp.Files(), ElementsAre(L"send\\sub\\RWD_TestFile.txt"));
}

TEST_F(FtpTransferTest, ReceiveFindsNothingInAMissingOrEmptyFolder) {
    EXPECT_TRUE(Receive(L"missing"));
    EXPECT_TRUE(Receive()) << "empty";
    server.listing = {{".", FILE_ATTRIBUTE_DIRECTORY}, {"..", FILE_ATTRIBUTE_DIRECTORY}};
    EXPECT_TRUE(Receive()) << "nothing but itself and its parent";
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(server.currentFolder, "/");
}

TEST_F(FtpTransferTest, AReplyInThePlaceOfAListTellsWhetherThereIsNothing) {
    const auto search = [&](const char* reply) {
        server.Fail("Find", {ERROR_INTERNET_EXTENDED_ERROR}, reply);
    };
    const std::wstring why = ErrorText(ERROR_INTERNET_EXTENDED_ERROR);
    search("550 No files found.\r\n");
    EXPECT_TRUE(Receive());
    search("450 /mnt/share: No such file or directory");
    EXPECT_THAT(FailToReceive(),
                OneFtpReport(L"CreateRemoteFileList", L"Could not find first FTP file: " + why +
                                                          L"\r\nFolder: out/\r\n450 /mnt/share: No such file "
                                                          L"or directory"));
    temp.File(L"send\\a.mdb");
    server.afterPut = [&] { search("450 a.mdb: no such file"); };
    EXPECT_THAT(FailToSend(), Contains(Tells(L"took file a.mdb but does not list it")));
    server.afterPut = [&] { search("450 Busy"); };
    EXPECT_THAT(FailToSend(), Contains(Tells(L"file a.mdb was transported to the FTP server.\r\n" + why +
                                             L"\r\n450 Busy")));
    server.files["/out/b.mdb"] = "1";
    server.afterGet = [&] { search("450 Busy"); };
    EXPECT_THAT(FailToReceive(), Contains(Tells(L"for the next transfer.\r\n" + why + L"\r\n450 Busy")));
}

TEST_F(FtpTransferTest, AFailedPutSaysWhyAndKeepsTheFile) {
    temp.File(L"send\\a.mdb");
    temp.File(L"send\\b.mdb");
    const auto reportsFor = [&](DWORD error, const char* response = "") {
        server.response = response;
        server.Fail("Put", {error});
        const auto reports = FailToSend();
        EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"a.mdb", L"b.mdb")) << "the first failure ends it";
        EXPECT_EQ(server.currentFolder, "/in") << "where the transfer failed";
        return reports;
    };
    EXPECT_THAT(reportsFor(ERROR_INTERNET_EXTENDED_ERROR, "452 no space left on DEVICE.\r\n"),
                OneFtpReport(L"SendLocalFile", L"FTP site is out of space."));
    EXPECT_THAT(reportsFor(ERROR_INTERNET_EXTENDED_ERROR, "553 Could not create file."),
                OneFtpReport(L"SendLocalFile", L"553 Could not create file."));
    EXPECT_THAT(reportsFor(ERROR_SHARING_VIOLATION), IsEmpty());
    EXPECT_THAT(reportsFor(kLost),
                OneFtpReport(L"SendLocalFile",
                             L"Failed to transmit file a.mdb to the FTP server.\r\n" + ErrorText(kLost)));
    EXPECT_THAT(progress->transcript, HasSubstr(L"|message 1 FTP site is out of space.|"));
    EXPECT_TRUE(Send()) << "the next run completes the job";
}

TEST_F(FtpTransferTest, APartOfAPacketDoesNotStayOnTheServer) {
    temp.File(L"send\\a.mdb", "content");
    const auto leftOf = [&](const std::string& part, DWORD error, const char* reply = "") {
        server.response = reply;
        server.failedPut = [&] { server.files["/in/a.mdb"] = part; };
        server.Fail("Put", {error});
        EXPECT_THAT(FailToSend(), SizeIs(error == ERROR_SHARING_VIOLATION ? 0 : 1));
        EXPECT_EQ(temp.Content(L"send\\a.mdb"), "content");
        return server.files["/in/a.mdb"];
    };
    constexpr DWORD kReply = ERROR_INTERNET_EXTENDED_ERROR;
    server.Fail("Delete", {kLost});
    EXPECT_EQ(leftOf("con", ERROR_INTERNET_CONNECTION_ABORTED), "con") << "the server refused to delete it";
    EXPECT_EQ(leftOf("con", ERROR_INTERNET_CONNECTION_ABORTED), "");
    for (const char* reply :
         {"451 Failure writing to local file.\r\n", "150 Ok to send data.\r\n552 Disk full",
          "150 Ok.\r\n550 Failed to write", "125 Go.\r\n551 Aborted", "150 Ok.\r\n426 Cut\r\n226 Closed"})
        EXPECT_EQ(leftOf("con", kReply, reply), "") << reply;
    EXPECT_EQ(leftOf("old and whole", kReply, "452 Disk full"), "old and whole");
    for (const char* reply : {"550 Overwrite permission denied\r\n", "553 No", "450 The file is busy",
                              "425 Can't open data connection.", "421 Service not available", ""})
        EXPECT_EQ(leftOf("old", kReply, reply), "old") << reply;
    for (const DWORD error : {DWORD{ERROR_SHARING_VIOLATION}, DWORD{ERROR_INTERNET_CANNOT_CONNECT},
                              DWORD{ERROR_INTERNET_TIMEOUT}, DWORD{ERROR_INTERNET_LOGIN_FAILURE}})
        EXPECT_EQ(leftOf("old", error), "old") << "the put may never have come to replace it";
}

TEST_F(FtpTransferTest, APacketThatTheListClampsIsNoPart) {
    constexpr DWORD kLargestListed = 0x7FFFFFFF;
    std::filesystem::resize_file(temp.File(L"send\\a.mdb"), kLargestListed + 2ULL);
    server.response = "451 Failure after the last byte.";
    for (const auto& [listed, remains] : {std::pair{kLargestListed, true}, {kLargestListed - 1, false}}) {
        server.files["/in/a.mdb"] = "as large as listed";
        server.listing = {{"a.mdb", 0, listed}};
        server.Fail("Put", {ERROR_INTERNET_EXTENDED_ERROR});
        EXPECT_THAT(FailToSend(), SizeIs(1));
        EXPECT_EQ(server.files.contains("/in/a.mdb"), remains) << listed;
    }
}

TEST_F(FtpTransferTest, ASourceIsDeletedOnlyAfterItsCopyWasSeen) {
    const auto failed = Reported(L"clsFTPSndRcv.cls.SendLocalFile",
                                 L"Failed occurred while transmiting file a.mdb to the FTP server.");
    temp.File(L"send\\a.mdb");
    const auto failToFind = [&](DWORD error) {
        server.afterPut = [&, error] { server.Fail("Find", {error}); };
    };
    failToFind(ERROR_NO_MORE_FILES);
    EXPECT_THAT(FailToSend(), ElementsAre(AllOf(Tells(L"The FTP server took file a.mdb but does not list it"),
                                                Tells(L"or the other side has received it already"),
                                                Not(Tells(L"give it a name"))),
                                          failed));
    failToFind(kLost);
    EXPECT_THAT(
        FailToSend(),
        ElementsAre(Reported(L"clsFTPSndRcv.cls.RemoteFileExists",
                             L"Could not verify that file a.mdb was transported to the FTP server.\r\n" +
                                 ErrorText(kLost)),
                    failed));
    EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
    failToFind(ERROR_SUCCESS);
    EXPECT_TRUE(Send()) << "no handle, but no error either: the file counts as present";
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
}

TEST_F(FtpTransferTest, ASentFileThatIsShorterOnTheServerIsNotSent) {
    temp.File(L"send\\a.mdb", "content");
    server.files["/in/A.mdb"] = "another";
    server.Fail("Rename", std::vector<DWORD>(9, ERROR_INTERNET_EXTENDED_ERROR));  // it stays beside
    server.afterPut = [&] { server.files["/in/a.mdb"].resize(3); };
    EXPECT_THAT(FailToSend(), ElementsAre(Tells(L"lists file a.mdb with 3 bytes, but here it has 7 bytes."),
                                          Tells(L"Failed occurred while transmiting file a.mdb")));
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "content");
    EXPECT_THAT(server.files, ElementsAre(Pair("/in/A.mdb", "another"))) << "no part stays";
    server.afterPut = [&] { server.listing = {{"A.mdb", 0, 3}, {"a.mdb", 0, 0}}; };
    EXPECT_TRUE(Send()) << "the list tells no sizes";
    server.tellsStatus = true;
    for (const char* const content : {"", "content"}) {
        temp.File(L"send\\a.mdb", content);
        EXPECT_TRUE(Send()) << "but the server does";
    }
    temp.File(L"send\\a.mdb", "content");
    for (const size_t unanswered : {0, 2}) {  // of the commands that ask for the size
        server.afterPut = [&] {
            server.files["/in/a.mdb"].clear();
            server.Fail("Command", std::vector<DWORD>(unanswered, kLost));
        };
        EXPECT_THAT(FailToSend(),
                    Contains(Tells(L"lists file a.mdb with 0 bytes, but here it has 7 bytes.")));
        EXPECT_EQ(temp.Content(L"send\\a.mdb"), "content");
        EXPECT_THAT(server.files, ElementsAre(Pair("/in/A.mdb", "another")));
    }
}

TEST_F(FtpTransferTest, ANameThatAServerTakesForAPatternIsFoundAndNoOtherInItsPlace) {
    server.files = {{"/in/my_plan.mdb", "another"}, {"/in/my-plan.mdb", "another"}};
    const auto names = {L"my plan.mdb", L"a[1].mdb", L"{b,c}.mdb", L"-l.mdb", L"~joe.mdb"};
    for (const std::wstring name : names)
        temp.File(L"send\\" + name, "1");
    EXPECT_TRUE(Send());
    for (const std::wstring name : names)
        EXPECT_EQ(server.files["/in/" + base::ToSystemCodePage(name)], "1");
    temp.File(L"send\\my plan.mdb", "22");
    server.afterPut = [&] { server.files.erase("/in/my plan.mdb"); };
    EXPECT_THAT(FailToSend(), Contains(AllOf(Tells(L"took file my plan.mdb but does not list it"),
                                             Tells(L"give it a name without blanks"))));
    EXPECT_TRUE(temp.Exists(L"send\\my plan.mdb"));
    server.listing = {{"my_plan.mdb", 0, 3}, {"MY PLAN.MDB", 0, 2}};
    EXPECT_TRUE(Send()) << "in the case that the server gives it";
}

TEST_F(FtpTransferTest, AVersionInOtherLettersTakesThePlaceOfTheOneThatWaits) {
    const auto sendAll = [&](std::map<std::string, std::string> there, const auto&... names) {
        server.files = std::move(there);
        (temp.File(std::wstring(L"send\\") + names, "new"), ...);
        EXPECT_TRUE(Send());
        EXPECT_THAT(temp.Files(L"send"), IsEmpty());
        return server.files;
    };
    EXPECT_THAT(
        sendAll({{"/in/A.MDB", "old"}, {"/in/SUB/B.mdb", "old"}, {"/in/c", "else"}}, L"a.mdb", L"sub\\b.mdb"),
        ElementsAre(Pair("/in/SUB/b.mdb", "new"), Pair("/in/a.mdb", "new"), Pair("/in/c", "else")));
    server.Fail("Rename", {ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_THAT(sendAll({{"/in/A.MDB", "old"}}, L"a.mdb"),
                ElementsAre(Pair("/in/A.MDB", "old"), Pair("/in/a.mdb", "new")));
    EXPECT_THAT(sendAll({{"/in/A.MDB", "old"}, {"/in/a.mdb", "old"}}, L"a.mdb"),
                ElementsAre(Pair("/in/A.MDB", "old"), Pair("/in/a.mdb", "new")))
        << "which of the two is newer, nobody knows";
    server.listing = {{"A.MDB", FILE_ATTRIBUTE_DIRECTORY}};
    EXPECT_THAT(sendAll({{"/in/A.MDB", "of a folder"}}, L"a.mdb"),
                Contains(Pair("/in/A.MDB", "of a folder")));
    server.listing.reset();
    server.Fail("Find", {kLost});
    EXPECT_THAT(sendAll({{"/in/A.MDB", "old"}}, L"a.mdb"), Contains(Pair("/in/a.mdb", "new")));
}

TEST(ListedSize, MayBeUnknownOrOfFewerBits) {
    constexpr std::uint64_t kGigabyte = 1ULL << 30;
    for (const auto& [listed, bytes] : {std::pair{7ULL, 7ULL},
                                        {0ULL, 7ULL},
                                        {0ULL, 0ULL},
                                        {5 * kGigabyte, 5 * kGigabyte},
                                        {kGigabyte + 7, 5 * kGigabyte + 7},
                                        {0x7FFFFFFFULL, 2 * kGigabyte},
                                        {0xFFFFFFFFULL, 5 * kGigabyte}})
        EXPECT_TRUE(MayBeListedSize(listed, bytes)) << listed << ", " << bytes;
    for (const auto& [listed, bytes] : {std::pair{6ULL, 7ULL},
                                        {8ULL, 7ULL},
                                        {7ULL, 0ULL},
                                        {2 * kGigabyte, 3 * kGigabyte},
                                        {0x7FFFFFFFULL, kGigabyte}})
        EXPECT_FALSE(MayBeListedSize(listed, bytes)) << listed << ", " << bytes;
}

TEST_F(FtpTransferTest, APacketSavedAgainWhileItIsSentStaysForTheNextRun) {
    const auto report = ElementsAre(Tells(L"File a.mdb was saved again while it was sent"));
    const auto file = temp.File(L"send\\a.mdb", "old");
    server.afterPut = [&] { temp.File(L"send\\a.mdb", "new"); };
    EXPECT_THAT(FailToSend(), report);
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new") << "also of the same size";
    base::FileHandle writer;
    server.afterPut = [&] { writer = Held(file, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE); };
    EXPECT_THAT(FailToSend(), report);
    writer.Reset();
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new");
    server.afterPut = [] {};
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.files["/in/a.mdb"], "new");
}

TEST_F(FtpTransferTest, AStepThatFailsBeforeTheFirstFileIsReportedAndMovesNothing) {
    temp.File(L"send\\a.mdb");
    server.files = {{"/out/a.mdb", "1"}, {"/out/b.mdb", "2"}};
    Init({{L"RemoteSendFolder", L"x/y"}});
    const std::wstring lost = ErrorText(kLost);
    const std::wstring late = ErrorText(ERROR_INTERNET_TIMEOUT);
    const auto report = [&](const char* function, const std::vector<DWORD>& errors) {
        server.Fail(function, errors);
        const bool sends = !std::string(function).starts_with("Find");
        const auto reports = sends ? FailToSend() : FailToReceive();
        EXPECT_EQ(server.currentFolder, "/");
        EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
        EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
        EXPECT_THAT(server.files, SizeIs(2));
        return reports;
    };
    const auto notMade = [](const std::wstring& what) { return OneFtpReport(L"CreateRemoteFolders", what); };
    const auto notListed = [&](const std::wstring& what) {
        return OneFtpReport(L"CreateRemoteFileList", what + lost + L"\r\nFolder: out/");
    };
    EXPECT_THAT(report("SetFolder", {ERROR_INTERNET_TIMEOUT}),
                notMade(L"Could not create FTP directory: " + late + L"\r\nFolder: x/y"));
    EXPECT_THAT(report("SetFolder", {ERROR_INTERNET_EXTENDED_ERROR, ERROR_INTERNET_TIMEOUT}),
                notMade(L"Could not set current directory(x): " + late));
    EXPECT_THAT(server.folders, SizeIs(3)) << "the current folder may be another one by now";
    EXPECT_THAT(report("SetFolder", {1, 1, kLost}), notMade(L"Could not set current directory(x): " + lost));
    EXPECT_THAT(report("Create", {kLost}),
                notMade(L"Could not create FTP directory: " + lost + L"\r\nFolder: y"));
    EXPECT_THAT(report("Find", {kLost}), notListed(L"Could not find first FTP file: "));
    EXPECT_THAT(report("FindNext", {kLost}), notListed(L"Could not find FTP file: "));
}

TEST_F(FtpTransferTest, AReceivedFileIsAsTheServerListsItButNotProtected) {
    constexpr DWORD kProtecting = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    for (const DWORD listed : {DWORD{FILE_ATTRIBUTE_NORMAL}, FILE_ATTRIBUTE_ARCHIVE | kProtecting}) {
        server.files["/out/a.mdb"] = "1";
        server.listing = {{"a.mdb", listed, 1}};
        EXPECT_TRUE(Receive());
        EXPECT_EQ(server.attributes, listed & ~kProtecting);
        EXPECT_EQ(GetFileAttributesW((temp / L"receive\\a.mdb").c_str()) & kProtecting, 0u);
    }
}

TEST_F(FtpTransferTest, AFailedGetLeavesWhatWasThereOnBothSides) {
    temp.File(L"receive\\a.mdb", "older");
    temp.Protect(L"receive\\a.mdb");
    server.files["/out/a.mdb"] = "content";
    server.Fail("Get", {kLost});
    EXPECT_THAT(
        FailToReceive(),
        OneFtpReport(L"GetRemoteFile", L"Failed to retrieve file a.mdb on the FTP server to local folder "
                                       L"T:\\receive\\\r\n" +
                                           ErrorText(kLost)));
    server.response = "550 No such file.";
    server.listing = {{"b", FILE_ATTRIBUTE_NORMAL, 7}};
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"Failed to retrieve file b on"),
                                             Tells(L"lists file b but refuses to send it")));
    server.listing.reset();
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"a.mdb"));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "older") << "it may be the only copy";
    server.Fail("Delete", {kLost});
    EXPECT_THAT(FailToReceive(),
                OneFtpReport(L"GetRemoteFile",
                             L"Failed to delete the file a.mdb from the FTP server.\r\n" + ErrorText(kLost)));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "content");
    EXPECT_TRUE(Receive()) << "the next run completes the job";
    EXPECT_THAT(server.files, IsEmpty());
}

TEST_F(FtpTransferTest, AFileThatTheOtherSideIsStillSendingStaysOnTheServer) {
    server.files["/out/a.mdb"] = "half";
    server.afterGet = [&] { server.files["/out/a.mdb"] = "half and the rest"; };
    EXPECT_THAT(FailToReceive(),
                ElementsAre(Tells(L"lists file a.mdb with 17 bytes, but here it has 4 bytes.")))
        << "it has grown since";
    server.afterGet = [] {};
    server.listing = {{"a.mdb", FILE_ATTRIBUTE_NORMAL, 9}};
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"9 bytes, but here it has 17 bytes."),
                                             Tells(L"Failed to retrieve file a.mdb from")))
        << "longer than listed";
    server.listing.reset();
    server.afterGet = [&] { server.Fail("Find", {kLost}); };
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"Could not verify that file a.mdb is unchanged")));
    server.afterGet = [&] { server.files.clear(); };
    EXPECT_THAT(FailToReceive(),
                OneFtpReport(L"GetRemoteFile", L"Failed to delete the file a.mdb from the FTP server.\r\n" +
                                                   ErrorText(ERROR_INTERNET_EXTENDED_ERROR)));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty()) << "a put that failed took its part away";
    temp.File(L"receive\\a.mdb", "older");
    server.lastWrites["/out/a.mdb"] = "20250102030405";
    for (const bool tellsStatus : {false, true}) {
        server.tellsStatus = tellsStatus;
        server.files["/out/a.mdb"] = "half";
        EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"Could not verify that file a.mdb is unchanged")));
        EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "older") << "it may have been a part";
    }
    std::filesystem::remove(temp / L"receive\\a.mdb");
    server.tellsStatus = false;
    server.files["/out/a.mdb"] = "half and the rest";
    server.afterGet = [&] {
        server.Fail("Find", {ERROR_NO_MORE_FILES});
        server.Fail("Delete", {kLost});
    };
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"Failed to delete the file a.mdb")));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "half and the rest") << "the server may have deleted it";
    server.tellsStatus = true;
    server.afterGet = [&] {
        server.Fail("Find", {ERROR_NO_MORE_FILES});
        server.Fail("Command", {ERROR_INTERNET_EXTENDED_ERROR});
    };
    EXPECT_TRUE(Receive()) << "a list that does not tell the name, but its time was told";
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "half and the rest");
    EXPECT_THAT(server.files, IsEmpty());
}

TEST_F(FtpTransferTest, AServerThatTellsSizeAndTimeIsNotAskedForItsListAgain) {
    server.tellsStatus = true;
    server.lastWrites["/out/a.mdb"] = "20250102030405";
    server.files["/out/a.mdb"] = "half";
    server.afterGet = [&] { server.files["/out/a.mdb"] = "half and the rest"; };
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"17 bytes, but here it has 4 bytes.")));
    for (const size_t refusals : {0, 1}) {  // of SIZE
        server.afterGet = [&] {
            server.files["/out/a.mdb"] = "another version!!";
            server.lastWrites["/out/a.mdb"] += "0";
            server.Fail("Command", std::vector<DWORD>(refusals, ERROR_INTERNET_EXTENDED_ERROR));
        };
        EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"a.mdb was replaced on the FTP server")))
            << "of the same size";
    }
    server.afterGet = [&] { server.Fail("Command", {kLost, kLost}); };
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"Could not verify that file a.mdb is unchanged")));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    server.afterGet = [&] { server.Fail("Find", {kLost}); };
    EXPECT_TRUE(Receive());
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "another version!!");
}

TEST_F(FtpTransferTest, WhatReplacesAPacketWhileItIsBroughtToTheDiskStaysOnTheServer) {
    server.tellsStatus = true;
    server.files["/out/a.mdb"] = "older";
    server.lastWrites["/out/a.mdb"] = "20250102030405";
    bool isOnDisk = false;
    server.atCommand = [&](const std::string& command) {
        for (const std::wstring& file : temp.Files(L"receive")) {
            const auto version = FileSystem::VersionOf(temp / (L"receive\\" + file));
            const auto written = TimeIn(L"20250102030405");
            // The last step before a file is flushed.
            if (command.starts_with("SIZE")) isOnDisk = base::FromWindowsTime(version->lastWrite) == written;
            if (file != L"a.mdb") continue;
            server.files["/out/a.mdb"] = "newer";
            server.lastWrites["/out/a.mdb"] = "20250102030406";
        }
    };
    EXPECT_THAT(FailToReceive(), ElementsAre(Tells(L"a.mdb was replaced on the FTP server")));
    EXPECT_TRUE(isOnDisk);
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "older") << "whole, and the server has no other copy";
    EXPECT_THAT(server.files, ElementsAre(Pair("/out/a.mdb", "newer")));
    EXPECT_TRUE(Receive());
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "newer");
    EXPECT_THAT(server.files, IsEmpty());
}

TEST_F(FtpTransferTest, WhatAServerListsTellsTheTimeOfAPacketWhereNothingElseDoes) {
    using std::chrono::days;
    const auto start = base::Now();
    const auto listedAs = [&](FILETIME time) {
        server.files["/out/a.mdb"] = "1";
        server.listing = {{"a.mdb", FILE_ATTRIBUTE_NORMAL, 1, time}};
        EXPECT_TRUE(Receive());
        return base::FromWindowsTime(FileSystem::VersionOf(temp / L"receive\\a.mdb")->lastWrite);
    };
    for (const days age : {days(0), days(100), days(1000), days(-1), days(-100)})  // by another clock
        EXPECT_EQ(listedAs(base::ToWindowsTime(start - age)), start - age);
    for (const days ahead : {days(364), days(190)}) {  // of last year, which lists leave out
        const auto day = std::chrono::floor<days>(start + ahead);
        const std::chrono::sys_days yearBefore = std::chrono::year_month_day(day) - std::chrono::years(1);
        EXPECT_EQ(listedAs(base::ToWindowsTime(start + ahead)), yearBefore + (start + ahead - day));
    }
    EXPECT_GE(listedAs({}), start) << "not listed: when it came";
    server.tellsStatus = true;
    server.lastWrites["/out/a.mdb"] = "20250102030405";
    EXPECT_EQ(listedAs(base::ToWindowsTime(start)), TimeIn(L"20250102030405")) << "to the second";
}

TEST_F(FtpTransferTest, ALocalFileInTheWayEndsTheTransfer) {
    server.files["/out/a.mdb"] = "new";
    base::FileHandle lock = Held(temp.File(L"receive\\a.mdb", "held"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_THAT(FailToReceive(),
                OneFtpReport(L"GetRemoteFile",
                             L"Local file T:\\receive\\\\a.mdb already exists and couldn't be deleted."));
    lock.Reset();
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "held");
    EXPECT_THAT(server.files, SizeIs(1));
    server.listing = {{"a.mdb", FILE_ATTRIBUTE_DIRECTORY}};
    EXPECT_THAT(FailToReceive(), Contains(Tells(L"folder does not exist: T:\\receive\\a.mdb")));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "held") << "no folder takes the place of a packet";
}

TEST_F(FtpTransferTest, AListedNameThatWouldLeaveTheLocalFolderIsRefused) {
    for (const auto& [name, attributes] : {std::pair<std::string, DWORD>{"..\\evil.mdb", 0},
                                           {"..", 0},
                                           {"..\\..\\up", FILE_ATTRIBUTE_DIRECTORY}}) {
        server.listing = {{name, attributes}};
        EXPECT_THAT(FailToReceive(),
                    OneFtpReport(L"GetRemoteFile",
                                 L"The FTP server lists the name " + base::FromSystemCodePage(name) +
                                     L", which cannot be the name of a file in the local folder. "
                                     L"Rename or remove it on the server."));
    }
    EXPECT_THAT(temp.Files(), IsEmpty()) << "nothing is fetched";
}

TEST_F(FtpTransferTest, NamesThatDifferOnlyInCaseStayOnTheServer) {
    for (const DWORD attributes : {FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_NORMAL}) {
        server.listing = {{"SUB", attributes}, {"Sub", attributes}};
        EXPECT_THAT(
            FailToReceive(),
            OneFtpReport(L"CreateRemoteFileList",
                         L"The FTP server lists the name Sub and another one that differs only in the case "
                         L"of letters. Both would be one local file. Rename or remove one on the server."));
    }
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
}

TEST_F(FtpTransferTest, AConnectionThatIsLostBetweenFoldersIsReported) {
    const auto report = [](const std::wstring& folder, DWORD error) {
        return OneFtpReport(L"MoveFiles",
                            L"Could not set current directory(" + folder + L"): " + ErrorText(error));
    };
    server.Fail("SetFolder", {kLost, kLost, kLost});
    EXPECT_THAT(FailToReceive(), report(L"/", kLost)) << "not the same as a missing folder";
    temp.File(L"send\\a\\1.mdb");
    temp.File(L"send\\b\\2.mdb");
    server.afterPut = [&] { server.Fail("SetFolder", {kLost, kLost}); };
    EXPECT_THAT(FailToSend(), report(L"/in", kLost));
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"b\\2.mdb")) << "it would have landed in in/A";
}

TEST_F(FtpTransferTest, WithoutACurrentFolderOnlyFlatTransfersWork) {
    const auto refused = [](const std::wstring& name) {
        return ElementsAre(AllOf(Tells(L"does not tell the current folder"), Tells(L"sub-folder " + name),
                                 Tells(L"502 No.")));
    };
    server.folders.insert({"/home", "/home/in", "/home/in/deep", "/home/out", "/home/out/SUB"});
    server.home = "/home";
    server.Fail("GetFolder", std::vector<DWORD>(100, ERROR_INTERNET_EXTENDED_ERROR), "502 No.");
    Init({{L"RemoteSendFolder", L"in/deep"}});
    temp.File(L"send\\a.mdb", "1");
    temp.Folder(L"send\\empty");
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.currentFolder, "/home");
    temp.File(L"send\\sub\\b.mdb");
    temp.File(L"send\\c.mdb", "2");
    EXPECT_THAT(FailToSend(), refused(L"sub"));
    EXPECT_EQ(server.currentFolder, "/home") << "the other direction comes next";
    EXPECT_THAT(server.files,
                ElementsAre(Pair("/home/in/deep/a.mdb", "1"), Pair("/home/in/deep/c.mdb", "2")));
    server.files = {{"/home/out/d.mdb", "3"}};
    EXPECT_THAT(FailToReceive(), refused(L"SUB"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"d.mdb"));
    server.folders.erase("/home/out/SUB");
    EXPECT_TRUE(Receive());
    EXPECT_TRUE(Receive(L"missing"));
    server.Fail("SetFolder", {ERROR_INTERNET_EXTENDED_ERROR, ERROR_INTERNET_EXTENDED_ERROR});
    EXPECT_TRUE(Receive(L"missing")) << "also on a server that does not take a dot for the folder";
    server.failures.clear();
    server.home = "/" + std::string(250, 'x');
    server.folders.insert({server.home, server.home + "/in", server.home + "/in/deep"});
    EXPECT_THAT(FailToSend(), ElementsAre(AllOf(Tells(L"on the FTP server is too long"),
                                                Tells(L"from the sub-folder sub."))));
}

TEST_F(FtpTransferTest, WhatWasMovedIsMovedAlsoWhereThereIsNoWayBack) {
    server.folders = {"/home", "/home/in"};
    server.home = "/home";
    const auto refuse = [&](size_t times) {
        server.afterEntering = [&, times] {
            if (server.currentFolder == "/home/in")
                server.Fail("SetFolder", std::vector<DWORD>(times, ERROR_INTERNET_EXTENDED_ERROR));
        };
        temp.File(L"send\\a.mdb");
    };
    refuse(1);
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.currentFolder, "/home") << "a folder that the server names but refuses has a way up";
    refuse(2);
    EXPECT_TRUE(Send());
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(Tells(L"Could not set current directory(/home)", ZN_EVENTLOG_WARNING_TYPE)));
    EXPECT_THAT(progress->transcript, Not(HasSubstr(L"message 1"))) << "what is shown is what stays";
    EXPECT_THAT(server.open, IsEmpty()) << "the next transfer must not begin in this folder";
    EXPECT_TRUE(Connect());
}

TEST_F(FtpTransferTest, ATransferInsideATransferIsRefused) {
    temp.File(L"send\\a.mdb", "1");
    temp.File(L"send\\b.mdb", "2");
    server.files["/out/c.mdb"] = "3";
    server.afterPut = [&] {
        EXPECT_FALSE(SenderReceiverTest::Receive(L""));
        EXPECT_FALSE(SenderReceiverTest::Send());
    };
    EXPECT_TRUE(Send());
    EXPECT_THAT(framework.TakeLog(), Each(Tells(L"is connecting, sending or receiving already")));
    EXPECT_THAT(server.files,
                ElementsAre(Pair("/in/a.mdb", "1"), Pair("/in/b.mdb", "2"), Pair("/out/c.mdb", "3")));
    server.afterPut = [&] {
        Disconnect();
        EXPECT_THAT(server.open, SizeIs(2)) << "what runs needs it";
    };
    temp.File(L"send\\a.mdb", "4");
    temp.File(L"send\\b.mdb", "5");
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.open, IsEmpty());
    EXPECT_TRUE(Connect());
}

TEST_F(FtpTransferTest, AListedFolderThatCannotBeEnteredIsReported) {
    server.folders.insert("/out/Z");
    server.files = {{"/out/Z/a.mdb", "1"}};
    server.listing = {{"My", FILE_ATTRIBUTE_DIRECTORY}, {"Z", FILE_ATTRIBUTE_DIRECTORY}};
    server.afterEntering = [&] {
        if (server.currentFolder == "/out/Z") server.listing.reset();
    };
    server.response = "550 Failed to change directory.";
    EXPECT_TRUE(Receive());
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"Z\\a.mdb")) << "the others are received";
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(AllOf(Tells(L"lists the folder My but does not let it be entered"),
                                  Tells(L"550 Failed"))));
}

TEST_F(FtpTransferTest, FoldersWithoutEndAreLeft) {
    const auto tooDeep = ElementsAre(Tells(L"The folder LOOP lies more than 32 folders deep"));
    server.listing = {{"LOOP", FILE_ATTRIBUTE_DIRECTORY}};
    server.afterEntering = [&] { server.folders.insert(server.currentFolder + "/LOOP"); };
    EXPECT_THAT(FailToReceive(), tooDeep);
    std::wstring local = L"send";
    for (int depth = 0; depth < 33; ++depth)
        local += L"\\LOOP";
    temp.File(local + L"\\a.mdb");
    EXPECT_THAT(FailToSend(), tooDeep);
}

TEST_F(FtpTransferTest, NothingIsMadeInAWrongPlace) {
    temp.File(L"send\\a.mdb");
    for (const std::wstring path : {L"/x/y", L"in//y"}) {
        Init({{L"RemoteSendFolder", path}});
        EXPECT_THAT(FailToSend(),
                    OneFtpReport(L"CreateRemoteFolders", L"Could not create FTP directory: " +
                                                             ErrorText(ERROR_INTERNET_EXTENDED_ERROR) +
                                                             L"\r\nFolder: " + path));
    }
    EXPECT_THAT(server.folders, ElementsAre("/", "/in", "/out"));
    Init({{L"RemoteSendFolder", L"/in"}});
    EXPECT_TRUE(Send());
}

TEST_F(FtpTransferTest, TheHostSeesAFailureThatCannotBeLogged) {
    temp.File(L"send\\a.mdb");
    framework.logResult = E_ACCESSDENIED;
    server.Fail("Put", {kLost});
    EXPECT_FALSE(Send());
    EXPECT_THAT(progress->transcript, HasSubstr(L"|message 1 Failed to transmit file a.mdb"));
}

TEST_F(FtpTransferTest, ANameOutsideTheCodePageDoesNotTravelUnderAnother) {
    temp.File(L"send\\\u0100.mdb");
    EXPECT_THAT(FailToSend(),
                OneFtpReport(L"SendLocalFile", L"\u0100.mdb: a character is not in the system's 8-bit "
                                               L"code page; use another name.\r\n"));
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_THAT(temp.Files(L"send"), SizeIs(1));
}

TEST_F(FtpTransferTest, AFolderOutsideTheCodePageDoesNotTravelAndIsNoHindrance) {
    SendFrom(temp.Folder(L"send \u0100"));
    ReceiveInto(temp.Folder(L"\u0394\\receive \u0100"));
    temp.File(L"send \u0100\\a.mdb", "1");
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.files, ElementsAre(Pair("/in/a.mdb", "1")));
    server.files = {{"/out/longer than eight.mdb", "2"}};
    EXPECT_TRUE(Receive());
    EXPECT_EQ(temp.Content(L"\u0394\\receive \u0100\\longer than eight.mdb"), "2");
}

TEST_F(FtpTransferTest, ALongLocalPathTravelsByItsShortNameOrNotAtAll) {
    std::array<wchar_t, MAX_PATH> scratch{};  // with no name that can become shorter
    GetShortPathNameW(temp.Path().c_str(), scratch.data(), MAX_PATH);
    const auto makeFolder = [&](const std::wstring& name, size_t length) {
        std::wstring path = scratch.data();
        while (path.size() + name.size() + 4 < length)
            path += L"\\" + name;
        path += L"\\" + std::wstring(length - path.size() - 1, L'x');
        FileSystem::CreateFolders(path);
        base::WriteNewFile(path + L"\\a.mdb", "1");
        SendFrom(path);
        return path;
    };
    makeFolder(L"longer than eight", MAX_PATH);
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.files, ElementsAre(Pair("/in/a.mdb", "1")));
    const std::wstring tooLong = makeFolder(L"short", MAX_PATH);
    const std::wstring file = tooLong + L"\\a.mdb";
    EXPECT_THAT(FailToSend(), ElementsAre(Tells(L"\\a.mdb has " + std::to_wstring(file.size()) +
                                                L" characters, but a file for FTP may have 259.")));
    EXPECT_TRUE(FileSystem::FileExists(file));
    server.files = {{"/out/plan.mdb", "2"}};
    ReceiveInto(tooLong);
    EXPECT_THAT(FailToReceive(), ElementsAre(AllOf(Tells(L"Failed to retrieve file plan.mdb on"),
                                                   Tells(L"but a file for FTP may have 259."))));
    const std::wstring folder = makeFolder(L"short", 240);
    ReceiveInto(folder);
    EXPECT_TRUE(Receive());
    EXPECT_TRUE(FileSystem::FileExists(folder + L"\\plan.mdb"));
}

TEST_F(FtpTransferTest, WhatTheSystemDoesNotTellOfASendFolderFailsTheTransfer) {
    SendFrom(temp / L"a*b");
    framework.TakeLog();
    EXPECT_THAT(FailToSend(), ElementsAre(Tells(L"a*b")));
}

TEST_F(FtpTransferTest, CancellingMakesSendFailAfterTheTransferButNotReceive) {
    server.files["/out/b.mdb"] = "2";
    temp.File(L"send\\a.mdb");
    progress->cancelAt = 0;
    EXPECT_THAT(FailToSend(), IsEmpty());
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
    EXPECT_TRUE(Receive());
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"b.mdb"));
}

TEST_F(FtpTransferTest, AReceiveFolderThatCannotBeMadeIsReported) {
    temp.File(L"blocked");
    ReceiveInto(temp / L"blocked\\sub");
    Disconnect();
    const auto report = Reported(L"clsFTPSndRcv.cls.MoveFiles",
                                 L"Local receiving folder does not exist: T:\\blocked\\sub\\x");
    EXPECT_THAT(FailToReceive(L"x"), Contains(report)) << "nobody can be shown why";
    SuppressMessages();
    EXPECT_THAT(FailToReceive(L"x"), Contains(report));
    EXPECT_THAT(server.logins, SizeIs(1)) << "no connection is made for it";
    EXPECT_TRUE(Connect());
}

}  // namespace
}  // namespace tests
