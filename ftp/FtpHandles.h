// The WinINet handles of an FTP connection; every connection of the library is opened here.
#pragma once

#include <memory>
#include <string>

#include "common/modWinInet.h"

/// What an FTP server wants to know; the password is plain text.
struct FtpLogin {
    std::wstring server;
    std::wstring user;
    std::wstring password;

    bool IsComplete() const { return !server.empty() && !user.empty() && !password.empty(); }
};

struct FtpSearchCloser {
    using pointer = HINTERNET;
    void operator()(HINTERNET search) const noexcept { WinInet().InternetCloseHandle(search); }
};
/// A search of FtpFindFirstFile.
using FtpSearch = std::unique_ptr<void, FtpSearchCloser>;

/// Its end closes nothing: whoever opens the handles says when.
class FtpHandles {
public:
    /// How far entering a folder came.
    enum class Entry { Entered, NotCreated, NotEntered };

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

    /// Makes a folder, or a path of folders, the current remote one. When False, GetLastError tells why.
    bool Enter(const std::wstring& folder) const;
    /// The same for one folder, which is created when it cannot be entered. GetLastError tells why it failed.
    Entry EnterOrCreate(const std::wstring& folder) const;

    /// The current remote folder, for a later ReturnTo; as the server spells it. Empty when unknown.
    std::string CurrentFolder() const;
    /// Also False for an unknown folder. When False, GetLastError tells why.
    bool ReturnTo(const std::string& folder) const;

private:
    bool SetCurrentFolder(const std::string& folder) const;

    HINTERNET m_internet = nullptr;
    HINTERNET m_connection = nullptr;
};
