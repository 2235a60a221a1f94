// Packets through FTP: both directions, and the answers that no server gives on demand.
#include "base/Text.h"
#include "com/Object.h"
#include "com/Values.h"
#include "tests/win/library/FtpTest.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class FtpTransferTest : public FtpTest {
protected:
    FtpTransferTest() {
        Configure();
        EXPECT_TRUE(Connect());
        server.transcript.clear();
    }
};

TEST_F(FtpTransferTest, SendMovesFilesAndUpperCasedSubFolders) {
    server.folders.insert("/in");
    server.files["/in/a.mdb"] = "older and longer";
    temp.File(L"send\\a.mdb", "one");
    temp.File(L"send\\Field1\\b.xml", "two");
    temp.Protect(L"send\\a.mdb");
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.files,
                UnorderedElementsAre(Pair("/in/a.mdb", "one"), Pair("/in/FIELD1/b.xml", "two")));
    EXPECT_THAT(temp.Files(L"send"), IsEmpty()) << "a read-only source is deleted, too";
    EXPECT_EQ(server.currentFolder, "/");
    EXPECT_EQ(Calls(), "SetFolder in|Put a.mdb 0|Find a.mdb|Close 3|"
                       "SetFolder FIELD1|SetFolder FIELD1|Create FIELD1|SetFolder FIELD1|"
                       "Put b.xml 0|Find b.xml|Close 3|SetFolder /in|SetFolder /|");
    EXPECT_EQ(progress->transcript, L"range 0-1|status Sending files|range 0-1|message 0 Move a.mdb|0|"
                                    L"range 0-1|message 0 Move b.xml|0|");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, SendCreatesEachMissingRemoteFolderButNoneForNothing) {
    Init({{L"RemoteSendFolder", L"a/b/c"}});
    EXPECT_TRUE(Send());
    EXPECT_EQ(Calls(), "SetFolder /|") << "an empty local folder is nothing to send";
    temp.File(L"send\\x.mdb");
    EXPECT_TRUE(Send());
    EXPECT_THAT(server.folders, ElementsAre("/", "/a", "/a/b", "/a/b/c"));
    EXPECT_THAT(Calls(), StartsWith("SetFolder a/b/c|SetFolder a|Create a|SetFolder a|SetFolder b|Create b|"
                                    "SetFolder b|SetFolder c|Create c|SetFolder c|Put x.mdb 0|"));
    Init({{L"RemoteSendFolder", L"d/"}});
    temp.File(L"send\\x.mdb");
    EXPECT_TRUE(Send());
    EXPECT_TRUE(server.files.contains("/d/x.mdb"));
}

TEST_F(FtpTransferTest, ReceiveMovesFilesAndSubFoldersInTheServersSpelling) {
    server.folders = {"/", "/out", "/out/SUB", "/out/SUB/Deep"};
    server.files = {{"/out/SUB/a.mdb", std::string("1\r\n\x1A\0!", 6)}, {"/out/SUB/Deep/b.mdb", "2"}};
    temp.File(L"receive\\sub\\a.mdb", "older");
    temp.Protect(L"receive\\sub\\a.mdb");
    EXPECT_TRUE(Receive(L"sub"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"sub\\Deep\\b.mdb", L"sub\\a.mdb"));
    EXPECT_EQ(temp.Content(L"receive\\sub\\a.mdb"), std::string("1\r\n\x1A\0!", 6));
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_EQ(Calls(), "SetFolder out/SUB|Find *.*|Close 3|Get a.mdb 0 128 0|Delete a.mdb|"
                       "SetFolder Deep|Find *.*|Close 3|Get b.mdb 0 128 0|Delete b.mdb|SetFolder /out/SUB|"
                       "SetFolder /|");
    EXPECT_EQ(progress->transcript,
              L"range 0-1|status Receiving files|range 0-2|message 0 Move a.mdb|0|message 0 Move Deep|1|"
              L"range 0-1|message 0 Move b.mdb|0|");
}

