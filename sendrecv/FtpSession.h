// A connection to an FTP server, and its current remote folder.
#pragma once

#include <string>
#include <string_view>

#include "common/modWinInet.h"
#include "sendrecv/Progress.h"

/// Reports a failure to the event log and to the host's status list. Never throws.
void ReportFailure(std::wstring_view source, const std::wstring& message, const Progress& progress) noexcept;

/// What an FTP server wants to know; the password is plain text.
struct FtpLogin {
    std::wstring server;
    std::wstring user;
    std::wstring password;

    bool IsComplete() const { return !server.empty() && !user.empty() && !password.empty(); }
};

/// Its end does not close the connection: hosts say when, by CloseConnection.
class FtpSession {
public:
    /// Flags of connections (active mode) and of transfers (bytes unchanged).
    static constexpr DWORD kFlags = 0;

    FtpSession() = default;
    FtpSession(const FtpSession&) = delete;
    FtpSession& operator=(const FtpSession&) = delete;

    /// Opens the session and connects. A failure is reported where its cause is known, and leaves
    /// everything closed.
    bool DoConnection(const FtpLogin& login, const Progress& progress);
    /// Harmless when nothing is open.
    void CloseConnection();
    bool IsConnected() const { return m_connection != nullptr; }
    HINTERNET Connection() const { return m_connection; }

    /// Makes a path the current remote folder; a missing one is created unless mustExist, and is no
    /// reason for a report when mustExist.
    bool SetRemoteFolder(bool mustExist, const std::wstring& path, const Progress& progress) const;

    /// The current remote folder, for a later ReturnTo; as the server spells it.
    std::string CurrentFolder() const;
    void ReturnTo(const std::string& folder) const;

private:
    bool CreateRemoteFolders(const std::wstring& path, const Progress& progress) const;
    bool EnterOrCreate(const std::wstring& folder, const Progress& progress) const;
    bool Enter(const std::wstring& folder) const;

    HINTERNET m_internet = nullptr;
    HINTERNET m_connection = nullptr;
};
