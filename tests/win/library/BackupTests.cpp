// Backups of received packets: taken while receiving, listed, restored, destroyed.
#include "base/File.h"
#include "base/RollBack.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

const std::wstring kDeliver = L"clsTransporter.cls.IZNTransporter_NextLocalReceiveFile";

class Backups : public ScratchTest {
protected:
    Backups() {
        Open();
        temp.Folder(L"out");
    }

    void Open(bool enabled = true) {
        transporter = Create<clsTransporter, IZNTransporter>();
        transporter.As(&backups);
        remote = Create<clsXCOPYSndRcv, IZNSenderReceiver>();
        UseReceiveFolder(L"in");
        remote->put_LocalSendFolder(In(temp.Folder(L"send")));
        transporter->putref_SenderReceiver(remote.Get());
        if (enabled) backups->put_BackupEnabled(VARIANT_TRUE);
    }
    void UseReceiveFolder(const wchar_t* name) { remote->put_LocalReceiveFolder(In(temp.Folder(name))); }
    LONG List(const std::wstring& folder = L"") {
        return Ask<LONG>(&IZNTransporter::ResetLocalReceiveFiles, transporter, folder);
    }
    bool Deliver(const std::wstring& folder = L"") {
        Bstr file;
        return Ask<bool>(&IZNTransporter::NextLocalReceiveFile, transporter, temp.Folder(L"out\\" + folder),
                         file.Put());
    }
    /// Delivers every received file of a sub-folder to one of its own, and counts them.
    int Receive(const std::wstring& subFolder = L"") {
        int delivered = 0;
        for (LONG left = List(subFolder); left > 0; --left)
            delivered += Deliver(subFolder);
        return delivered;
    }
    /// Of packet 1.
    void TakeBackup() {
        temp.File(L"in\\1.mdb", "backup");
        EXPECT_EQ(Receive(), 1);
    }
    std::vector<std::wstring> Ids() {
        std::vector<std::wstring> ids;
        while (ids.empty() || !ids.back().empty())
            ids.push_back(Ask<std::wstring>(&IZNTransporter2::Next, backups));
        ids.pop_back();
        return ids;
    }
    bool Exists(const wchar_t* id) { return Ask<bool>(&IZNTransporter2::BackupExists, backups, id); }
    bool Restore(const std::wstring& id) { return Ask<bool>(&IZNTransporter2::RestoreBackup, backups, id); }
    bool Destroy(const std::wstring& id) { return Ask<bool>(&IZNTransporter2::DestroyBackup, backups, id); }

    ComPtr<IZNTransporter> transporter;
    ComPtr<IZNTransporter2> backups;
    ComPtr<IZNSenderReceiver> remote;
};

TEST_F(Backups, AreOffUntilAskedFor) {
    Open(false);
    EXPECT_FALSE(Ask<bool>(&IZNTransporter2::get_BackupEnabled, backups));
    TakeBackup();
    temp.File(L"in\\Backup\\2.mdb");
    EXPECT_EQ(backups->Reset(), S_OK);
    EXPECT_THAT(Ids(), IsEmpty());
    EXPECT_FALSE(Exists(L"2") || Restore(L"2") || Destroy(L"2"));
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"Backup\\2.mdb"));
}

TEST_F(Backups, AreTakenBeforeTheDeliveryAndListedInItsOrder) {
    temp.File(L"in\\sub\\b~2.mdb", "second");
    temp.File(L"in\\sub\\deeper\\a.mdb", "first");
    temp.File(L"in\\sub\\no packet", "x");
    EXPECT_EQ(Receive(L"sub\\deeper"), 1);
    EXPECT_EQ(Receive(L"sub"), 2);
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"Backup\\sub\\b~2.mdb", L"Backup\\sub\\deeper\\a.mdb",
                                               L"Backup\\sub\\no packet"));
    EXPECT_THAT(Ids(), ElementsAre(L"a", L"b"));
    EXPECT_EQ(Ask<std::wstring>(&IZNTransporter2::Next, backups), L"") << "the end stays the end";
    temp.File(L"in\\sub\\b.xml", "newer");
    EXPECT_EQ(Receive(L"sub"), 1);
    EXPECT_THAT(Ids(), IsEmpty()) << "the first backup of an id wins";
    EXPECT_TRUE(Restore(L"b"));
    EXPECT_EQ(temp.Content(L"in\\sub\\b~2.mdb"), "second");
}