TEST_F(FtpTransferTest, ReceiveFindsNothingInAMissingOrEmptyFolder) {
    EXPECT_TRUE(Receive()) << "missing";
    server.folders.insert("/out");
    EXPECT_TRUE(Receive()) << "empty";
    server.listing = {{".", FILE_ATTRIBUTE_DIRECTORY}, {"..", FILE_ATTRIBUTE_DIRECTORY}};
    EXPECT_TRUE(Receive()) << "nothing but itself and its parent";
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(Calls(), "SetFolder out/|SetFolder /|SetFolder out/|Find *.*|SetFolder /|"
                       "SetFolder out/|Find *.*|Close 3|SetFolder /|");
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, AFailedPutSaysWhyAndKeepsTheFile) {
    struct Case {
        DWORD error;
        const char* response;
        std::wstring message;
    };
    const std::wstring source = L"clsFTPSndRcv.cls.SendLocalFile\r\n";
    for (const Case& c : {Case{ERROR_INTERNET_EXTENDED_ERROR, "452 no space left on DEVICE.\r\n",
                               source + L"FTP site is out of space."},
                          Case{ERROR_INTERNET_EXTENDED_ERROR, "553 Could not create file.\r\n",
                               source + L"553 Could not create file.\r\n"},
                          Case{ERROR_SHARING_VIOLATION, "", L""},
                          Case{ERROR_INTERNET_CONNECTION_RESET, "",
                               source + L"Failed to transmit file a.mdb to the FTP server.\r\n" +
                                   ErrorText(ERROR_INTERNET_CONNECTION_RESET)}}) {
        temp.File(L"send\\a.mdb");
        temp.File(L"send\\b.mdb");
        server.response = c.response;
        server.Fail("Put", {c.error});
        EXPECT_FALSE(Send());
        EXPECT_EQ(Reported(), c.message);
        EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"a.mdb", L"b.mdb"))
            << "the first failure ends the transfer";
        EXPECT_EQ(server.currentFolder, "/in") << "where the transfer failed";
        server.currentFolder = "/";
    }
    EXPECT_THAT(progress->transcript, HasSubstr(L"|message 1 FTP site is out of space.|"));
    EXPECT_TRUE(Send()) << "the next run completes the job";
}

TEST_F(FtpTransferTest, APartOfAPacketDoesNotStayOnTheServer) {
    temp.File(L"send\\a.mdb", "content");
    server.failedPut = [&] { server.files["/in/a.mdb"] = "con"; };
    server.Fail("Put", {ERROR_INTERNET_INTERNAL_ERROR});
    server.Fail("Delete", {ERROR_INTERNET_CONNECTION_RESET});
    const auto failOnce = [&] {
        EXPECT_FALSE(Send());
        EXPECT_EQ(temp.Content(L"send\\a.mdb"), "content");
        server.currentFolder = "/";
        Calls();
        const std::wstring text = Reported();
        EXPECT_EQ(text.find(L"clsFTPSndRcv.cls"), text.rfind(L"clsFTPSndRcv.cls")) << "one report";
    };
    failOnce();
    EXPECT_EQ(server.files.size(), 1u) << "the server refused to delete it";
    server.Fail("Put", {ERROR_INTERNET_EXTENDED_ERROR});
    failOnce();
    EXPECT_THAT(server.files, IsEmpty());
    server.failedPut = [] {};
    for (const auto& [error, content] : {std::pair<DWORD, const char*>{ERROR_SHARING_VIOLATION, "old"},
                                         {ERROR_INTERNET_EXTENDED_ERROR, "older and whole"}}) {
        server.files["/in/a.mdb"] = content;
        server.Fail("Put", {error});
        failOnce();
        EXPECT_EQ(server.files["/in/a.mdb"], content) << "the put never came to replace it";
    }
}

