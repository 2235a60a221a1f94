// The WinINet handles of an FTP connection; every connection of the library is opened here.
#pragma once

#include <string>

#include "common/modWinInet.h"

/// What an FTP server wants to know; the password is plain text.
struct FtpLogin {
    std::wstring server;
    std::wstring user;
    std::wstring password;

    bool IsComplete() const { return !server.empty() && !user.empty() && !password.empty(); }
};

/// Its end closes nothing: whoever opens the handles says when.
class FtpHandles {
public:
    /// Flags of connections (active mode) and of transfers (bytes unchanged).
    static constexpr DWORD kFlags = 0;

    FtpHandles() = default;
    FtpHandles(const FtpHandles&) = delete;
    FtpHandles& operator=(const FtpHandles&) = delete;

    /// Opens the internet session under the tool's name. When False, GetLastError tells why.
    bool Open();
    /// Connects to the FTP default port. When False, GetLastError tells why.
    bool Connect(const FtpLogin& login);
    /// Harmless when nothing is open.
    void Close();

    HINTERNET Connection() const { return m_connection; }

    /// The current remote folder, for a later ReturnTo; as the server spells it. Empty when unknown.
    std::string CurrentFolder() const;
    /// When False, GetLastError tells why.
    bool ReturnTo(const std::string& folder) const;

private:
    HINTERNET m_internet = nullptr;
    HINTERNET m_connection = nullptr;
};
