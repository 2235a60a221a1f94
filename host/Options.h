// What the user asks for on the command line.
#pragma once

#include <string>
#include <vector>

#include "host/Backups.h"
#include "host/Demo.h"

enum class Command { Init, Run, List, Backups, Config, Verify, Settings, Demo };

struct Options {
    Command command = Command::Run;
    std::wstring path;  ///< folder of init and demo, settings file of the others; empty where it is optional
    BackupRequest backup;
    bool keep = false;  ///< demo: leave the scratch folder
    FtpAccount ftp;     ///< demo: exchange packets through this server, too
};

/// Thrown when there is nothing to do but to end: help was printed, or the usage is wrong.
struct Ended {
    int exitCode;
};

/// Throws Ended, after it told the user.
Options ParseOptions(const std::vector<std::wstring>& arguments);
