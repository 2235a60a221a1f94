// One transport cycle: the outbox is added, packets are sent and received, received ones are delivered.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/console/ConsoleProgress.h"
#include "host/cycle/PacketLedger.h"
#include "host/session/Session.h"

struct CycleResult {
    std::vector<Outcome> outcomes;
    std::optional<std::wstring> transferFailure;  ///< what the transport said of the transfer as a whole
    /// What it showed on the way: of what stays on a server nobody else tells.
    std::vector<std::wstring> shownFailures;
    bool interrupted = false;

    /// Nothing is left behind and nothing failed.
    bool Complete() const;
};

/// Runs one cycle. What cannot be moved is an outcome, not an exception.
CycleResult RunCycle(Session& session, const Settings& settings, Telling telling = Telling::Everything);

/// The files that wait in the send folder, in all its sub-folders.
std::vector<base::TreeFile> FilesToSend(Session& session, const Settings& settings);
