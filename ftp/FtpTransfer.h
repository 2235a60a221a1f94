// What sending and receiving through FTP have in common: the remote folder and the host's status list.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ftp/FtpConnection.h"
#include "services/HostProgress.h"

class FtpTransfer {
protected:
    using FileEntry = FileSystem::FileEntry;
    using FileList = std::vector<FileEntry>;

    FtpTransfer(const FtpConnection& connection, const HostProgress& progress)
        : m_connection(connection), m_progress(progress) {}
    ~FtpTransfer() = default;

    /// A failure is reported.
    bool ReturnTo(const std::string& remote) const;
    /// Moves one file after the other, until one fails. The host sees each, and processes its messages.
    bool MoveEach(const FileList& files, const std::function<bool(const FileEntry&)>& move) const;

    const FtpConnection& m_connection;
    const HostProgress& m_progress;
};
