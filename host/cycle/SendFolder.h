// The send folder holds one form of each packet: the newest.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"

/// What waits in the send folder, by the packets that it holds, in whatever encoding.
class SendFolder {
public:
    /// Puts right what a process left that ended in the middle.
    SendFolder(const Settings& settings, const PacketLedger& ledger);

    /// Older versions of one packet, taken out of the way of a newer one. They come back unless that is
    /// there.
    class OlderVersions {
    public:
        OlderVersions(const SendFolder& folder, const base::TreeFile& packet);
        OlderVersions(const OlderVersions&) = delete;
        OlderVersions& operator=(const OlderVersions&) = delete;
        ~OlderVersions();

        /// The newer one is there. Throws when an older one cannot be removed: the next run puts that back
        /// once the newer one is sent, so that the newer one must be added again.
        void Replaced();

    private:
        void PutBack() const;
        void RemoveEmptyFolders() const;

        const SendFolder& m_folder;
        std::vector<base::TreeFile> m_taken;
        bool m_replaced = false;
    };

    /// The transport deletes no read-only file: a packet that waits as one would be sent in each cycle anew.
    void MakeRemovable(const base::TreeFile& packet) const;

private:
    using Packets = std::map<std::wstring, std::vector<base::TreeFile>>;  // by packet, in capitals

    std::wstring Key(const base::TreeFile& file) const;
    std::wstring WaitingPath(const base::TreeFile& file) const;
    std::wstring AsidePath(const base::TreeFile& file) const;
    Packets FilesIn(const std::wstring& folder) const;
    void RecoverBackups() const;
    void RecoverAside() const;

    const Settings& m_settings;
    const PacketLedger& m_ledger;
    const std::wstring m_aside;
    Packets m_waiting;
    Packets m_left;  // aside, and could not be moved
};
