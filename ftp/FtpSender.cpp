// See FtpSender.h.
#include "ftp/FtpSender.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "base/FolderTree.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/WriteBlock.h"
#include "common/FtpReply.h"
#include "packets/PassingFile.h"
#include "services/ShownProcedure.h"

namespace {

/// Why a put failed.
struct PutError {
    DWORD code = ERROR_SUCCESS;
    std::wstring reply;  ///< the server's; empty where it gave none

    static PutError Last() {
        const DWORD code = GetLastError();
        return {code, ReplyOf(code)};
    }
};

/// What a failed put is reported with; nothing for a local file that somebody still writes.
std::optional<std::wstring> PutFailure(const std::wstring& name, const PutError& error) {
    if (error.code == ERROR_SHARING_VIOLATION) return std::nullopt;
    if (error.code != ERROR_INTERNET_EXTENDED_ERROR)
        return Lines(L"Failed to transmit file " + name + L" to the FTP server.", ErrorText(error.code));
    if (base::Upper(error.reply).find(L"NO SPACE LEFT ON DEVICE.") == std::wstring::npos) return error.reply;
    return L"FTP site is out of space.";
}

/// Whether a reply refuses a put before its first byte: for ever, or because the server is about to close,
/// has no data connection, or has the file in use. Once data has flowed, the same codes tell how it ended.
bool IsRefusal(const std::wstring& reply) {
    if (HasDataFlowed(reply)) return false;
    const std::wstring code = ReplyCode(reply);
    return code != L"552" && (!code.starts_with(L'4') || code == L"421" || code == L"425" || code == L"450");
}

/// Whether data has flowed, so that the server may hold a part of the file. A put that was refused, or that
/// had no data connection, leaves an older packet as it was; so may one that was given up waiting.
bool HasFlowed(const PutError& error) {
    switch (error.code) {
    case ERROR_INTERNET_EXTENDED_ERROR:
        return !IsRefusal(error.reply);
    case ERROR_INTERNET_CONNECTION_ABORTED:
    case ERROR_INTERNET_CONNECTION_RESET:
        return true;
    default:
        return false;
    }
}

/// Whether a path can be made folder by folder. Some servers take the empty name at the beginning of an
/// absolute one, or between two separators, for the user's home, and what follows would be made there.
bool IsRelative(const std::wstring& path) {
    return !path.starts_with(L'/') && path.find(L"//") == std::wstring::npos;
}

/// A list is text for people, which other characters may cut.
std::wstring NameAdvice(const std::wstring& name) {
    constexpr auto kListedEverywhere = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_~.";
    const bool isListed = name.find_first_not_of(kListedEverywhere) == std::wstring::npos;
    if (isListed && !name.starts_with(L'.')) return {};
    return L"give it a name without blanks, without a dot at its beginning and with letters of the English "
           L"alphabet only; or ";
}

FileSystem::Listing ListLocal(const std::wstring& local) {
    if (!FileSystem::FolderIsThere(local)) return {};
    FileSystem::Listing listing = FileSystem::List(local);
    std::erase_if(listing.files, [](const auto& file) { return IsPassingFile(file.name); });
    return listing;
}

bool IsEmpty(const FileSystem::Listing& listing) { return listing.files.empty() && listing.folders.empty(); }

/// An empty folder is nothing to send.
std::vector<std::wstring> FilledFolders(const std::wstring& local, const FileSystem::Listing& listing) {
    std::vector<std::wstring> names;
    std::ranges::copy_if(listing.folders, std::back_inserter(names), [&](const std::wstring& name) {
        return !IsEmpty(ListLocal(Path::Join(local, name)));
    });
    return names;
}

}  // namespace

