// See FtpReceiver.h.
#include "ftp/FtpReceiver.h"

#include <chrono>

#include "base/Arrival.h"
#include "base/File.h"
#include "base/FileMoves.h"
#include "base/LocalNames.h"
#include "base/Path.h"
#include "base/Persistence.h"
#include "base/RollBack.h"
#include "base/WindowsTime.h"
#include "common/FtpReply.h"
#include "common/modMain.h"
#include "packets/PassingFile.h"
#include "services/ShownProcedure.h"

namespace {

/// The folder that is listed, or the one above it.
bool IsSelfOrParent(const FileSystem::FileEntry& entry) {
    return IsFolder(entry) && (entry.name == L"." || entry.name == L"..");
}

/// Whether a file can make room for another one. It stays until that is whole: it may be the only copy.
bool CanBeReplaced(const std::wstring& path) {
    return base::Persistently(FileSystem::Extended(path), [&] {
               return base::File::TryOpen(path, DELETE, base::kShareAll).has_value();
           }) == ERROR_SUCCESS;
}

/// When a listed file was written: to the minute or the day, by a clock of the server's. Lists leave the year
/// out in times of the last half year; whoever takes it for this one, as the system may, makes last year's
/// lie ahead. Nothing where the list does not tell.
std::optional<base::FileTime> ListedTime(const FileSystem::FileEntry& entry) {
    using std::chrono::days;
    if (entry.lastWrite == 0) return std::nullopt;
    const base::FileTime time = base::FromWindowsTime(entry.lastWrite);
    if (time < base::Now() + days(150)) return time;  // what a clock may be wrong by
    const auto day = std::chrono::floor<days>(time);
    const std::chrono::sys_days yearBefore = std::chrono::year_month_day(day) - std::chrono::years(1);
    return yearBefore + (time - day);
}

/// Its time stays with the packet: it tells which of two versions is newer. That of a list does where the
/// server tells no other.
void Finish(const std::wstring& arrival, const std::wstring& lastWrite, const FileSystem::FileEntry& entry) {
    base::File file = base::File::OpenPersistently(arrival, GENERIC_WRITE, base::kShareAll, OPEN_EXISTING);
    std::optional<base::FileTime> time = TimeIn(lastWrite);
    if (!time) time = ListedTime(entry);
    if (time) file.SetModificationTime(*time);
    file.Flush();
}

std::vector<std::wstring> FoldersOf(const std::vector<FileSystem::FileEntry>& entries) {
    std::vector<std::wstring> names;
    for (const FileSystem::FileEntry& entry : entries)
        if (IsFolder(entry) && !IsSelfOrParent(entry)) names.push_back(entry.name);
    return names;
}

}  // namespace

bool FtpReceiver::MakeLocalFolder(const std::wstring& local) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.MoveFiles", m_progress);
    if (FileSystem::FolderExists(local)) return true;
    // It throws where a failure cannot be shown.
    const bool made = self.Guard(false, [&] { return CreateFolders(local, m_supressMsg); });
    return made || self.Fail(L"Local receiving folder does not exist: " + local);
}

bool FtpReceiver::MoveFiles(const std::wstring& remote, const std::wstring& local) const {
    return Procedure(L"clsFTPSndRcv.cls.MoveFiles").Guard(false, [&] {
        return MoveFolder(remote, local, {m_connection.CurrentFolder()});
    });
}

bool FtpReceiver::MoveFolder(const std::wstring& remote, const std::wstring& local,
                             const Level& level) const {
    if (!MakeLocalFolder(local)) return false;
    if (!SetRemoteFolder(remote)) return LeaveClosedFolder(remote, level);
    const std::optional<FileList> entries = CreateRemoteFileList(remote);
    if (!entries || !HasLocalNames(*entries)) {
        m_connection.ReturnTo(level.start, remote);
        return false;
    }
    const auto receive = [&](const FileEntry& entry) { return GetRemoteFile(entry, local); };
    const auto receiveFolder = [&](const std::wstring& name, const Level& below) {
        return MoveFolder(name, Path::Join(local, name), below);
    };
    return MoveEach(*entries, receive) && MoveSubFolders(FoldersOf(*entries), level, remote, receiveFolder) &&
           ReturnTo(level, remote);
}

