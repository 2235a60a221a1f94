// See FtpSender.h.
#include "ftp/FtpSender.h"

#include <optional>

#include "base/Path.h"
#include "base/Text.h"
#include "ftp/ShownProcedure.h"

namespace {

/// What a failed put is reported with; nothing for a local file that somebody still writes.
std::optional<std::wstring> PutFailure(const std::wstring& name, DWORD error) {
    if (error == ERROR_SHARING_VIOLATION) return std::nullopt;
    if (error != ERROR_INTERNET_EXTENDED_ERROR)
        return Lines(L"Failed to transmit file " + name + L" to the FTP server.", ErrorText(error));
    std::wstring response = LastResponse();
    if (base::Upper(response).find(L"NO SPACE LEFT ON DEVICE.") == std::wstring::npos) return response;
    return L"FTP site is out of space.";
}

/// Others come from this machine, before the server was asked for anything.
bool IsInternetError(DWORD error) { return error > INTERNET_ERROR_BASE && error <= INTERNET_ERROR_LAST; }

FileSystem::Listing ListLocal(const std::wstring& local) {
    return FileSystem::FolderExists(local) ? FileSystem::List(local) : FileSystem::Listing();
}

}  // namespace

bool FtpSender::MoveFiles(const std::wstring& local, const std::wstring& remote) const {
    return Procedure(L"clsFTPSndRcv.cls.MoveFiles").Guard(false, [&] { return MoveFolder(local, remote); });
}

bool FtpSender::MoveFolder(const std::wstring& local, const std::wstring& remote) const {
    const FileSystem::Listing listing = ListLocal(local);
    const std::string start = m_connection.CurrentFolder();
    if (!listing.files.empty() || !listing.folders.empty()) {
        if (!SetRemoteFolder(remote)) {
            m_connection.ReturnTo(start);
            return false;
        }
        const auto send = [&](const FileEntry& file) { return SendLocalFile(local, file.name); };
        if (!MoveEach(listing.files, send)) return false;
    }
    for (const std::wstring& name : listing.folders)
        if (!MoveFolder(Path::Join(local, name), base::Upper(name))) return false;
    return ReturnTo(start);
}

bool FtpSender::SetRemoteFolder(const std::wstring& path) const {
    return Procedure(L"clsFTPSndRcv.cls.SetRemoteFolder").Guard(false, [&] {
        return m_connection.Enter(path) || CreateRemoteFolders(path);
    });
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
    if (entry == FtpConnection::Entry::NotEntered)
        return self.Fail(L"Could not set current directory(" + folder + L"): " + ErrorText(error));
    return self.Fail(Lines(L"Could not create FTP directory: " + ErrorText(error), L"Folder: " + folder));
}

bool FtpSender::SendLocalFile(const std::wstring& localFolder, const std::wstring& name) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.SendLocalFile", m_progress);
    return self.Guard(false, [&] {
        const std::wstring file = localFolder + L"\\" + name;
        const auto sent = FileSystem::VersionOf(file);
        if (!m_connection.Put(file, name)) {
            const DWORD error = GetLastError();
            if (const auto failure = PutFailure(name, error)) self.Fail(*failure);
            if (sent && IsInternetError(error)) RemovePart(name, sent->size);
            return false;
        }
        if (!RemoteFileExists(name))
            return self.Fail(L"Failed occurred while transmiting file " + name + L" to the FTP server.");
        // Blocked only now: WinINet may ask for the file for itself alone.
        const FileSystem::WriteBlock block(file);
        if (!block.Holds() || FileSystem::VersionOf(file) != sent)
            return false;  // the newer one travels next
        FileSystem::DeleteFile(file, FileSystem::ReadOnlyFiles::Delete);
        return true;
    });
}

/// The other side would take a part under the packet's name for the packet. What is not shorter is no part
/// but a whole packet that the server kept. A failure needs no report beside that of the put.
void FtpSender::RemovePart(const std::wstring& name, std::uint64_t whole) const {
    FileEntry found;
    if (m_connection.Find(name, found) && found.size < whole) m_connection.Delete(name);
}

/// Some proxies and servers end a search for one file without handle and without error although the file
/// is there: only an error says that it is not.
bool FtpSender::RemoteFileExists(const std::wstring& name) const {
    FileEntry found;
    const DWORD error = m_connection.Find(name, found) ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_SUCCESS) return true;
    if (error == ERROR_NO_MORE_FILES) return false;
    return ShownProcedure(L"clsFTPSndRcv.cls.RemoteFileExists", m_progress)
        .Fail(Lines(L"Could not verify that file " + name + L" was transported to the FTP server.",
                    ErrorText(error)));
}
