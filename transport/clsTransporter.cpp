// See clsTransporter.h.
#include "transport/clsTransporter.h"

#include "base/Arrival.h"
#include "base/Error.h"
#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/ShortNames.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Undo.h"
#include "base/WriteBlock.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/FileAtWork.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "packets/PacketName.h"
#include "packets/PassingFile.h"

using com::Call;
using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;

namespace {

constexpr auto kNoSenderReceiver = L"SenderReceiver object has not been set";

/// A path relative to a folder; nothing for one that does not lie below it. Lists join the folder with a
/// separator of their own, where it ends in one, or without.
std::optional<std::wstring> Below(const std::wstring& folder, const std::wstring& path) {
    const std::wstring root = Path::WithSeparator(folder);
    if (!base::EqualsIgnoringCase(path.substr(0, root.size()), root)) return std::nullopt;
    const size_t rest = path.find_first_not_of(L'\\', root.size());
    return rest == std::wstring::npos ? std::nullopt : std::optional(path.substr(rest));
}

/// What of a folder can be listed: a failure is reported. Empty where there is none.
FileSystem::Listing ListUntilFailure(const Procedure& member, const std::wstring& folder) {
    FileSystem::Listing found;
    try {
        if (FileSystem::FolderIsThere(folder)) FileSystem::List(folder, found);
    } catch (...) {
        member.Report(Lines(base::CurrentFailure().description, L"Folder: " + folder));
    }
    return found;
}

}  // namespace

std::optional<std::wstring> clsTransporter::FileList::Next() {
    if (next >= files.size()) return std::nullopt;
    return files[next++];
}

bool clsTransporter::SenderReceiverSet(const Procedure& member) const {
    if (!m_senderReceiver) return member.Fail(kNoSenderReceiver);
    if (LocalReceiveFolder().empty() || LocalSendFolder().empty())
        return member.Fail(L"Local send or receive folder is not set.");
    return true;
}

IZNSenderReceiver* clsTransporter::Remote() const {
    if (!m_senderReceiver) throw base::Error(E_UNEXPECTED, kNoSenderReceiver);
    return m_senderReceiver.Get();
}

std::wstring clsTransporter::LocalSendFolder() const {
    return com::Get<std::wstring>(&IZNSenderReceiver::get_LocalSendFolder, Remote());
}

std::wstring clsTransporter::LocalReceiveFolder() const {
    return com::Get<std::wstring>(&IZNSenderReceiver::get_LocalReceiveFolder, Remote());
}

/// True when the folder is there, also when somebody else has just created it.
bool clsTransporter::ProvideFolder(const std::wstring& folder) const {
    if (!FileSystem::FolderExists(folder)) CreateFolders(folder, SupressMsg);
    return FileSystem::FolderExists(folder);
}

/// The first one whose extension is that of the file; it is the one that hosts are shown from then on.
ComPtr<IZNEncoder> clsTransporter::EncoderFor(ExtensionMember extensionOf, const std::wstring& fileName) {
    const std::wstring extension = base::Upper(Path::LastFour(fileName));
    // NOLINTNEXTLINE(modernize-loop-convert): the getter is the host's, and may assign more of them.
    for (size_t i = 0; i < m_encoders.size(); ++i) {
        ComPtr<IZNEncoder> encoder = m_encoders[i];
        if (base::Upper(com::Get<std::wstring>(extensionOf, encoder.Get())) != extension) continue;
        m_shownEncoder = encoder;
        return encoder;
    }
    return nullptr;
}

std::vector<std::wstring> clsTransporter::InitFileList(const std::wstring& Folder) {
    const std::wstring folder = FileSystem::FullPath(Folder);
    std::vector<std::wstring> files;
    for (const auto& file : ListUntilFailure(Procedure(L"clsTransporter.cls.InitFileList"), folder).files)
        if (!IsPassingFile(file.name)) files.push_back(Path::Join(folder, file.name));
    return files;
}

LONG clsTransporter::FileList::Reset(std::vector<std::wstring> newFiles) {
    files = std::move(newFiles);
    next = 0;
    return static_cast<LONG>(files.size());
}