/// No remote folder, nothing to receive; but a connection that is lost has none, either. What a listed folder
/// holds would stay there for ever without a word.
bool FtpReceiver::LeaveClosedFolder(const std::wstring& name, const Level& level) const {
    const std::wstring failure = FailureText(GetLastError());
    if (!m_connection.ReturnTo(level.start, L"")) {
        const DWORD error = GetLastError();
        // What refuses to go back was never left.
        if (!Refuses(error)) return NoWayBack(level, error);
    }
    if (level.depth > 0)
        ShownProcedure(L"clsFTPSndRcv.cls.MoveFiles", m_progress)
            .Fail(Lines(L"The FTP server lists the folder " + name +
                            L" but does not let it be entered; the packets in it stay there. Give the user "
                            L"the right to enter it. Where its real name is another one (names with blanks "
                            L"may be listed in part), rename it on the server.",
                        failure));
    return true;
}

/// A folder that the server does not let enter may not be there yet; one whose name cannot be sent to it
/// never will be.
bool FtpReceiver::SetRemoteFolder(const std::wstring& path) const try {
    return m_connection.Enter(path);
} catch (const base::Error& error) {
    return ShownProcedure(L"clsFTPSndRcv.cls.SetRemoteFolder", m_progress).Fail(error.failure().description);
}

std::optional<FtpReceiver::FileList> FtpReceiver::CreateRemoteFileList(const std::wstring& folder) const {
    FileList entries = m_connection.List();
    const DWORD error = GetLastError();
    if (error == ERROR_NO_MORE_FILES) {
        std::erase_if(entries,
                      [](const FileEntry& entry) { return !IsFolder(entry) && IsPassingFile(entry.name); });
        return entries;
    }
    const bool isFirst = entries.empty();
    const std::wstring failure = isFirst ? L"Could not find first FTP file: " : L"Could not find FTP file: ";
    ShownProcedure(L"clsFTPSndRcv.cls.CreateRemoteFileList", m_progress)
        .Fail(WithReply(Lines(failure + ErrorText(error), L"Folder: " + folder), error));
    return std::nullopt;
}

/// The second file would replace the first, whose only copy is the local one by then. Whoever named them must
/// settle it while both are on the server.
bool FtpReceiver::HasLocalNames(const FileList& files) const {
    base::LocalNames names;
    for (const FileEntry& entry : files)
        if (!names.Add(entry.name))
            return ShownProcedure(L"clsFTPSndRcv.cls.CreateRemoteFileList", m_progress)
                .Fail(L"The FTP server lists the name " + entry.name +
                      L" and another one that differs only in the case of letters. Both would be one local "
                      L"file. Rename or remove one on the server.");
    return true;
}

bool FtpReceiver::GetRemoteFile(const FileEntry& entry, const std::wstring& localFolder) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress);
    return self.Guard(false, [&] {
        if (IsSelfOrParent(entry)) return true;
        // The server's name for a file may stand for something else here.
        if (!Path::IsPlainName(entry.name))
            return self.Fail(L"The FTP server lists the name " + entry.name +
                             L", which cannot be the name of a file in the local folder. Rename or remove it "
                             L"on the server.");
        if (IsFolder(entry)) return true;
        const std::wstring target = localFolder + L"\\" + entry.name;
        if (!CanBeReplaced(target) && FileSystem::FileExists(target))
            return self.Fail(L"Local file " + target + L" already exists and couldn't be deleted.");
        // Nothing of a file that did not arrive, or is not whole yet, may lie under its name.
        const std::wstring arrival = FileSystem::ArrivalPath(target);
        const base::RollBack part([&] { FileSystem::TryDelete(arrival); });
        bool isSeen = true;
        const std::wstring lastWrite = m_connection.LastWriteOf(entry.name);
        if (!Fetch(entry, localFolder, arrival)) return false;
        Finish(arrival, lastWrite, entry);  // before the server is looked at: long files take long
        if (!IsUnchanged(entry.name, arrival, lastWrite, isSeen)) return false;
        // What is gone by now may have been a part, which the other side took away: an older packet stays.
        if (!isSeen && FileSystem::FileIsThere(target)) return NotVerified(entry.name, ERROR_NO_MORE_FILES);
        FileSystem::MoveReplacing(arrival, target);
        base::RollBack unseen([&] { FileSystem::TryDelete(target); });
        if (isSeen) unseen.Dismiss();
        FileSystem::BringToDisk(target);
        // What has replaced it meanwhile takes the place of what is here, too, with the next transfer.
        if (!HasTime(entry.name, lastWrite)) return false;
        if (m_connection.Delete(entry.name)) {
            unseen.Dismiss();
            return true;
        }
        const DWORD error = GetLastError();
        // Without an answer this may be the only copy.
        if (!Refuses(error)) unseen.Dismiss();
        return self.Fail(
            Lines(L"Failed to delete the file " + entry.name + L" from the FTP server.", ErrorText(error)));
    });
}

