// Received packets of which the other side still offers an older form under another name.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"

/// Keeps such packets beside the receive folder until the older form has come, or is no longer offered: alone
/// it would come with a later run, and be delivered in their place.
class AwaitedForms {
public:
    explicit AwaitedForms(const Settings& settings) : m_settings(settings) {}

    /// Puts back what earlier runs kept, as far as it can be seen now what is offered, and reports the rest.
    /// offered: what the other side offered before packets were received; must live on.
    void PutBack(const std::vector<base::TreeFile>& offered, PacketLedger& ledger);
    /// Of the files of one sub-folder of the receive folder takes those that must wait out of it, and reports
    /// them. Returns the others.
    std::vector<base::TreeFile> HoldBack(std::vector<base::TreeFile> received, PacketLedger& ledger) const;

private:
    using Forms = std::multimap<std::wstring, base::TreeFile>;  // by packet, in capitals

    void PutBack(const base::TreeFile& file, PacketLedger& ledger) const;
    std::optional<std::wstring> ReasonToWait(const base::TreeFile& file, const Forms& offered,
                                             const PacketLedger& ledger) const;
    std::vector<base::TreeFile> MayBeOfferedIn(const std::wstring& subFolder) const;

    const Settings& m_settings;
    const std::vector<base::TreeFile>* m_offered = nullptr;  ///< before packets were received
    std::set<std::wstring> m_waiting;                        ///< packets that still wait, in capitals
};

/// Packets that wait so.
std::vector<base::TreeFile> AwaitingFiles(const Settings& settings);
