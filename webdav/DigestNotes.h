// The notes that lie on a server, and what they say of a packet.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "webdav/DavServer.h"
#include "webdav/PacketDigests.h"

class DigestNotes {
public:
    /// uploads: the folder in which they lie.
    DigestNotes(const DavServer& server, std::wstring uploads)
        : m_server(server), m_uploads(std::move(uploads)) {}

    /// Reads those that came since the last time. One that cannot be read, or is damaged, is none. Throws
    /// when they cannot be listed. Only what is read first may be deleted.
    void Read();
    /// The version of a packet that has this content, as its sender tells; null when none of them tells that.
    const PacketDigest* Find(const std::wstring& packet, std::uint64_t size,
                             const std::wstring& sha256) const;
    /// Whether one tells of the packet at all.
    bool Tell(const std::wstring& packet) const { return m_packets.contains(packet); }
    /// Deletes those of the first reading of whose packets none waits any more. packets: what waited in the
    /// remote folder, listed after that: a packet that was still among the uploads then is one that waits.
    void DeleteDone(const std::set<std::wstring>& packets) const;

private:
    void ReadNote(const std::wstring& name, bool isFirst);
    bool IsDone(const std::vector<PacketDigest>& note, const std::set<std::wstring>& packets) const;

    const DavServer& m_server;
    const std::wstring m_uploads;
    bool m_isFirst = true;
    std::map<std::wstring, std::vector<PacketDigest>> m_first;  ///< of the first reading, by name
    std::set<std::wstring> m_waiting;                           ///< names of uploads then
    std::set<std::wstring> m_read;                              ///< names of notes
    std::multimap<std::wstring, PacketDigest> m_packets;
};
