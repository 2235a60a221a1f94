// A server that exists only behind the table of WinINet functions: a tree of files in memory, and calls that
// fail as a test arranges.
#pragma once

#include <windows.h>
#include <wininet.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/modWinInet.h"

namespace tests {

struct RemoteEntry {
    std::string name;
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
    DWORD size = 0;
    FILETIME lastWrite{};
};

/// While it exists, the library's FTP calls end here. Handles that are closed twice, or used without being
/// open, fail the test.
class FtpScript {
public:
    FtpScript();
    FtpScript(const FtpScript&) = delete;
    FtpScript& operator=(const FtpScript&) = delete;
    ~FtpScript();

    /// The next calls of a function fail with these errors, one after the other. reply: the server's to each
    /// of them; empty where the last one stays.
    void Fail(const std::string& function, std::vector<DWORD> errors, std::string reply = {}) {
        failures[function] = std::move(errors);
        replies[function] = std::move(reply);
    }

    std::map<std::string, std::string> files;  ///< contents by path
    std::set<std::string> folders = {"/"};
    std::string home = "/";  ///< where a connection begins
    std::string currentFolder = "/";
    std::optional<std::vector<RemoteEntry>> listing;  ///< what every folder lists, instead of the tree
    bool tellsStatus = false;                         ///< whether the server knows the commands SIZE and MDTM
    std::map<std::string, std::string> lastWrites;    ///< what MDTM tells, by path
    std::string response;                             ///< the server's last reply
    std::map<std::string, std::vector<DWORD>> failures;
    std::map<std::string, std::string> replies;
    std::function<void()> afterPut = [] {};       ///< what happens once a file was sent
    std::function<void()> afterGet = [] {};       ///< what happens once a file was received
    std::function<void()> afterEntering = [] {};  ///< what happens once a folder was entered
    std::function<void(const std::string&)> atCommand = [](const std::string&) {};  ///< before it is done
    std::function<void()> failedPut = [] {};  ///< what happens before a put fails

    std::vector<std::string> logins;  ///< "agent: user:password@server" of each attempt
    std::map<DWORD, DWORD> options;   ///< of the session
    std::wstring proxies;             ///< of the Internet Options; empty for none
    DWORD attributes = 0;             ///< that the last file was to be received with
    int calls = 0;                    ///< of all functions
    std::set<HINTERNET> open;         ///< handles

private:
    WinInetFunctions m_real;
};

}  // namespace tests
