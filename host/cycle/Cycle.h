// One transport cycle: the outbox is added, packets are sent and received, received ones are delivered.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"
#include "host/session/Session.h"

struct CycleResult {
    std::vector<Outcome> outcomes;
    std::optional<std::wstring> transferFailure;  ///< what the transport said of the transfer as a whole
    bool interrupted = false;

    /// Nothing is left behind and nothing failed.
    bool Complete() const;
};

/// Runs one cycle. What cannot be moved is an outcome, not an exception.
CycleResult RunCycle(Session& session, const Settings& settings);

/// The packets in the outbox; what the system and other programs keep there for themselves is none.
std::vector<base::TreeFile> OutboxFiles(const Settings& settings, const base::Unlisted& unlisted = {});
/// The files that wait in the send folder, in all its sub-folders.
std::vector<base::TreeFile> FilesToSend(Session& session, const Settings& settings);
/// The sub-folders of the receive folder that hold packets; the transport's backups are none.
std::vector<std::wstring> ReceiveSubFolders(const Settings& settings);
