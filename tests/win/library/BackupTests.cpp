// Backups of received packets: taken while receiving, listed, restored, destroyed.
#include <gmock/gmock.h>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

using com::Bstr;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Backups : public LibraryTest {
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
        remote->put_LocalSendFolder(Bstr(temp.Folder(L"send")).Get());
        transporter->putref_SenderReceiver(remote.Get());
        if (enabled) backups->put_BackupEnabled(VARIANT_TRUE);
    }
    void UseReceiveFolder(const wchar_t* name) {
        remote->put_LocalReceiveFolder(Bstr(temp.Folder(name)).Get());
    }
    /// Delivers every received file of a sub-folder to one of its own; the number of those that were
    /// delivered.
    int Receive(const std::wstring& subFolder = L"") {
        const Bstr destination(temp.Folder(L"out\\" + subFolder));
        const LONG count =
            com::Get<LONG>(&IZNTransporter::ResetLocalReceiveFiles, transporter.Get(), Bstr(subFolder).Get());
        int delivered = 0;
        for (LONG i = 0; i < count; ++i) {
            Bstr name;
            VARIANT_BOOL done = VARIANT_FALSE;
            transporter->NextLocalReceiveFile(destination.Get(), name.Put(), &done);
            if (!done) continue;
            ++delivered;
            inOrder.push_back(Path::BaseName(name.Text()));
        }
        return delivered;
    }
    std::vector<std::wstring> Ids() {
        std::vector<std::wstring> ids;
        for (;;) {
            ids.push_back(com::Get<std::wstring>(&IZNTransporter2::Next, backups.Get()));
            if (ids.back().empty()) break;
        }
        ids.pop_back();
        return ids;
    }
    using Question = HRESULT (STDMETHODCALLTYPE IZNTransporter2::*)(BSTR, VARIANT_BOOL*);
    bool Ask(Question question, const std::wstring& id) {
        return com::Get<bool>(question, backups.Get(), Bstr(id).Get());
    }
    bool Exists(const std::wstring& id) { return Ask(&IZNTransporter2::BackupExists, id); }
    bool Restore(const std::wstring& id) { return Ask(&IZNTransporter2::RestoreBackup, id); }
    bool Destroy(const std::wstring& id) { return Ask(&IZNTransporter2::DestroyBackup, id); }

    TempFolder temp;
    std::vector<std::wstring> inOrder;  ///< base names of what was delivered
    ComPtr<IZNTransporter> transporter;
    ComPtr<IZNTransporter2> backups;
    ComPtr<IZNSenderReceiver> remote;
};

