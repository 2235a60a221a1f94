// Where packets wait on their way, and which of them a cycle would not take.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"
#include "host/settings/Settings.h"

/// The packets in the outbox; what the system and other programs keep there for themselves is none, and what
/// is being copied there none yet.
std::vector<base::TreeFile> OutboxFiles(const Settings& settings);
/// The same, where a folder that cannot be listed leaves the others, and is reported.
std::vector<base::TreeFile> OutboxFiles(const Settings& settings, PacketLedger& ledger);
/// The files in the send folder and below it that hold packets, as far as names tell.
std::vector<base::TreeFile> SendFiles(const Settings& settings);
/// The versions that a run which ended in between left beside the send folder; the next one puts them back.
std::vector<base::TreeFile> OlderFiles(const Settings& settings);
/// The sub-folders of the receive folder that hold packets; the transport's backups are none.
std::vector<std::wstring> ReceiveSubFolders(const Settings& settings);
/// The files in one of them. What the other side still copies there is none yet; what is left of a copy that
/// ended half-way is.
std::vector<base::TreeFile> ReceivedIn(const Settings& settings, const std::wstring& subFolder);
/// The files in all of them.
std::vector<base::TreeFile> ReceivedFiles(const Settings& settings);
/// What the remote side offers, but for folders that cannot be listed here or now.
std::vector<base::TreeFile> OfferedFiles(const Settings& settings);
/// The same of one sub-folder; nothing where that cannot be told.
std::optional<std::vector<base::TreeFile>> OfferedIn(const Settings& settings, const std::wstring& subFolder);

/// That the remote folder of what is received cannot be seen, as runs tell it.
std::wstring Unseen(const Settings& settings);
/// Why nothing can ever be received as things are; nothing where it can. A folder that the other side has not
/// made yet hinders nobody.
std::optional<std::wstring> WhyNothingIsReceived(const Settings& settings);

/// Which packets of the outbox would not reach the other side as what they are.
class OutboxObjections {
public:
    /// files: all that lie there. ledger: must live on.
    OutboxObjections(const std::vector<base::TreeFile>& files, const Settings& settings,
                     const PacketLedger& ledger);

    /// Why one of them would not; nothing when it would.
    std::optional<std::wstring> To(const base::TreeFile& file) const;

private:
    const Settings& m_settings;
    const PacketLedger& m_ledger;
    base::LocalNames m_paths;
};
