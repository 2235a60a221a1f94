// A connection to an FTP server, and its current remote folder.
#pragma once

#include <string>
#include <string_view>

#include "ftp/FtpHandles.h"
#include "sendrecv/Progress.h"

/// Reports a failure to the event log and to the host's status list. Never throws.
void ReportFailure(std::wstring_view source, const std::wstring& message, const Progress& progress) noexcept;

/// Its end does not close the connection: hosts say when, by CloseConnection.
class FtpSession : FtpHandles {
public:
    using FtpHandles::Connection;
    using FtpHandles::CurrentFolder;
    using FtpHandles::ReturnTo;

    /// Opens the session and connects. A failure is reported where its cause is known, and leaves
    /// everything closed.
    bool DoConnection(const FtpLogin& login, const Progress& progress);
    /// Harmless when nothing is open.
    void CloseConnection() { Close(); }
    bool IsConnected() const { return Connection() != nullptr; }

    /// Makes a path the current remote folder; a missing one is created unless mustExist, and is no
    /// reason for a report when mustExist.
    bool SetRemoteFolder(bool mustExist, const std::wstring& path, const Progress& progress) const;

private:
    bool CreateRemoteFolders(const std::wstring& path, const Progress& progress) const;
    bool EnterOrCreate(const std::wstring& folder, const Progress& progress) const;
};
