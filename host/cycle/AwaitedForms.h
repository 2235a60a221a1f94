// Received packets of which the other side still offers an older form under another name.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"

/// Keeps such packets beside the receive folder while others are delivered. The older form would come alone
/// with a later run, and be delivered in their place.
class AwaitedForms {
public:
    /// Puts right what a process left that ended in the middle.
    explicit AwaitedForms(const Settings& settings);
    AwaitedForms(const AwaitedForms&) = delete;
    AwaitedForms& operator=(const AwaitedForms&) = delete;
    ~AwaitedForms();

    /// offered: what the other side still offers.
    void Await(const std::vector<base::TreeFile>& offered, const PacketLedger& ledger);
    /// Takes those of a sub-folder of the receive folder out of it until the end, and reports them.
    void HoldBack(const std::wstring& subFolder, PacketLedger& ledger) const;

private:
    bool IsAwaitedBy(const base::TreeFile& file, const base::TreeFile& offered) const;
    void PutBack() const;

    const Settings& m_settings;
    std::multimap<std::wstring, base::TreeFile> m_offered;  ///< by packet, in capitals
};
