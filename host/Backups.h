// The backups of received packets, from the command line.
#pragma once

#include <string>

#include "host/Session.h"

enum class BackupAction { List, Restore, RestoreAll, Destroy };

struct BackupRequest {
    BackupAction action = BackupAction::List;
    std::wstring packetId;  ///< of Restore and Destroy
};

/// Does what is asked and tells the user. Returns the exit code.
int HandleBackups(Session& session, const BackupRequest& request);
