// What became of the packets of one cycle.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/settings/Settings.h"

enum class Direction { Out, In };

enum class PacketState {
    Sent,
    Delivered,
    // From here on the packet is not where it belongs.
    NotAdded,
    InOutbox,  ///< added, but its file could not leave the outbox
    Waiting,
    Gone,  ///< somebody else took it out of the send folder
    NotReceived,
    NotDelivered,
    // What a cycle would do.
    WouldSend,
    WouldReceive,
    WouldDeliver,
};

struct Outcome {
    Direction direction;
    std::wstring packet;                      ///< path below the outbox, or below the inbox once it is there
    std::optional<std::uint64_t> size;        ///< bytes; unknown for an encoded packet of an earlier cycle
    std::optional<std::uint64_t> travelSize;  ///< bytes of the file that travels, where there was one
    PacketState state;
    std::wstring reason;
};

/// Size of a file in bytes; 0 when whoever waits for it has taken it already.
std::uint64_t SizeOf(const std::wstring& path);

/// Collects outcomes, and remembers what only an earlier step of the cycle can know of a packet's sizes.
class PacketLedger {
public:
    explicit PacketLedger(const Settings& settings) : m_settings(settings) {}

    const std::vector<Outcome>& Outcomes() const noexcept { return m_outcomes; }
    /// The packet that a file holds on its way.
    base::TreeFile PacketIn(const base::TreeFile& file) const;

    /// A packet is about to leave the outbox.
    void NoteAdded(const base::TreeFile& file);
    /// A file lies in the receive folder.
    void NoteReceived(const base::TreeFile& file);

    /// A packet that is still what it was in the outbox.
    void ReportInOutbox(const base::TreeFile& file, PacketState state, const std::wstring& reason);
    /// A packet, by the file that holds it on its way.
    void ReportTravelling(Direction direction, const base::TreeFile& file, PacketState state,
                          const std::wstring& reason = {});
    /// A packet that is in the inbox.
    void ReportDelivered(const std::wstring& subFolder, const std::wstring& name,
                         const std::wstring& reason = {});

private:
    using Sizes = std::map<std::wstring, std::uint64_t>;  // by packet, in capitals

    const Settings& m_settings;
    Sizes m_added;     // of the packets that left the outbox
    Sizes m_received;  // of the files that hold them
    std::vector<Outcome> m_outcomes;
};
