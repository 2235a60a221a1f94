// Shows the transport at work: two installations exchange packets, and every file is compared.
#pragma once

#include <string>

/// A server for a round through FTP.
struct FtpAccount {
    std::wstring server;  ///< empty for no such round
    std::wstring user;
    std::wstring password;
    std::wstring folder;  ///< on the server; made if missing
};

/// folder: must not exist; empty for a new one for temporary files. Returns the exit code.
int RunDemo(const std::wstring& folder, bool keep, const FtpAccount& ftp);
