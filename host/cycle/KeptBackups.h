// The transport keeps copies of received packets in the folder Backup of the receive folder, into which the
// other side, too, can put a folder of that name.
#pragma once

#include <optional>
#include <string>

#include "base/FolderTree.h"
#include "host/settings/Settings.h"

std::wstring BackupFolder(const Settings& settings);

/// Why packets arrived in another folder than they were sent to; empty for all other folders.
std::wstring WhyMoved(const std::wstring& subFolder);

/// Keeps the backups out of the way while packets are received, and puts what arrived in their folder where
/// it can be delivered.
class KeptBackups {
public:
    explicit KeptBackups(const Settings& settings);
    KeptBackups(const KeptBackups&) = delete;
    KeptBackups& operator=(const KeptBackups&) = delete;
    ~KeptBackups();

    /// Packets are about to be received. Throws a failure.
    void Take();
    /// They were, or a process ended in between. Throws a failure.
    void PutBack();

private:
    void MoveArrivals() const;

    const std::wstring m_receive;
    const std::wstring m_backups;
    const std::wstring m_kept;
    std::optional<base::TreeSnapshot> m_stayed;  ///< backups that could not be moved
};