TEST_F(Backups, AFailedRestoreLeavesTheReceivedFile) {
    TakeBackup();
    temp.File(L"in\\1.mdb", "received since");
    temp.Protect(L"in\\1.mdb");
    {
        const auto lock = base::File::Open(temp / L"in\\Backup\\1.mdb", GENERIC_READ, 0, OPEN_EXISTING);
        EXPECT_FALSE(Restore(L"1"));
    }
    EXPECT_EQ(temp.Content(L"in\\1.mdb"), "received since");
    EXPECT_TRUE(GetFileAttributesW((temp / L"in\\1.mdb").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_THAT(temp.Files(L"in"), UnorderedElementsAre(L"1.mdb", L"Backup\\1.mdb"));
    EXPECT_TRUE(Restore(L"1"));
    EXPECT_EQ(temp.Content(L"in\\1.mdb"), "backup");
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"1.mdb"));
    EXPECT_TRUE(Exists(L"1")) << "the entry stays";
    EXPECT_FALSE(Restore(L"1")) << "its file has moved";
}

TEST_F(Backups, AreRestoredIntoTheirReceiveFolderOnly) {
    TakeBackup();
    UseReceiveFolder(L"elsewhere");
    EXPECT_FALSE(Restore(L"1"));
    UseReceiveFolder(L"in\\Backup2");
    temp.File(L"in\\Backup2\\2.mdb");
    EXPECT_EQ(Receive(), 1);
    UseReceiveFolder(L"in");
    EXPECT_FALSE(Restore(L"2")) << "the backup folder's name only begins like the old folder's";
    transporter->putref_SenderReceiver(nullptr);
    EXPECT_FALSE(Restore(L"1"));
    EXPECT_EQ(backups->Reset(), S_OK);
    EXPECT_TRUE(Exists(L"1"));
    EXPECT_THAT(temp.Files(L"in"), UnorderedElementsAre(L"Backup\\1.mdb", L"Backup2\\Backup\\2.mdb"));
    EXPECT_THAT(temp.Files(L"elsewhere"), IsEmpty());
}

TEST_F(Backups, AReceiveFolderMayEndInASeparator) {
    remote->put_LocalReceiveFolder(In(temp / L"in\\"));
    TakeBackup();
    temp.File(L"in\\sub\\2.mdb");
    EXPECT_EQ(Receive(L"sub"), 1);
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"Backup\\1.mdb", L"Backup\\sub\\2.mdb"));
    EXPECT_TRUE(Restore(L"1"));
    backups->Reset();
    EXPECT_TRUE(Restore(L"2"));
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"1.mdb", L"sub\\2.mdb"));
}

TEST_F(Backups, AFileOutsideTheReceiveFolderStays) {
    temp.File(L"in\\1.mdb");
    for (const wchar_t* folder : {L"i", L"a folder with a longer path than the file"}) {
        UseReceiveFolder(L"in");
        List();
        UseReceiveFolder(folder);
        EXPECT_FALSE(Deliver());
        const std::wstring text = L"T:\\in\\1.mdb does not lie in the receive folder T:\\" +
                                  std::wstring(folder) +
                                  L", which has changed since the received files were listed.\r\n";
        EXPECT_THAT(framework.TakeLog(), OneReport(kDeliver, text));
    }
    EXPECT_THAT(temp.Files(), ElementsAre(L"in\\1.mdb"));
}