// --- Sending ----------------------------------------------------------------------------------------

bool clsTransporter::IZNTransporter_Add(const std::wstring& FileName, const std::wstring& SubFolder) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_Add");
    return self.Guard(false, [&] {
        if (!SenderReceiverSet(self)) return false;
        const std::wstring name = Path::FileName(FileName);
        if (!FileSystem::FileExists(FileName)) return self.Fail(L"File " + FileName + L" does not exist");
        if (IsFolderTestFile(name))
            return self.Fail(L"File " + FileName +
                             L" has the name of the file with which folders are tested, "
                             L"which the next test deletes. Give it another name.");
        if (FileSystem::IsArrival(name))
            return self.Fail(L"File " + FileName +
                             L" has the name of a file that is being copied, which no receiver takes for a "
                             L"packet. Give it another name.");
        const ComPtr<IZNEncoder> encoder = EncoderFor(&IZNEncoder::get_InExtension, FileName);
        const std::wstring target = LocalSendFolder() + L"\\" + SubFolder;
        if (!ProvideFolder(target)) return false;
        if (encoder)
            return com::Get<bool>(&IZNEncoder::Encode, encoder.Get(),
                                  com::Bstr(Path::ParentFolder(FileName)).Get(), com::Bstr(target).Get(),
                                  com::Bstr(name).Get());
        if (!CheckReadWriteDelete(target, SupressMsg)) return false;
        // A version that waits there already stays until the new one is whole.
        FileSystem::CopyReplacing(FileName, Path::Join(target, name));
        return true;
    });
}

bool clsTransporter::IZNTransporter_SendReceive(BSTR Argument, IUnknown* Progress) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_SendReceive");
    return self.Guard(false, [&] {
        if (!SenderReceiverSet(self)) return false;
        // The host processes messages during a transfer and may set another sender/receiver meanwhile.
        const ComPtr<IZNSenderReceiver> remote = m_senderReceiver;
        com::Check(remote->put_LoginCancelled(VARIANT_FALSE));
        // A login that the user cancelled ends the cycle quietly.
        if (!com::Get<bool>(&IZNSenderReceiver::Connect, remote.Get()))
            return com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, remote.Get());
        const bool moved = com::Get<bool>(&IZNSenderReceiver::Send, remote.Get(), Argument, Progress) &&
                           com::Get<bool>(&IZNSenderReceiver::Receive, remote.Get(), Argument, Progress);
        const bool disconnected = com::Get<bool>(&IZNSenderReceiver::Disconnect, remote.Get());
        return moved && disconnected;
    });
}

LONG clsTransporter::IZNTransporter_ResetLocalSendFiles(const std::wstring& SubFolder) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_ResetLocalSendFiles");
    return self.Guard(LONG{0}, [&] {
        if (!SenderReceiverSet(self)) return LONG{0};
        return m_sendList.Reset(InitFileList(LocalSendFolder() + L"\\" + SubFolder));
    });
}

bool clsTransporter::IZNTransporter_NextLocalSendFile(std::wstring& FileName) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_NextLocalSendFile");
    return self.Guard(false, [&] {
        if (SenderReceiverSet(self)) FileName = m_sendList.Next().value_or(L"");
        return true;
    });
}

// --- Receiving --------------------------------------------------------------------------------------

LONG clsTransporter::IZNTransporter_ResetLocalReceiveFiles(const std::wstring& SubFolder) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_ResetLocalReceiveFiles");
    return self.Guard(LONG{0}, [&] {
        if (!SenderReceiverSet(self)) return LONG{0};
        m_rights = {};
        return m_receiveList.Reset(InitFileList(LocalReceiveFolder() + L"\\" + SubFolder));
    });
}