bool FtpSender::MoveFiles(const std::wstring& local, const std::wstring& remote) const {
    return Procedure(L"clsFTPSndRcv.cls.MoveFiles").Guard(false, [&] {
        FilesToCome toCome(local);
        const bool moved = MoveFolder(local, remote, {m_connection.CurrentFolder()}, toCome);
        const ShownProcedure self(L"clsFTPSndRcv.cls.MoveFiles", m_progress);
        for (const std::wstring& path : toCome.Gone())
            self.Fail(TellOfGone(path));
        return moved;
    });
}

bool FtpSender::MoveFolder(const std::wstring& local, const std::wstring& remote, const Level& level,
                           FilesToCome& toCome) const {
    const FileSystem::Listing listing = ListToMove(local, remote);
    toCome.HaveCome(local, listing);
    if (IsEmpty(listing)) return true;
    if (!SetRemoteFolder(remote)) {
        m_connection.ReturnTo(level.start, L"");
        return false;
    }
    Names there = listing.files.empty() ? Names() : ListNames();
    const auto send = [&](const FileEntry& file) { return SendLocalFile(local, file.name, there); };
    const auto sendFolder = [&](const std::wstring& name, const Level& below) {
        return MoveFolder(Path::Join(local, name), base::Upper(name), below, toCome);
    };
    return MoveEach(listing.files, send) &&
           MoveSubFolders(FilledFolders(local, listing), level, remote, sendFolder) &&
           ReturnTo(level, remote);
}

/// Without names that are one for whoever receives them; that is reported.
FileSystem::Listing FtpSender::ListToMove(const std::wstring& local, const std::wstring& remote) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.MoveFiles", m_progress);
    FileSystem::Listing listing = ListLocal(local);
    const base::LocalNames names = base::NamesOf(listing);
    const auto isTwin = [&](const std::wstring& name) {
        if (!names.AreOne(name)) return false;
        self.Fail(base::TellOfTwin(name, local, remote));
        return true;
    };
    std::erase_if(listing.files, [&](const auto& file) { return isTwin(file.name); });
    std::erase_if(listing.folders, isTwin);
    return listing;
}

bool FtpSender::SetRemoteFolder(const std::wstring& path) const {
    return Procedure(L"clsFTPSndRcv.cls.SetRemoteFolder").Guard(false, [&] {
        if (m_connection.Enter(path)) return true;
        const DWORD error = GetLastError();
        const bool mayCreate = IsRelative(path) && !IsUnanswered(error);
        return mayCreate ? CreateRemoteFolders(path) : NotCreated(path, error);
    });
}

bool FtpSender::NotCreated(const std::wstring& folder, DWORD error) const {
    return ShownProcedure(L"clsFTPSndRcv.cls.CreateRemoteFolders", m_progress)
        .Fail(Lines(L"Could not create FTP directory: " + ErrorText(error), L"Folder: " + folder));
}

bool FtpSender::CreateRemoteFolders(const std::wstring& path) const {
    const size_t separator = path.find(L'/');
    if (!EnterOrCreate(path.substr(0, separator))) return false;
    const bool isLast = separator == std::wstring::npos || separator + 1 == path.size();
    return isLast || CreateRemoteFolders(path.substr(separator + 1));
}

bool FtpSender::EnterOrCreate(const std::wstring& folder) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.CreateRemoteFolders", m_progress);
    const FtpConnection::Entry entry = m_connection.EnterOrCreate(folder);
    const DWORD error = GetLastError();
    if (entry == FtpConnection::Entry::Entered) return true;
    if (entry == FtpConnection::Entry::NotCreated) return NotCreated(folder, error);
    return self.Fail(L"Could not set current directory(" + folder + L"): " + ErrorText(error));
}

/// A list that fails ends no transfer: whether a packet can be seen there is known once it was sent.
FtpSender::Names FtpSender::ListNames() const {
    Names names;
    for (const FileEntry& entry : m_connection.List())
        if (!IsFolder(entry)) names.emplace(base::Upper(entry.name), entry.name);
    return names;
}