TEST_F(FtpTransferTest, ASourceIsDeletedOnlyAfterItsCopyWasSeen) {
    server.folders.insert("/in");
    for (const DWORD error : {DWORD{ERROR_NO_MORE_FILES}, DWORD{ERROR_INTERNET_TIMEOUT}}) {
        temp.File(L"send\\a.mdb");
        server.Fail("Find", {error});
        EXPECT_FALSE(Send());
        EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
        const std::wstring text = Reported();
        EXPECT_THAT(
            text, EndsWith(L"clsFTPSndRcv.cls.SendLocalFile\r\nFailed occurred while transmiting file a.mdb "
                           L"to the FTP server."));
        const std::wstring detail =
            L"clsFTPSndRcv.cls.RemoteFileExists\r\nCould not verify that file a.mdb was "
            L"transported to the FTP server.\r\n" +
            ErrorText(error);
        EXPECT_EQ(text.starts_with(detail), error != ERROR_NO_MORE_FILES);
        server.currentFolder = "/";
    }
    Calls();
    server.Fail("Find", {ERROR_SUCCESS});
    EXPECT_TRUE(Send()) << "no handle, but no error either: the file counts as present";
    EXPECT_EQ(Calls(), "SetFolder in|Put a.mdb 0|Find a.mdb|Close 0|SetFolder /|");
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
}

TEST_F(FtpTransferTest, APacketSavedAgainWhileItIsSentStaysForTheNextRun) {
    const auto file = temp.File(L"send\\a.mdb", "old");
    server.afterPut = [&] { temp.File(L"send\\a.mdb", "new"); };
    EXPECT_FALSE(Send()) << "in use, as a file that cannot be opened";
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new") << "also of the same size";
    HANDLE writer = nullptr;
    server.afterPut = [&] {
        writer = CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                             OPEN_EXISTING, 0, nullptr);
    };
    server.currentFolder = "/";
    EXPECT_FALSE(Send());
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    CloseHandle(writer);
    EXPECT_EQ(temp.Content(L"send\\a.mdb"), "new");
    EXPECT_EQ(Reported(), L"");
    server.afterPut = [] {};
    server.currentFolder = "/";
    EXPECT_TRUE(Send());
    EXPECT_EQ(server.files["/in/a.mdb"], "new");
}

TEST_F(FtpTransferTest, ARemoteFolderThatCannotBeMadeIsReported) {
    temp.File(L"send\\a.mdb");
    Init({{L"RemoteSendFolder", L"x/y"}});
    server.folders.insert("/x");
    server.Fail("Create", {ERROR_INTERNET_TIMEOUT});
    EXPECT_FALSE(Send());
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.CreateRemoteFolders\r\nCould not create FTP directory: " +
                              ErrorText(ERROR_INTERNET_TIMEOUT) + L"\r\nFolder: y");
    EXPECT_EQ(server.currentFolder, "/");
    server.Fail("SetFolder", {1, 1, ERROR_INTERNET_TIMEOUT});
    EXPECT_FALSE(Send());
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.CreateRemoteFolders\r\nCould not create FTP directory: " +
                              ErrorText(ERROR_INTERNET_EXTENDED_ERROR) + L"\r\nFolder: x");
    server.folders.erase("/x");
    server.Fail("SetFolder", {1, 1, ERROR_INTERNET_TIMEOUT});
    EXPECT_FALSE(Send());
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.CreateRemoteFolders\r\nCould not set current directory(x): " +
                              ErrorText(ERROR_INTERNET_TIMEOUT));
    EXPECT_TRUE(temp.Exists(L"send\\a.mdb"));
}

TEST_F(FtpTransferTest, AListingThatFailsMovesNothing) {
    server.folders.insert("/out");
    server.files = {{"/out/a.mdb", "1"}, {"/out/b.mdb", "2"}};
    server.Fail("Find", {ERROR_INTERNET_TIMEOUT});
    EXPECT_FALSE(Receive());
    const std::wstring source = L"clsFTPSndRcv.cls.CreateRemoteFileList\r\n";
    EXPECT_EQ(Reported(), source + L"Could not find first FTP file: " + ErrorText(ERROR_INTERNET_TIMEOUT) +
                              L"\r\nFolder: out/");
    server.listingFailsAt = 1;
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), source + L"Could not find FTP file: " + ErrorText(ERROR_INTERNET_CONNECTION_RESET) +
                              L"\r\nFolder: out/");
    EXPECT_THAT(Calls(), EndsWith("Find *.*|Close 3|SetFolder /|"));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(server.files.size(), 2u);
}