bool clsTransporter::IZNTransporter_NextLocalReceiveFile(const std::wstring& DestinationFolder,
                                                         std::wstring& FileName) {
    const Procedure self(L"clsTransporter.cls.IZNTransporter_NextLocalReceiveFile");
    return self.Guard(false, [&] {
        if (!SenderReceiverSet(self)) return true;
        const std::optional<std::wstring> file = m_receiveList.Next();
        if (!file) return true;
        OutputDebugStringW((L"Zarn: NextLocalReceiveFile " + *file).c_str());
        OutputDebugStringW((L"Zarn: sFileName " + Path::BaseName(*file)).c_str());
        return DeliverFile(self, *file, DestinationFolder, WithoutBackup::IsDelivered, FileName);
    });
}

bool clsTransporter::DeliverFile(const Procedure& member, const std::wstring& file,
                                 const std::wstring& destinationFolder, WithoutBackup withoutBackup,
                                 std::wstring& fileName) {
    if (!FileSystem::FolderExists(destinationFolder))
        return member.Fail(L"Destination folder " + destinationFolder + L" does not exist.");
    if (!CheckReadWriteDelete(destinationFolder, SupressMsg)) return false;
    const Delivery delivery = Deliver(member, file, destinationFolder, withoutBackup);
    if (!delivery.done && !FileSystem::FileExists(file))
        member.Report(L"The encoder failed to decompress and/or decode the file " + file + L".");
    fileName = delivery.fileName;
    return delivery.done;
}

clsTransporter::Delivery clsTransporter::Deliver(const Procedure& member, const std::wstring& file,
                                                 const std::wstring& destinationFolder,
                                                 WithoutBackup withoutBackup) {
    // The receive folder can be the remote side's send folder: a newer version that comes while this one is
    // decoded would be deleted in its place.
    const FileSystem::WriteBlock block(file);
    if (FileSystem::FileExists(file)) block.Held();
    if (m_bBackupEnabled && !TakeBackup(file, LocalReceiveFolder()) && withoutBackup == WithoutBackup::Stays)
        throw base::Error(E_FAIL, L"The packet has no backup, as the folder for it cannot be written.");
    const ComPtr<IZNEncoder> encoder = EncoderFor(&IZNEncoder::get_OutExtension, file);
    return encoder ? Decode(encoder.Get(), file, block, destinationFolder)
                   : MoveUnchanged(member, file, destinationFolder);
}

/// A file that cannot be decoded stays in the receive folder and is offered again.
clsTransporter::Delivery clsTransporter::Decode(IZNEncoder* encoder, const std::wstring& file,
                                                const FileSystem::WriteBlock& block,
                                                const std::wstring& destinationFolder) {
    // It would be offered again, and decoded over what somebody has made of it meanwhile.
    if (block.Holds()) block.DemandDeletable();
    const std::wstring baseName = Path::BaseName(file);
    com::Bstr outputFile;
    VARIANT_BOOL decoded = VARIANT_FALSE;
    com::Check(encoder->Decode(com::Bstr(Path::ParentFolder(file)).Get(), com::Bstr(destinationFolder).Get(),
                               com::Bstr(baseName).Get(), outputFile.Put(), &decoded),
               file);
    if (!decoded) return {false, baseName};
    // One that was put in its place all the same, by deleting it first, is offered next.
    block.Delete();
    return {true, outputFile.Text()};
}

/// The previous file of the same name stays until the new one has arrived.
clsTransporter::Delivery clsTransporter::MoveUnchanged(const Procedure& member, const std::wstring& file,
                                                       const std::wstring& destinationFolder) {
    const std::wstring target = Path::Join(destinationFolder, Path::FileName(file));
    const FileAtWork work(target);
    const std::wstring previous = target + L"_bak";
    if (FileSystem::FileExists(previous)) return MoveBeside(member, file, target, previous);
    const bool replaces = FileSystem::FileExists(target);
    if (replaces) {
        FileSystem::RefuseShortName(target);
        FileSystem::MoveFile(target, previous);
    }
    base::DoOrUndo([&] { FileSystem::MoveFile(file, target); },
                   [&] {
                       if (replaces) FileSystem::MoveFile(previous, target);
                   },
                   L"The previous content of " + target + L" is in " + previous + L"; rename it back.");
    m_rights.GiveTo(target, Path::ParentFolder(file));
    if (replaces) FileSystem::DeleteFile(previous);
    return {true, target};
}

