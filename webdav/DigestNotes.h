// The notes that lie on a server, and what they say of a packet.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "webdav/DavServer.h"
#include "webdav/PacketDigests.h"

/// One of them.
struct DigestNote {
    std::wstring subFolder;  ///< into which its packets are sent
    std::wstring path;
    std::vector<PacketDigest> digests;
};

/// What to do about one that cannot be read, in words.
std::wstring WayOutOfUnread(const std::wstring& note);

class DigestNotes {
public:
    /// remote: the folder of the packets.
    DigestNotes(const DavServer& server, std::wstring remote)
        : m_server(server), m_remote(std::move(remote)) {}

    /// Reads those of the packets that are sent into a sub-folder; empty for the folder itself. Throws when
    /// they cannot be listed. What is read so, before the packets are listed, may be deleted later.
    void Read(const std::wstring& subFolder);
    /// Reads those of all folders into which a packet may have been sent.
    void ReadOf(const std::wstring& packet);
    /// Whether the folder in which those of the folder itself lie was there when they were read.
    bool HaveFolder() const noexcept { return m_haveFolder; }
    /// Reads those that came since: of one folder, or of those of a packet.
    void ReadNew(const std::wstring& subFolder) { ReadFolder(subFolder, false); }
    void ReadNewOf(const std::wstring& packet);
    /// The version of a packet that has this content, as its sender tells; null when none of them tells that.
    const PacketDigest* Find(const std::wstring& packet, std::uint64_t size,
                             const std::wstring& sha256) const;
    /// Whether one tells of the packet at all.
    bool Tell(const std::wstring& packet) const;
    /// The path of one that may tell of the packet, and could not be fetched, is damaged, or of a later
    /// format: what is in it, nobody knows. Nothing where there is none.
    std::optional<std::wstring> UnreadOf(const std::wstring& packet) const;
    /// How many contents of a packet they tell of.
    std::size_t VersionsOf(const std::wstring& packet) const;
    /// Whether a packet's latest version has this content, and no other one is as late: both the time at
    /// which the server got its note and that of its file must say so. A file that comes from a backup is
    /// older than what was sent before, and a server's clock can be set back.
    bool IsLatest(const std::wstring& packet, const std::wstring& sha256) const;
    /// Those of the first reading of whose packets none waits any more. packets: those that wait; one that
    /// was among the uploads at any reading does so, too.
    std::vector<DigestNote> Done(const std::set<std::wstring>& packets) const;

private:
    struct Version : PacketDigest {
        std::wstring note;  ///< path of the one that tells of it
    };

    /// Nothing where the server does not tell.
    std::optional<base::FileTime> SentAt(const Version& version) const;
    void ReadFolder(const std::wstring& subFolder, bool isFirst);
    void ReadNote(const std::wstring& subFolder, const std::wstring& name, bool isFirst);
    bool IsDone(const DigestNote& note, const std::set<std::wstring>& upperPackets) const;

    const DavServer& m_server;
    const std::wstring m_remote;
    bool m_haveFolder = false;
    std::set<std::wstring> m_subFolders;            ///< whose notes were read
    std::vector<DigestNote> m_first;                ///< of the first reading
    std::set<std::wstring> m_waiting;               ///< names of uploads
    std::set<std::wstring> m_read;                  ///< paths of notes
    std::map<std::wstring, std::wstring> m_unread;  ///< paths of others, with their sub-folders
    /// By their names in capitals: some servers keep the letters of what had the name before.
    std::multimap<std::wstring, Version> m_packets;
    std::map<std::wstring, std::optional<base::FileTime>> m_sent;  ///< by the paths of notes
};
