// A folder of the probe's own on an FTP server.
#pragma once

#include <array>
#include <set>
#include <string>

#include "common/modWinInet.h"

namespace probe {

/// In the system's 8-bit code page.
struct FtpAccount {
    std::string server;
    std::string user;
    std::string password;
    std::string folder;  ///< where the probe may write; empty for the folder of the login
};

/// Nothing of the product's caution: its members call the system, and throw base::Error.
class FtpScratch {
public:
    /// localFolder: for the files that are sent.
    FtpScratch(FtpAccount account, std::wstring localFolder);
    FtpScratch(const FtpScratch&) = delete;
    FtpScratch& operator=(const FtpScratch&) = delete;
    ~FtpScratch() { Remove(); }

    const FtpAccount& Account() const noexcept { return m_account; }
    /// Has the folder as its current one.
    HINTERNET Connection() const noexcept { return m_connection.Get(); }
    /// Another one of that kind.
    InternetHandle ConnectAgain() const;
    /// For the folder of the login. Without a handle GetLastError tells why.
    InternetHandle TryConnect(const std::string& server, INTERNET_PORT port,
                              const std::string& password) const;

    std::string LocalPath(const std::string& name) const;
    /// A new local file.
    std::string LocalFile(const std::string& name, size_t size) const;
    /// Puts a file of that many bytes into the folder.
    void Put(const std::string& name, size_t size = 7);
    void MakeFolder(const std::string& name);

    /// Deletes the folder with what was put there. False when something stays, and GetLastError tells why.
    bool Remove() noexcept;

private:
    InternetHandle ConnectAbove() const;

    const FtpAccount m_account;
    const std::wstring m_localFolder;
    const std::string m_folder;
    InternetHandle m_session;
    InternetHandle m_connection;
    std::set<std::string> m_files;
    std::set<std::string> m_folders;
    bool m_removed = false;
};

/// A new session of WinINet's. Throws base::Error.
InternetHandle NewSession();
/// False when the system refuses, and GetLastError tells why.
bool Set(const InternetHandle& session, const TimeOut& timeOut);
/// The last line that the server said to this thread.
std::wstring LastReply();
/// "error 12003, reply 550 ..." where there is a reply.
std::wstring FtpErrorAnswer(DWORD error);
/// "done", or the last error.
std::wstring FtpOutcome(bool done);
/// Throws the last error unless an FTP call that a question needs was done.
void Require(bool done, const std::string& action);

}  // namespace probe