TEST_F(FtpTransferTest, AFailedGetLeavesNothingLocalAndTheServersCopy) {
    server.folders.insert("/out");
    server.files["/out/a.mdb"] = "content";
    const std::wstring source = L"clsFTPSndRcv.cls.GetRemoteFile\r\n";
    server.Fail("Get", {ERROR_INTERNET_CONNECTION_RESET});
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), source + L"Failed to retrieve file a.mdb on the FTP server to local folder " +
                              temp / L"receive" + L"\\\r\n" + ErrorText(ERROR_INTERNET_CONNECTION_RESET));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    server.currentFolder = "/";
    server.listing = {{"a.mdb", FILE_ATTRIBUTE_NORMAL, 8}};
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), source + L"Failed to retrieve file a.mdb from the FTP server.")
        << "shorter than listed";
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
    EXPECT_EQ(server.files.size(), 1u);
    server.currentFolder = "/";
    server.listing.reset();
    server.Fail("Delete", {ERROR_INTERNET_TIMEOUT});
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), source + L"Failed to delete the file a.mdb from the FTP server.\r\n" +
                              ErrorText(ERROR_INTERNET_TIMEOUT));
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "content");
    server.currentFolder = "/";
    EXPECT_TRUE(Receive()) << "the next run completes the job";
    EXPECT_THAT(server.files, IsEmpty());
}

