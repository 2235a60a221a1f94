// What the user asks for on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class BackupAction { List, Restore, RestoreAll, Destroy };

struct BackupRequest {
    BackupAction action = BackupAction::List;
    std::wstring packetId;  ///< of Restore and Destroy
    bool isOver = false;    ///< also what would replace a file of the inbox
};

/// A server for a round through FTP.
struct ServerAccount {
    std::wstring server;  ///< empty for no such round
    std::wstring user;
    std::wstring password;
    std::wstring folder;  ///< on the server; made if missing
};

/// How run is to run.
struct RunRequest {
    bool dryRun = false;
    bool quiet = false;
    std::wstring every;        ///< an interval; empty for one run
    bool inService = false;    ///< a cycle of a service
    std::uintptr_t cycle = 0;  ///< of a loop: the handle of the event by which that stops it
};

/// A service of Windows.
struct ServiceRequest {
    std::wstring every = L"10m";
    std::wstring name;  ///< empty for one that is made of the settings file's
    std::wstring account = L"NT AUTHORITY\\NetworkService";
    std::wstring password;
    std::wstring start = L"delayed";  ///< auto, delayed or manual
};

/// Where a password comes from, and who can decipher it.
struct PasswordRequest {
    bool fromInput = false;    ///< not from the user
    bool forComputer = false;  ///< for all of its accounts
    bool ofProxy = false;
};

struct Options;
using Command = int (*)(const Options&);  // one of Commands.h

struct Options {
    Command command = nullptr;
    std::wstring path;  ///< folder of init and demo, settings file of the others; empty where it is optional
    bool json = false;  ///< for programs instead of users
    RunRequest run;
    ServiceRequest service;
    BackupRequest backup;
    PasswordRequest password;
    std::wstring installation;  ///< release: whose claims; empty to list all
    bool keep = false;          ///< demo: leave the scratch folder
    ServerAccount ftp;          ///< demo: exchange packets through this server, too
    ServerAccount https;        ///< the same for a WebDAV server

    std::wstring AbsolutePath() const;
};

/// Thrown when there is nothing to do but to end: help was printed, or the usage is wrong.
struct Ended {
    int exitCode;
};

/// Throws Ended, after it told the user.
Options ParseOptions(const std::vector<std::wstring>& arguments);
