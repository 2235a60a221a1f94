// One transport cycle: the outbox is added, packets are sent and received, received ones are delivered.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/Session.h"
#include "host/Settings.h"

enum class Direction { Out, In };

enum class PacketState {
    Sent,
    Delivered,
    // From here on the packet is not where it belongs.
    NotAdded,
    InOutbox,  ///< added, but its file could not leave the outbox
    Waiting,
    NotReceived,
    NotDelivered,
};

struct Outcome {
    Direction direction;
    std::wstring packet;  ///< path below the outbox, or below the inbox once it is there
    std::optional<std::uint64_t>
        size;  ///< bytes; unknown for a packet of an earlier cycle that waits encoded
    std::optional<std::uint64_t> travelSize;  ///< bytes of the file that travels, where there was one
    PacketState state;
    std::wstring reason;
};

struct CycleResult {
    std::vector<Outcome> outcomes;
    bool transferred = false;     ///< what the transport said of the transfer as a whole
    std::wstring transferReason;  ///< why it was not
    bool interrupted = false;

    /// Nothing is left behind and nothing failed.
    bool Complete() const;
};

/// Runs one cycle. What cannot be moved is an outcome, not an exception.
CycleResult RunCycle(Session& session, const Settings& settings);

/// The files that wait in the send folder, in all its sub-folders.
std::vector<base::TreeFile> FilesToSend(Session& session, const Settings& settings);
/// The sub-folders of the receive folder that hold packets; the transport's backups are none.
std::vector<std::wstring> ReceiveSubFolders(const Settings& settings);