/// Names that differ only in the case of letters are one packet for whoever receives them, and while a server
/// that tells them apart has both, neither is received. The version that waits there gets the letters of the
/// newer one, which then takes its place. What was sent since the list was read is no such version.
void FtpSender::GiveLetters(const std::wstring& name, Names& there) const {
    const auto [first, last] = there.equal_range(base::Upper(name));
    const bool isThere = std::any_of(first, last, [&](const auto& entry) { return entry.second == name; });
    if (first != last && !isThere) m_connection.Rename(first->second, name);
    there.erase(first, last);
}

bool FtpSender::SendLocalFile(const std::wstring& localFolder, const std::wstring& name, Names& there) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.SendLocalFile", m_progress);
    return self.Guard(false, [&] {
        const std::wstring file = Path::Join(localFolder, name);
        GiveLetters(name, there);
        const auto sent = FileSystem::VersionOf(file);
        if (!m_connection.Put(file, name)) {
            const PutError error = PutError::Last();
            if (const auto failure = PutFailure(name, error)) self.Fail(*failure);
            if (sent && HasFlowed(error)) RemovePart(name, sent->size);
            if (HasGone(file, localFolder)) self.Fail(TellOfGone(file));
            return false;
        }
        if (!RemoteFileExists(name, sent))
            return self.Fail(L"Failed occurred while transmiting file " + name + L" to the FTP server.");
        // Blocked only now: WinINet may ask for the file for itself alone.
        const FileSystem::WriteBlock block(file);
        if (!block.Holds() || FileSystem::VersionOf(file) != sent)
            return self.Fail(L"File " + name +
                             L" was saved again while it was sent to the FTP server, or is being saved. It "
                             L"stays here, and the next transfer sends what it holds then.");
        block.Delete(FileSystem::ReadOnlyFiles::Delete);
        return true;
    });
}

/// The other side would take a part under the packet's name for the packet. What is not shorter is no part
/// but a whole packet that the server kept; a shorter one that it kept is older than the one that is still
/// here. A failure needs no report beside that of the put.
void FtpSender::RemovePart(const std::wstring& name, std::uint64_t whole) const {
    FileEntry found;
    if (m_connection.FindFile(name, found) && IsListedPart(found.size, whole)) m_connection.Delete(name);
}

/// A list tells 0 where it tells no sizes, and of a file that came to nothing: some servers report a full
/// disk as success, and some clients a file that they could not read. The size alone tells which; a server
/// that refuses to tell it knows no more, but one that gives no answer may.
std::uint64_t FtpSender::SizeThere(const FileEntry& listed, const std::wstring& name,
                                   std::uint64_t sent) const {
    if (listed.size != 0 || sent == 0) return listed.size;
    m_connection.AskForBytes();
    if (const auto size = m_connection.SizeOf(name)) return *size;
    return Refuses(GetLastError()) ? sent : listed.size;
}

bool FtpSender::RemoteFileExists(const std::wstring& name,
                                 const std::optional<FileSystem::FileVersion>& sent) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.RemoteFileExists", m_progress);
    FileEntry found;
    if (m_connection.FindFile(name, found)) {
        if (!sent) return true;
        found.size = SizeThere(found, name, sent->size);
        if (MayBeListedSize(found.size, sent->size) && !IsListedPart(found.size, sent->size)) return true;
        self.Fail(SizeDifference(found, sent->size) +
                  L" It stays here for the next transfer. If that happens again, see whether the server has "
                  L"space for it, and whether its list tells the right size.");
        RemovePart(name, sent->size);
        return false;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_NO_MORE_FILES)
        return self.Fail(
            L"The FTP server took file " + name +
            L" but does not list it, so that the other side would not see it; or the other side has received "
            L"it already, and nothing needs to be done. It stays here. If that happens again, " +
            NameAdvice(name) + L"see whether the server's list has the usual form (as of ls -l).");
    return self.Fail(
        WithReply(Lines(L"Could not verify that file " + name + L" was transported to the FTP server.",
                        ErrorText(error)),
                  error));
}