bool FtpReceiver::Fetch(const FileEntry& entry, const std::wstring& localFolder,
                        const std::wstring& target) const try {
    const ShownProcedure self(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress);
    if (!m_connection.Get(entry.name, target, entry.attributes)) {
        const DWORD error = GetLastError();
        const std::wstring failure = FailureText(error);
        NotRetrieved(entry.name, localFolder, ErrorText(error));
        return error == ERROR_INTERNET_EXTENDED_ERROR &&
               self.Fail(
                   Lines(L"The FTP server lists file " + entry.name +
                             L" but refuses to send it, and what is listed after it waits. Give the user "
                             L"the right to read it. Where its real name is another one (names with "
                             L"blanks may be listed in part), rename it on the server.",
                         failure));
    }
    if (FileSystem::FileExists(target) && HasListedSize(entry, target)) return true;
    return self.Fail(L"Failed to retrieve file " + entry.name + L" from the FTP server.");
} catch (const base::Error& error) {
    // It names the arrival, which does not tell the packet.
    return NotRetrieved(entry.name, localFolder, error.failure().description);
}

bool FtpReceiver::NotRetrieved(const std::wstring& name, const std::wstring& localFolder,
                               const std::wstring& why) const {
    return ShownProcedure(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress)
        .Fail(Lines(L"Failed to retrieve file " + name + L" on the FTP server to local folder " + localFolder,
                    why));
}

/// The server's copy goes next. What the other side has uploaded since, or is still uploading, must not go
/// with it.
bool FtpReceiver::IsUnchanged(const std::wstring& name, const std::wstring& target,
                              const std::wstring& lastWrite, bool& isSeen) const {
    const std::optional<std::uint64_t> size = m_connection.SizeOf(name);
    const std::uint64_t bytes = FileSystem::FileSize(target);
    // A list of a long folder takes long, once for each file; but some servers tell a size in too few bits.
    if (!size || (*size != bytes && MayBeListedSize(*size, bytes))) {
        if (!IsListedUnchanged(name, target, isSeen)) return false;
    } else if (*size != bytes) {
        return OtherSize(SizeDifference({name, *size}, bytes));
    }
    if (!HasTime(name, lastWrite)) return false;
    isSeen = isSeen || !lastWrite.empty();
    return true;
}

/// What was put in its place may be as long. A server that told the time of a file tells it again while the
/// file is there.
bool FtpReceiver::HasTime(const std::wstring& name, const std::wstring& lastWrite) const {
    if (lastWrite.empty()) return true;
    const std::wstring now = m_connection.LastWriteOf(name);
    if (now == lastWrite) return true;
    if (now.empty()) return NotVerified(name, GetLastError());
    return ShownProcedure(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress)
        .Fail(L"File " + name +
              L" was replaced on the FTP server while it was received. It stays there for the next "
              L"transfer.");
}

bool FtpReceiver::IsListedUnchanged(const std::wstring& name, const std::wstring& target,
                                    bool& isSeen) const {
    FileEntry found;
    if (m_connection.FindFile(name, found)) return HasListedSize(found, target);
    const DWORD error = GetLastError();
    isSeen = error != ERROR_NO_MORE_FILES;
    // Somebody else has taken it, or lists do not tell its name: the attempt to delete it shows which.
    return !isSeen || NotVerified(name, error);
}

bool FtpReceiver::NotVerified(const std::wstring& name, DWORD error) const {
    return ShownProcedure(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress)
        .Fail(WithReply(Lines(L"Could not verify that file " + name +
                                  L" is unchanged on the FTP server. It stays there for the next transfer.",
                              ErrorText(error)),
                        error));
}

bool FtpReceiver::HasListedSize(const FileEntry& listed, const std::wstring& target) const {
    const std::uint64_t bytes = FileSystem::FileSize(target);
    return MayBeListedSize(listed.size, bytes) || OtherSize(SizeDifference(listed, bytes));
}

bool FtpReceiver::OtherSize(const std::wstring& difference) const {
    return ShownProcedure(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress)
        .Fail(difference +
              L" The other side may still be sending it. It stays on the server for the next transfer. If "
              L"that happens again, replace it on the server by a file of its own (no link), whose size the "
              L"server's list tells.");
}