TEST_F(Backups, AreOffUntilAskedFor) {
    Open(false);
    EXPECT_FALSE(com::Get<bool>(&IZNTransporter2::get_BackupEnabled, backups.Get()));
    temp.File(L"in\\1.mdb");
    EXPECT_EQ(Receive(), 1);
    temp.File(L"in\\Backup\\2.mdb");
    EXPECT_EQ(backups->Reset(), S_OK);
    EXPECT_THAT(Ids(), IsEmpty());
    EXPECT_FALSE(Exists(L"1"));
    EXPECT_FALSE(Restore(L"2"));
    EXPECT_FALSE(Destroy(L"2"));
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
    EXPECT_EQ(com::Get<std::wstring>(&IZNTransporter2::Next, backups.Get()), L"") << "the end stays the end";
    temp.File(L"in\\sub\\b.xml", "newer");
    EXPECT_EQ(Receive(L"sub"), 1);
    EXPECT_THAT(Ids(), IsEmpty()) << "the first backup of an id wins";
    EXPECT_TRUE(Restore(L"b"));
    EXPECT_EQ(temp.Content(L"in\\sub\\b~2.mdb"), "second");
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(Backups, RestoredPacketsAreOfferedAgain) {
    temp.File(L"in\\1.mdb", "backup");
    EXPECT_EQ(Receive(), 1);
    temp.File(L"in\\1.mdb", "received since");
    temp.Protect(L"in\\1.mdb");
    EXPECT_TRUE(Restore(L"1"));
    EXPECT_EQ(temp.Content(L"in\\1.mdb"), "backup");
    EXPECT_TRUE(Exists(L"1")) << "the entry stays";
    EXPECT_FALSE(Restore(L"1")) << "its file has moved";
    EXPECT_EQ(Receive(), 1);
    EXPECT_EQ(temp.Content(L"out\\1.mdb"), "backup");
}

TEST_F(Backups, AFailedRestoreLeavesTheReceivedFile) {
    temp.File(L"in\\1.mdb", "backup");
    EXPECT_EQ(Receive(), 1);
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
    EXPECT_THAT(temp.Files(L"in"), ElementsAre(L"1.mdb"));
}

TEST_F(Backups, NothingIsRestoredWithoutASenderReceiver) {
    temp.File(L"in\\1.mdb");
    EXPECT_EQ(Receive(), 1);
    transporter->putref_SenderReceiver(nullptr);
    EXPECT_FALSE(Restore(L"1"));
    EXPECT_EQ(backups->Reset(), S_OK);
    EXPECT_TRUE(Exists(L"1"));
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(Backups, AreNotRestoredIntoAnotherReceiveFolder) {
    temp.File(L"in\\1.mdb");
    EXPECT_EQ(Receive(), 1);
    UseReceiveFolder(L"elsewhere");
    EXPECT_FALSE(Restore(L"1"));
    EXPECT_THAT(temp.Files(L"elsewhere"), IsEmpty());
    EXPECT_TRUE(temp.Exists(L"in\\Backup\\1.mdb"));

    UseReceiveFolder(L"in\\Backup2");
    temp.File(L"in\\Backup2\\2.mdb");
    EXPECT_EQ(Receive(), 1);
    UseReceiveFolder(L"in");
    EXPECT_FALSE(Restore(L"2")) << "the backup folder's name only begins like the old folder's";
    EXPECT_TRUE(temp.Exists(L"in\\Backup2\\Backup\\2.mdb"));
}

TEST_F(Backups, AFileOutsideTheReceiveFolderStays) {
    temp.File(L"in\\1.mdb");
    for (const wchar_t* folder : {L"i", L"a folder with a longer path than the file"}) {
        UseReceiveFolder(L"in");
        com::Get<LONG>(&IZNTransporter::ResetLocalReceiveFiles, transporter.Get(), nullptr);
        UseReceiveFolder(folder);
        Bstr name;
        VARIANT_BOOL done = VARIANT_TRUE;
        transporter->NextLocalReceiveFile(Bstr(temp / L"out").Get(), name.Put(), &done);
        ASSERT_FALSE(done);
        EXPECT_THAT(framework.log.back().text,
                    HasSubstr(temp / L"in\\1.mdb" + L" does not lie in the receive folder " + temp / folder));
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
    temp.File(L"in\\1.mdb");
    EXPECT_EQ(Receive(), 1);
    temp.Protect(L"in\\Backup\\1.mdb");
    EXPECT_TRUE(Destroy(L"1"));
    EXPECT_FALSE(temp.Exists(L"in\\Backup\\1.mdb"));
    EXPECT_TRUE(Destroy(L"1"));
    EXPECT_TRUE(Exists(L"1"));
    EXPECT_FALSE(Destroy(L"unknown"));
    backups->Reset();
    EXPECT_FALSE(Exists(L"1"));
}

TEST_F(Backups, ManyPacketsInManyFolders) {
    constexpr int kFolders = 125;
    constexpr int kPackets = 5000;
    for (int i = 0; i < kPackets; ++i)
        temp.File(L"in\\" + std::to_wstring(i % kFolders) + L"\\" + std::to_wstring(i) + L".mdb",
                  std::to_string(i));
    int delivered = 0;
    for (int folder = 0; folder < kFolders; ++folder)
        delivered += Receive(std::to_wstring(folder));
    EXPECT_EQ(delivered, kPackets);
    EXPECT_EQ(Ids(), inOrder);
    // The same packet in another encoding.
    temp.File(L"in\\Backup\\0\\more\\0~Base.axd");
    Open();
    backups->Reset();
    std::vector<std::wstring> onDisk;
    for (const std::wstring& folder : FileSystem::List(temp / L"in\\Backup").folders)
        for (const auto& file : FileSystem::List(temp / (L"in\\Backup\\" + folder)).files)
            onDisk.push_back(Path::BaseName(file.name));
    ASSERT_EQ(onDisk.size(), size_t{kPackets});
    EXPECT_EQ(Ids(), onDisk);
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].type, ZN_EVENTLOG_WARNING_TYPE);
    EXPECT_THAT(
        framework.log[0].text,
        EndsWith(
            L"clsTransporter.cls.AddToList\r\nPacket id 0 is represented by multiple files in the backup "
            L"folder " +
            temp / L"in\\Backup\\0\\more" +
            L".\r\nThis is often due to using several different compression methods on the same packet."));
    for (int i = 0; i < kPackets; ++i)
        EXPECT_TRUE(i % 2 ? Restore(std::to_wstring(i)) : Destroy(std::to_wstring(i)));
    EXPECT_EQ(temp.Files(L"in\\Backup").size(), 1u) << "only the second encoding is left";
    EXPECT_EQ(temp.Files(L"in").size(), size_t{kPackets / 2 + 1});
    EXPECT_EQ(temp.Content(L"in\\1\\501.mdb"), "501");
}

TEST_F(Backups, ABackupThatCannotBeTakenLeavesThePacketWhereItIs) {
    temp.File(L"in\\1.mdb", "packet");
    temp.Folder(L"in\\Backup\\1.mdb");
    EXPECT_EQ(Receive(), 0) << "a folder has the copy's name";
    EXPECT_THAT(framework.log.back().text, HasSubstr(L"IZNTransporter_NextLocalReceiveFile\r\n"));
    temp.File(L"in\\sub\\2.mdb", "packet");
    temp.File(L"in\\Backup\\sub", "a file where a folder belongs");
    EXPECT_EQ(Receive(L"sub"), 0);
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Could not create folder " + temp / L"in\\Backup\\sub"));
    EXPECT_THAT(temp.Files(L"in"), UnorderedElementsAre(L"1.mdb", L"sub\\2.mdb", L"Backup\\sub"));
    EXPECT_THAT(temp.Files(L"out"), IsEmpty());
}

}  // namespace
}  // namespace tests
