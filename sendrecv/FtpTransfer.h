// Moves packet files between a local and a remote folder of an FTP session, with all sub-folders. A file
// is deleted at its source only after it was seen at its destination.
#pragma once

#include <wrl/client.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sendrecv/FtpSession.h"
#include "sendrecv/Progress.h"
#include "sendrecv/clsFTPFile.h"

class FtpTransfer {
public:
    /// open: sees to it that the session is connected.
    FtpTransfer(const FtpSession& session, std::function<bool()> open, bool supressMsg,
                const Progress& progress)
        : m_session(session), m_open(std::move(open)), m_supressMsg(supressMsg), m_progress(progress) {}

    /// The first file that fails ends the transfer; then the current remote folder is where it failed.
    bool MoveFiles(const std::wstring& from, const std::wstring& to, bool receiving);

private:
    using FileList = std::vector<Microsoft::WRL::ComPtr<clsFTPFile>>;
    /// What lies directly in a source folder.
    struct Source {
        FileList files;
        std::vector<std::wstring> folders;
    };

    bool MakeLocalFolder(const std::wstring& local) const;
    bool LocalFolderIsMade(const std::wstring& local) const;
    bool ReturnTo(const std::string& remote) const;
    Source ListLocal(const std::wstring& local) const;
    bool ListRemote(const std::wstring& remote, Source& source) const;
    bool MoveEachFile(const FileList& files, const std::wstring& local, bool receiving) const;
    bool MoveSubFolders(const std::vector<std::wstring>& folders, const std::wstring& local, bool receiving);

    std::optional<FileList> CreateRemoteFileList(const std::wstring& folder) const;
    bool HasLocalNames(const FileList& files) const;
    bool GetRemoteFile(const clsFTPFile& entry, const std::wstring& localFolder) const;
    bool Fetch(const clsFTPFile& entry, const std::wstring& localFolder, const std::wstring& target) const;
    bool SendLocalFile(const clsFTPFile& entry, const std::wstring& localFolder) const;
    void RemovePart(const std::wstring& name, std::uint64_t whole) const;
    bool RemoteFileExists(const std::wstring& name) const;
    FtpSearch Find(const std::string& pattern, WIN32_FIND_DATAA& found) const;
    /// Reports and is False, for the result of the step that failed.
    bool Failed(std::wstring_view source, const std::wstring& message) const;

    const FtpSession& m_session;
    std::function<bool()> m_open;
    bool m_supressMsg;
    const Progress& m_progress;
};