/// Replaces the previous file, if there is one, in one step. The file that has the name of its backup may be
/// an older version, of a delivery that ended between its steps, or anything else: only somebody who knows it
/// may remove it.
clsTransporter::Delivery clsTransporter::MoveBeside(const Procedure& member, const std::wstring& file,
                                                    const std::wstring& target, const std::wstring& backup) {
    FileSystem::MoveReplacing(file, target);
    m_rights.GiveTo(target, Path::ParentFolder(file));
    member.Report(L"File " + backup + L" is left of an earlier delivery. The file " + target +
                      L" has been delivered without it. Remove it when it is not needed.",
                  ZN_EVENTLOG_WARNING_TYPE);
    return {true, target};
}

// --- Backups ----------------------------------------------------------------------------------------

std::optional<std::wstring> clsTransporter::BackupOf(const std::wstring& PacketId) const {
    return m_bBackupEnabled ? m_backups.Find(PacketId) : std::nullopt;
}

/// The copy's path below the backup folder is that of the file below the receive folder.
bool clsTransporter::TakeBackup(const std::wstring& file, const std::wstring& receiveFolder) {
    if (!FileSystem::FolderExists(receiveFolder)) return false;
    const std::optional<std::wstring> below = Below(FileSystem::FullPath(receiveFolder), file);
    if (!below)
        throw base::Error(E_INVALIDARG, file + L" does not lie in the receive folder " + receiveFolder +
                                            L", which has changed since the received files were listed.");
    const std::wstring backup = Path::Join(BackupFolder(receiveFolder), *below);
    const std::wstring parent = Path::ParentFolder(backup);
    if (!ProvideFolder(parent) || !CheckReadWriteDelete(parent, SupressMsg)) return false;
    FileSystem::CopyReplacing(file, backup);
    const std::wstring id = GetPacketId(Path::FileName(file));
    if (!id.empty()) m_backups.Add(id, backup);
    return true;
}

/// A folder's own files come before those of its sub-folders.
void clsTransporter::AddToList(const std::wstring& Folder) {
    const Procedure self(L"clsTransporter.cls.AddToList");
    self.Guard([&] {
        const FileSystem::Listing listing = ListUntilFailure(self, Folder);
        for (const FileSystem::FileEntry& file : listing.files) {
            const std::wstring id = GetPacketId(file.name);
            if (id.empty() || m_backups.Add(id, Path::Join(Folder, file.name))) continue;
            self.Report(Lines(L"Packet id " + id +
                                  L" is represented by multiple files in the backup folder " + Folder + L".",
                              L"This is often due to using several different compression methods on the same "
                              L"packet."),
                        ZN_EVENTLOG_WARNING_TYPE);
        }
        for (const std::wstring& subFolder : listing.folders)
            AddToList(Path::Join(Folder, subFolder));
    });
}

void clsTransporter::ListBackups() {
    m_backups.Clear();
    const std::wstring receiveFolder = LocalReceiveFolder();
    // Without one, the root of the current drive would be searched.
    if (!receiveFolder.empty()) AddToList(BackupFolder(receiveFolder));
}

void clsTransporter::IZNTransporter2_Reset() {
    if (m_bBackupEnabled && m_senderReceiver) ListBackups();
}

std::wstring clsTransporter::IZNTransporter2_Next() {
    return m_bBackupEnabled ? m_backups.NextId().value_or(L"") : std::wstring();
}

bool clsTransporter::IZNTransporter2_BackupExists(const std::wstring& PacketId) const {
    return BackupOf(PacketId).has_value();
}

/// The entry stays: the id is known until the next Reset.
bool clsTransporter::IZNTransporter2_DestroyBackup(const std::wstring& PacketId) {
    const std::optional<std::wstring> backup = BackupOf(PacketId);
    if (!backup) return false;
    if (FileSystem::FileIsThere(*backup)) FileSystem::DeleteFile(*backup, FileSystem::ReadOnlyFiles::Delete);
    return true;
}

