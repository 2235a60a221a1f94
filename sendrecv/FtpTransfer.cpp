#include "sendrecv/FtpTransfer.h"

#include <set>
#include <string_view>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "com/MessagePump.h"
#include "com/Object.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"

using base::FromSystemCodePage;
using base::ToSystemCodePage;

namespace {

std::wstring WithErrorText(const std::wstring& message, DWORD error) {
    return message + L"\r\n" + ErrorText(error);
}

/// What a failed put is reported with; nothing for a local file that somebody still writes.
std::optional<std::wstring> PutFailure(const std::wstring& name, DWORD error) {
    if (error == ERROR_SHARING_VIOLATION) return std::nullopt;
    if (error != ERROR_INTERNET_EXTENDED_ERROR)
        return WithErrorText(L"Failed to transmit file " + name + L" to the FTP server.", error);
    const std::wstring response = LastResponse();
    if (base::Upper(response).find(L"NO SPACE LEFT ON DEVICE.") == std::wstring::npos) return response;
    return L"FTP site is out of space.";
}

/// Nothing of a file that did not arrive may lie under its name. A failure shows in what is still there.
void Remove(const std::wstring& file) noexcept try {
    if (FileSystem::FileExists(file)) FileSystem::DeleteFile(file, FileSystem::ReadOnlyFiles::Delete);
} catch (...) {
    return;
}

/// Others come from this machine, before the server was asked for anything.
bool IsInternetError(DWORD error) { return error > INTERNET_ERROR_BASE && error <= INTERNET_ERROR_LAST; }

std::uint64_t SizeOf(const WIN32_FIND_DATAA& found) {
    return (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
}

/// The server's name for a file may stand for something else here.
std::wstring Refusal(const std::wstring& name) {
    return L"The FTP server lists the name " + name +
           L", which cannot be the name of a file in the local folder. Rename or remove it on the server.";
}

}  // namespace

bool FtpTransfer::Failed(std::wstring_view source, const std::wstring& message) const {
    ReportFailure(source, message, m_progress);
    return false;
}

// --- Folders ----------------------------------------------------------------------------------------

bool FtpTransfer::MoveFiles(const std::wstring& from, const std::wstring& to, bool receiving) try {
    const std::wstring& local = receiving ? to : from;
    const std::wstring& remote = receiving ? from : to;
    if (receiving && !MakeLocalFolder(local)) return false;
    if (!m_open()) return false;
    Source source = receiving ? Source() : ListLocal(local);
    const std::string start = m_session.CurrentFolder();
    if (receiving || !source.files.empty() || !source.folders.empty()) {
        const bool entered = m_session.SetRemoteFolder(receiving, remote, m_progress);
        // No remote folder, nothing to receive; but a connection that is lost has none, either.
        if (!entered && receiving) return ReturnTo(start);
        if (!entered || (receiving && !ListRemote(remote, source))) {
            m_session.ReturnTo(start);
            return false;
        }
        if (!MoveEachFile(source.files, local, receiving)) return false;
    }
    return MoveSubFolders(source.folders, local, receiving) && ReturnTo(start);
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.MoveFiles", false);
}

bool FtpTransfer::MakeLocalFolder(const std::wstring& local) const {
    if (FileSystem::FolderExists(local) || LocalFolderIsMade(local)) return true;
    return Failed(L"clsFTPSndRcv.cls.MoveFiles", L"Local receiving folder does not exist: " + local);
}

/// CreateFolders throws where a failure cannot be shown.
bool FtpTransfer::LocalFolderIsMade(const std::wstring& local) const try {
    return CreateFolders(local, m_supressMsg);
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.MoveFiles", false);
}

/// Remote folders are entered by their names: from a wrong one, everything after it would land elsewhere.
bool FtpTransfer::ReturnTo(const std::string& remote) const {
    if (m_session.ReturnTo(remote)) return true;
    const DWORD error = GetLastError();
    return Failed(L"clsFTPSndRcv.cls.MoveFiles", L"Could not set current directory(" +
                                                     FromSystemCodePage(remote) + L"): " + ErrorText(error));
}

FtpTransfer::Source FtpTransfer::ListLocal(const std::wstring& local) const {
    Source source;
    if (!FileSystem::FolderExists(local)) return source;
    FileSystem::Listing listing = FileSystem::List(local);
    for (const FileSystem::FileEntry& file : listing.files)
        source.files.push_back(com::Make<clsFTPFile>(file.name, file.attributes, file.size));
    source.folders = std::move(listing.folders);
    return source;
}

bool FtpTransfer::ListRemote(const std::wstring& remote, Source& source) const {
    std::optional<FileList> files = CreateRemoteFileList(remote);
    if (!files || !HasLocalNames(*files)) return false;
    source.files = std::move(*files);
    for (const auto& entry : source.files)
        if (entry->IsFolder() && !entry->IsSelfOrParent()) source.folders.push_back(entry->sFileName);
    return true;
}

bool FtpTransfer::MoveEachFile(const FileList& files, const std::wstring& local, bool receiving) const {
    if (!files.empty()) m_progress.SetRange(0, static_cast<LONG>(files.size()));
    LONG position = 0;
    for (const auto& file : files) {
        m_progress.AddMessage(L"Move " + file->sFileName, ZN_PROGRESS_INFORMATION);
        m_progress.Position(position++);
        com::ProcessPendingMessages();
        if (!(receiving ? GetRemoteFile(*file.Get(), local) : SendLocalFile(*file.Get(), local)))
            return false;
    }
    return true;
}

bool FtpTransfer::MoveSubFolders(const std::vector<std::wstring>& folders, const std::wstring& local,
                                 bool receiving) {
    for (const std::wstring& name : folders) {
        const std::wstring path = Path::Join(local, name);
        if (!(receiving ? MoveFiles(name, path, true) : MoveFiles(path, base::Upper(name), false)))
            return false;
    }
    return true;
}

std::optional<FtpTransfer::FileList> FtpTransfer::CreateRemoteFileList(const std::wstring& folder) const {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.CreateRemoteFileList";
    const auto failed = [&](const wchar_t* what, DWORD error) {
        Failed(kSource, what + ErrorText(error) + L"\r\nFolder: " + folder);
        return std::nullopt;
    };
    FileList files;
    WIN32_FIND_DATAA found{};
    const FtpSearch search = Find("*.*", found);
    if (!search) {
        const DWORD error = GetLastError();
        if (error == ERROR_NO_MORE_FILES) return files;
        return failed(L"Could not find first FTP file: ", error);
    }
    do {
        files.push_back(com::Make<clsFTPFile>(FromSystemCodePage(found.cFileName), found.dwFileAttributes,
                                              SizeOf(found)));
    } while (WinInet().InternetFindNextFileA(search.get(), &found));
    const DWORD error = GetLastError();
    if (error == ERROR_NO_MORE_FILES) return files;
    return failed(L"Could not find FTP file: ", error);
}

/// A server may tell names apart that are one name here: the second file would replace the first, whose
/// only copy is the local one by then. Whoever named them must settle it while both are on the server.
bool FtpTransfer::HasLocalNames(const FileList& files) const {
    std::set<std::wstring> names;
    for (const auto& entry : files)
        if (!names.insert(base::Upper(entry->sFileName)).second)
            return Failed(L"clsFTPSndRcv.cls.CreateRemoteFileList",
                          L"The FTP server lists the name " + entry->sFileName +
                              L" and another one that differs only in the case of letters. Both would be one "
                              L"local file. Rename or remove one on the server.");
    return true;
}

FtpSearch FtpTransfer::Find(const std::string& pattern, WIN32_FIND_DATAA& found) const {
    return FtpSearch(WinInet().FtpFindFirstFileA(m_session.Connection(), pattern.c_str(), &found, 0, 0));
}

// --- Files ------------------------------------------------------------------------------------------

bool FtpTransfer::GetRemoteFile(const clsFTPFile& entry, const std::wstring& localFolder) const try {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.GetRemoteFile";
    if (entry.IsFolder() && entry.IsSelfOrParent()) return true;
    if (!Path::IsPlainName(entry.sFileName)) return Failed(kSource, Refusal(entry.sFileName));
    const std::wstring target = localFolder + L"\\" + entry.sFileName;
    Remove(target);
    if (FileSystem::FileExists(target))
        return Failed(kSource, L"Local file " + target + L" already exists and couldn't be deleted.");
    if (entry.IsFolder()) return true;
    if (!Fetch(entry, localFolder, target)) {
        Remove(target);
        return false;
    }
    if (WinInet().FtpDeleteFileA(m_session.Connection(), ToSystemCodePage(entry.sFileName).c_str()))
        return true;
    const DWORD error = GetLastError();
    return Failed(
        kSource,
        WithErrorText(L"Failed to delete the file " + entry.sFileName + L" from the FTP server.", error));
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.GetRemoteFile", false);
}

bool FtpTransfer::Fetch(const clsFTPFile& entry, const std::wstring& localFolder,
                        const std::wstring& target) const {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.GetRemoteFile";
    if (!WinInet().FtpGetFileA(m_session.Connection(), ToSystemCodePage(entry.sFileName).c_str(),
                               ToSystemCodePage(target).c_str(), FALSE, static_cast<DWORD>(entry.lAttributes),
                               FtpHandles::kFlags, 0)) {
        const DWORD error = GetLastError();
        return Failed(kSource, WithErrorText(L"Failed to retrieve file " + entry.sFileName +
                                                 L" on the FTP server to local folder " + localFolder,
                                             error));
    }
    // The server's copy goes next: a local one that ended early must not be taken for the packet.
    if (FileSystem::FileExists(target) && FileSystem::FileSize(target) >= entry.Size()) return true;
    return Failed(kSource, L"Failed to retrieve file " + entry.sFileName + L" from the FTP server.");
}

bool FtpTransfer::SendLocalFile(const clsFTPFile& entry, const std::wstring& localFolder) const try {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.SendLocalFile";
    const std::wstring& name = entry.sFileName;
    const std::wstring file = localFolder + L"\\" + name;
    const std::optional<FileSystem::FileVersion> sent = FileSystem::VersionOf(file);
    if (!WinInet().FtpPutFileA(m_session.Connection(), ToSystemCodePage(file).c_str(),
                               ToSystemCodePage(name).c_str(), FtpHandles::kFlags, 0)) {
        const DWORD error = GetLastError();
        if (const std::optional<std::wstring> failure = PutFailure(name, error)) Failed(kSource, *failure);
        if (sent && IsInternetError(error)) RemovePart(name, sent->size);
        return false;
    }
    if (!RemoteFileExists(name))
        return Failed(kSource, L"Failed occurred while transmiting file " + name + L" to the FTP server.");
    // Blocked only now: WinINet may ask for the file for itself alone.
    const FileSystem::WriteBlock block(file);
    if (!block.Holds() || FileSystem::VersionOf(file) != sent) return false;  // the newer one travels next
    FileSystem::DeleteFile(file, FileSystem::ReadOnlyFiles::Delete);
    return true;
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.SendLocalFile", false);
}

/// The other side would take a part under the packet's name for the packet. What is not shorter is no part
/// but a whole packet that the server kept. A failure needs no report beside that of the put.
void FtpTransfer::RemovePart(const std::wstring& name, std::uint64_t whole) const {
    const std::string remote = ToSystemCodePage(name);
    WIN32_FIND_DATAA found{};
    if (Find(remote, found) && SizeOf(found) < whole)
        WinInet().FtpDeleteFileA(m_session.Connection(), remote.c_str());
}

/// Some proxies and servers end a search for one file without handle and without error although the file
/// is there: only an error says that it is not.
bool FtpTransfer::RemoteFileExists(const std::wstring& name) const {
    WIN32_FIND_DATAA found{};
    const HINTERNET search = Find(ToSystemCodePage(name), found).release();
    const DWORD error = search ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_SUCCESS) {
        WinInet().InternetCloseHandle(search);
        return true;
    }
    if (error == ERROR_NO_MORE_FILES) return false;
    return Failed(
        L"clsFTPSndRcv.cls.RemoteFileExists",
        WithErrorText(L"Could not verify that file " + name + L" was transported to the FTP server.", error));
}