TEST_F(FtpTransferTest, ALocalFileInTheWayEndsTheTransfer) {
    server.folders.insert("/out");
    server.files["/out/a.mdb"] = "new";
    temp.File(L"receive\\a.mdb", "held");
    const HANDLE lock = CreateFileW((temp / L"receive\\a.mdb").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(Receive());
    CloseHandle(lock);
    EXPECT_EQ(Reported(), L"clsFTPSndRcv.cls.GetRemoteFile\r\nLocal file " + temp / L"receive" +
                              L"\\\\a.mdb already exists and couldn't be deleted.");
    EXPECT_EQ(temp.Content(L"receive\\a.mdb"), "held");
    EXPECT_EQ(server.files.size(), 1u);
}

TEST_F(FtpTransferTest, AListedNameThatWouldLeaveTheLocalFolderIsRefused) {
    server.folders.insert("/out");
    for (const RemoteEntry& entry : {RemoteEntry{"..\\evil.mdb"}, RemoteEntry{"a/evil.mdb"},
                                     RemoteEntry{"C:evil.mdb"}, RemoteEntry{".."}, RemoteEntry{"NUL.txt"},
                                     RemoteEntry{"COM1"}, RemoteEntry{"..\\..\\up", FILE_ATTRIBUTE_DIRECTORY},
                                     RemoteEntry{"CON", FILE_ATTRIBUTE_DIRECTORY}}) {
        server.currentFolder = "/";
        server.listing = {entry};
        EXPECT_FALSE(Receive()) << entry.name;
        EXPECT_EQ(Calls(), "SetFolder out/|Find *.*|Close 3|") << "nothing is fetched";
        EXPECT_THAT(Reported(),
                    StartsWith(L"clsFTPSndRcv.cls.GetRemoteFile\r\nThe FTP server lists the name " +
                               base::FromSystemCodePage(entry.name) + L","));
    }
    EXPECT_THAT(temp.Files(), IsEmpty());
}

TEST_F(FtpTransferTest, NamesThatDifferOnlyInCaseStayOnTheServer) {
    for (const char* folder : {"/out", "/out/SUB", "/out/Sub"})
        server.folders.insert(folder);
    server.files = {{"/out/SUB/a.mdb", "1"}, {"/out/Sub/a.mdb", "2"}};
    EXPECT_FALSE(Receive()) << "folders";
    server.currentFolder = "/";
    server.folders.erase("/out/SUB");
    server.files = {{"/out/Sub/A.mdb", "1"}, {"/out/Sub/a.mdb", "2"}};
    EXPECT_FALSE(Receive()) << "files";
    EXPECT_THAT(Reported(), HasSubstr(L"clsFTPSndRcv.cls.CreateRemoteFileList\r\nThe FTP server lists the "
                                      L"name a.mdb and another one"));
    EXPECT_EQ(server.files.size(), 2u);
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
}

TEST_F(FtpTransferTest, AConnectionThatIsLostBetweenFoldersIsReported) {
    const std::wstring report = L"clsFTPSndRcv.cls.MoveFiles\r\nCould not set current directory(";
    const DWORD lost = ERROR_INTERNET_CONNECTION_RESET;
    server.Fail("SetFolder", {lost, lost});
    EXPECT_FALSE(Receive()) << "not the same as a missing folder";
    EXPECT_EQ(Reported(), report + L"/): " + ErrorText(lost));
    Calls();
    server.Fail("GetFolder", {lost});
    EXPECT_FALSE(Receive());
    EXPECT_EQ(Reported(), report + L"): " + ErrorText(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(Calls(), "SetFolder out/|") << "an empty path would be another folder";
    for (const char* folder : {"/in", "/in/A", "/in/B"})
        server.folders.insert(folder);
    temp.File(L"send\\a\\1.mdb");
    temp.File(L"send\\b\\2.mdb");
    server.afterPut = [&] { server.Fail("SetFolder", {lost}); };
    EXPECT_FALSE(Send());
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"b\\2.mdb")) << "it would have landed in in/A";
    EXPECT_EQ(server.files.size(), 1u);
}

TEST_F(FtpTransferTest, ANameOutsideTheCodePageDoesNotTravelUnderAnother) {
    temp.File(L"send\\\u0100.mdb");
    EXPECT_FALSE(Send());
    EXPECT_THAT(Reported(), HasSubstr(L"\u0100.mdb"));
    EXPECT_THAT(server.files, IsEmpty());
    EXPECT_EQ(temp.Files(L"send").size(), 1u);
}

TEST_F(FtpTransferTest, CancellingMakesSendFailAfterTheTransferButNotReceive) {
    server.folders.insert("/out");
    server.files["/out/b.mdb"] = "2";
    temp.File(L"send\\a.mdb");
    progress->cancelAt = 0;
    EXPECT_FALSE(Send());
    EXPECT_THAT(temp.Files(L"send"), IsEmpty());
    EXPECT_TRUE(Receive());
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"b.mdb"));
    EXPECT_EQ(Reported(), L"");
}

TEST_F(FtpTransferTest, AReceiveFolderThatCannotBeMadeIsReported) {
    temp.File(L"blocked");
    remote->put_LocalReceiveFolder(com::Bstr(temp / L"blocked").Get());
    remote.Reset();
    Reported();
    auto quiet = com::Make<clsFTPSndRcv>();
    quiet->put_SupressMsg(VARIANT_TRUE);
    quiet.As(&remote);
    Configure();
    remote->put_LocalReceiveFolder(com::Bstr(temp / L"blocked\\sub").Get());
    Reported();
    EXPECT_FALSE(Receive(L"x"));
    EXPECT_THAT(Reported(),
                EndsWith(L"clsFTPSndRcv.cls.MoveFiles\r\nLocal receiving folder does not exist: " +
                         temp / L"blocked\\sub\\x"));
    EXPECT_EQ(Calls(), "") << "no connection is made for it";
    quiet->put_SupressMsg(VARIANT_FALSE);
    EXPECT_FALSE(Receive(L"x")) << "nobody can be shown why";
    EXPECT_THAT(Reported(), HasSubstr(L"Local receiving folder does not exist: " + temp / L"blocked"));
}

}  // namespace
}  // namespace tests
