// See FtpReceiver.h.
#include "ftp/FtpReceiver.h"

#include "base/LocalNames.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "common/modMain.h"
#include "ftp/ShownProcedure.h"

namespace {

bool IsFolder(const FileSystem::FileEntry& entry) {
    return (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// The folder that is listed, or the one above it.
bool IsSelfOrParent(const FileSystem::FileEntry& entry) {
    return IsFolder(entry) && (entry.name == L"." || entry.name == L"..");
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
    return Procedure(L"clsFTPSndRcv.cls.MoveFiles").Guard(false, [&] { return MoveFolder(remote, local); });
}

bool FtpReceiver::MoveFolder(const std::wstring& remote, const std::wstring& local) const {
    if (!MakeLocalFolder(local)) return false;
    const std::string start = m_connection.CurrentFolder();
    // No remote folder, nothing to receive; but a connection that is lost has none, either.
    if (!SetRemoteFolder(remote)) return ReturnTo(start);
    const std::optional<FileList> entries = CreateRemoteFileList(remote);
    if (!entries || !HasLocalNames(*entries)) {
        m_connection.ReturnTo(start);
        return false;
    }
    if (!MoveEach(*entries, [&](const FileEntry& entry) { return GetRemoteFile(entry, local); }))
        return false;
    for (const FileEntry& entry : *entries)
        if (IsFolder(entry) && !IsSelfOrParent(entry) &&
            !MoveFolder(entry.name, Path::Join(local, entry.name)))
            return false;
    return ReturnTo(start);
}

bool FtpReceiver::SetRemoteFolder(const std::wstring& path) const {
    return Procedure(L"clsFTPSndRcv.cls.SetRemoteFolder").Guard(false, [&] {
        return m_connection.Enter(path);
    });
}

std::optional<FtpReceiver::FileList> FtpReceiver::CreateRemoteFileList(const std::wstring& folder) const {
    FileList files;
    FileEntry found;
    const InternetHandle search = m_connection.Find(L"*.*", found);
    if (search) {
        do
            files.push_back(found);
        while (FtpConnection::FindNext(search, found));
    }
    const DWORD error = GetLastError();
    if (error == ERROR_NO_MORE_FILES) return files;
    const std::wstring failure = search ? L"Could not find FTP file: " : L"Could not find first FTP file: ";
    ShownProcedure(L"clsFTPSndRcv.cls.CreateRemoteFileList", m_progress)
        .Fail(Lines(failure + ErrorText(error), L"Folder: " + folder));
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
        const std::wstring target = localFolder + L"\\" + entry.name;
        FileSystem::TryDelete(target);
        if (FileSystem::FileExists(target))
            return self.Fail(L"Local file " + target + L" already exists and couldn't be deleted.");
        if (IsFolder(entry)) return true;
        if (!Fetch(entry, localFolder, target)) return false;
        if (m_connection.Delete(entry.name)) return true;
        const DWORD error = GetLastError();
        return self.Fail(
            Lines(L"Failed to delete the file " + entry.name + L" from the FTP server.", ErrorText(error)));
    });
}

/// Nothing of a file that did not arrive may lie under its name.
bool FtpReceiver::Fetch(const FileEntry& entry, const std::wstring& localFolder,
                        const std::wstring& target) const {
    const ShownProcedure self(L"clsFTPSndRcv.cls.GetRemoteFile", m_progress);
    base::RollBack part([&] { FileSystem::TryDelete(target); });
    if (!m_connection.Get(entry.name, target, entry.attributes)) {
        const DWORD error = GetLastError();
        return self.Fail(Lines(L"Failed to retrieve file " + entry.name +
                                   L" on the FTP server to local folder " + localFolder,
                               ErrorText(error)));
    }
    // The server's copy goes next: a local one that ended early must not be taken for the packet.
    if (!FileSystem::FileExists(target) || FileSystem::FileSize(target) < entry.size)
        return self.Fail(L"Failed to retrieve file " + entry.name + L" from the FTP server.");
    part.Dismiss();
    return true;
}