bool clsTransporter::IZNTransporter2_RestoreBackup(const std::wstring& PacketId) {
    const std::optional<std::wstring> backup = BackupOf(PacketId);
    return backup && Restore(*backup);
}

/// Back to where the packet was received, which must still be the receive folder.
bool clsTransporter::Restore(const std::wstring& backup) {
    if (!FileSystem::FileExists(backup)) return false;
    const std::wstring receiveFolder = LocalReceiveFolder();
    const std::optional<std::wstring> below = Below(BackupFolder(receiveFolder), backup);
    if (!below) return false;
    const std::wstring received = Path::Join(receiveFolder, *below);
    if (!ProvideFolder(Path::ParentFolder(received))) return false;
    FileSystem::MoveReplacing(backup, received);
    return true;
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsTransporter::putref_Encoder(IZNEncoder* Value) {
    return Call([&] {
        if (!Value) throw base::Error(E_POINTER, L"There is no encoder to add.");
        m_shownEncoder = Value;
        m_encoders.emplace_back(Value);
    });
}
STDMETHODIMP clsTransporter::Add(BSTR FileName, BSTR SubFolder, VARIANT_BOOL* Result) {
    return Return(Result, [&] { return IZNTransporter_Add(Text(FileName), Text(SubFolder)); });
}
STDMETHODIMP clsTransporter::SendReceive(BSTR Argument, IUnknown* Progress, VARIANT_BOOL* Result) {
    return Return(Result, [&] { return IZNTransporter_SendReceive(Argument, Progress); });
}
STDMETHODIMP clsTransporter::ResetLocalReceiveFiles(BSTR SubFolder, LONG* Count) {
    return Return(Count, [&] { return IZNTransporter_ResetLocalReceiveFiles(Text(SubFolder)); });
}
STDMETHODIMP clsTransporter::NextLocalReceiveFile(BSTR DestinationFolder, BSTR* FileName,
                                                  VARIANT_BOOL* Result) {
    if (!FileName) return E_POINTER;
    *FileName = nullptr;
    return Return(Result, [&] {
        std::wstring fileName;
        const bool result = IZNTransporter_NextLocalReceiveFile(Text(DestinationFolder), fileName);
        com::Put(FileName, fileName);
        return result;
    });
}
STDMETHODIMP clsTransporter::ResetLocalSendFiles(BSTR SubFolder, LONG* Count) {
    return Return(Count, [&] { return IZNTransporter_ResetLocalSendFiles(Text(SubFolder)); });
}
STDMETHODIMP clsTransporter::NextLocalSendFile(BSTR* FileName, VARIANT_BOOL* Result) {
    if (!FileName) return E_POINTER;
    *FileName = nullptr;
    return Return(Result, [&] {
        std::wstring fileName;
        const bool result = IZNTransporter_NextLocalSendFile(fileName);
        com::Put(FileName, fileName);
        return result;
    });
}
STDMETHODIMP clsTransporter::Reset() {
    return Call([&] { Quietly([&] { IZNTransporter2_Reset(); }); });
}
STDMETHODIMP clsTransporter::Next(BSTR* PacketId) {
    return Return(PacketId, [&] { return Quietly([&] { return IZNTransporter2_Next(); }); });
}
STDMETHODIMP clsTransporter::BackupExists(BSTR PacketId, VARIANT_BOOL* Result) {
    return Return(Result,
                  [&] { return Quietly([&] { return IZNTransporter2_BackupExists(Text(PacketId)); }); });
}
STDMETHODIMP clsTransporter::RestoreBackup(BSTR PacketId, VARIANT_BOOL* Result) {
    return Return(Result,
                  [&] { return Quietly([&] { return IZNTransporter2_RestoreBackup(Text(PacketId)); }); });
}
STDMETHODIMP clsTransporter::DestroyBackup(BSTR PacketId, VARIANT_BOOL* Result) {
    return Return(Result,
                  [&] { return Quietly([&] { return IZNTransporter2_DestroyBackup(Text(PacketId)); }); });
}