TEST_F(Backups, AnOlderCopyIsReplaced) {
    for (const char* content : {"older", "newer"}) {
        SetFileAttributesW((temp / L"in\\Backup\\1.mdb").c_str(),
                           FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
        temp.File(L"in\\1.mdb", content);
        temp.Protect(L"in\\1.mdb");
        EXPECT_EQ(Receive(), 1);
        EXPECT_EQ(temp.Content(L"in\\Backup\\1.mdb"), content);
        SetFileAttributesW((temp / L"out\\1.mdb").c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"Backup\\1.mdb"));
}

TEST_F(Backups, DestroyedOnesAreKnownUntilTheNextReset) {
    TakeBackup();
    temp.Protect(L"in\\Backup\\1.mdb");
    EXPECT_TRUE(Destroy(L"1"));
    EXPECT_FALSE(temp.Exists(L"in\\Backup\\1.mdb"));
    EXPECT_TRUE(Destroy(L"1"));
    EXPECT_TRUE(Exists(L"1"));
    EXPECT_FALSE(Destroy(L"unknown"));
    backups->Reset();
    EXPECT_FALSE(Exists(L"1"));
}

TEST_F(Backups, AreListedWithAFoldersOwnFilesFirst) {
    for (const std::wstring name : {L"2.mdb", L"a\\1.mdb", L"a\\more\\2~Base.axd"})
        temp.File(L"in\\Backup\\" + name);
    backups->Reset();
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"clsTransporter.cls.AddToList",
                          L"Packet id 2 is represented by multiple files in the backup folder "
                          L"T:\\in\\Backup\\a\\more.\r\nThis is often due to using several "
                          L"different compression methods on the same packet.",
                          ZN_EVENTLOG_WARNING_TYPE));
    EXPECT_THAT(Ids(), ElementsAre(L"2", L"1"));
    EXPECT_TRUE(Restore(L"2"));
    EXPECT_THAT(temp.Files(L"in"),
                UnorderedElementsAre(L"2.mdb", L"Backup\\a\\1.mdb", L"Backup\\a\\more\\2~Base.axd"));
}

TEST_F(Backups, NothingInTheRootOfTheDriveIsOne) {
    constexpr auto kFolder = L"C:\\Backup";
    if (!CreateDirectoryW(kFolder, nullptr)) GTEST_SKIP() << "needs a drive to whose root it may write";
    const base::RollBack removal([&, was = std::filesystem::current_path()] {
        std::filesystem::current_path(was);
        std::filesystem::remove_all(kFolder);
    });
    std::ofstream(std::filesystem::path(kFolder) / "9.mdb") << "of somebody";
    std::filesystem::current_path(L"C:\\");
    transporter->putref_SenderReceiver(Create<clsXCOPYSndRcv, IZNSenderReceiver>().Get());
    EXPECT_EQ(backups->Reset(), S_OK);
    EXPECT_THAT(Ids(), IsEmpty()) << "where no receive folder is set";
}

TEST_F(Backups, ABackupThatCannotBeTakenLeavesThePacketWhereItIs) {
    temp.File(L"in\\1.mdb", "packet");
    temp.Folder(L"in\\Backup\\1.mdb");
    EXPECT_EQ(Receive(), 0) << "a folder has the copy's name";
    EXPECT_THAT(framework.TakeLog(), OneReport(kDeliver));
    temp.File(L"in\\sub\\2.mdb", "packet");
    temp.File(L"in\\Backup\\sub", "a file where a folder belongs");
    EXPECT_EQ(Receive(L"sub"), 0);
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"Could not create folder T:\\in\\Backup\\sub"));
    EXPECT_THAT(temp.Files(), UnorderedElementsAre(L"in\\1.mdb", L"in\\sub\\2.mdb", L"in\\Backup\\sub"));
}

}  // namespace
}  // namespace tests
