// Receives packet files into a local folder, with all remote sub-folders, through an FTP connection. A file
// is deleted on the server only after it has arrived here.
#pragma once

#include <optional>
#include <string>

#include "ftp/FtpTransfer.h"

class FtpReceiver : FtpTransfer {
public:
    /// supressMsg: a local folder that cannot be made is not shown in a message box.
    FtpReceiver(FtpConnection& connection, bool supressMsg, const HostProgress& progress)
        : FtpTransfer(connection, progress), m_supressMsg(supressMsg) {}

    /// Needs no connection. False where it cannot be made, which is reported.
    bool MakeLocalFolder(const std::wstring& local) const;
    /// A remote folder that is missing holds nothing to receive. The first file that fails ends the transfer,
    /// with a report; then the current remote folder is where it failed.
    bool MoveFiles(const std::wstring& remote, const std::wstring& local) const;

private:
    bool MoveFolder(const std::wstring& remote, const std::wstring& local, const Level& level) const;
    bool LeaveClosedFolder(const std::wstring& name, const Level& level) const;
    bool SetRemoteFolder(const std::wstring& path) const;
    std::optional<FileList> CreateRemoteFileList(const std::wstring& folder) const;
    bool HasLocalNames(const FileList& files) const;

    bool GetRemoteFile(const FileEntry& entry, const std::wstring& localFolder) const;
    bool Fetch(const FileEntry& entry, const std::wstring& localFolder, const std::wstring& target) const;
    bool NotRetrieved(const std::wstring& name, const std::wstring& localFolder,
                      const std::wstring& why) const;
    /// lastWrite: as the server told it before the file came. isSeen: becomes False for a file of which the
    /// server tells nothing any more.
    bool IsUnchanged(const std::wstring& name, const std::wstring& target, const std::wstring& lastWrite,
                     bool& isSeen) const;
    bool IsListedUnchanged(const std::wstring& name, const std::wstring& target, bool& isSeen) const;
    /// True also where the server told no time before.
    bool HasTime(const std::wstring& name, const std::wstring& lastWrite) const;
    bool NotVerified(const std::wstring& name, DWORD error) const;
    bool HasListedSize(const FileEntry& listed, const std::wstring& target) const;
    bool OtherSize(const std::wstring& difference) const;

    bool m_supressMsg;
};
