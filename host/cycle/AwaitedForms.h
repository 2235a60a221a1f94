// Received packets of which the other side still offers an older form under another name.
#pragma once

#include <map>
#include <string>

#include "base/FolderTree.h"
#include "host/cycle/PacketLedger.h"
#include "host/cycle/WaitingPackets.h"

/// Keeps such packets beside the receive folder until the older form has come, or is no longer offered: alone
/// it would come with a later run, and be delivered in their place.
class AwaitedForms {
public:
    explicit AwaitedForms(const Settings& settings) : m_settings(settings) {}

    /// Puts back what need not wait any more, and reports the rest. before, after: what the other side
    /// offered before packets were received, and offers now.
    void Await(const Offer& before, const Offer& after, PacketLedger& ledger);
    /// Takes packets that must wait out of a sub-folder of the receive folder, and reports them.
    void HoldBack(const std::wstring& subFolder, PacketLedger& ledger) const;
    /// Sets a version aside that was refused, and comes again since it cannot be deleted where it came from.
    void RefuseAgain(const std::wstring& subFolder, PacketLedger& ledger) const;

private:
    bool IsOffered(const base::TreeFile& file, const PacketLedger& ledger) const;
    const base::TreeFile* OlderFormOf(const base::TreeFile& file, const PacketLedger& ledger) const;
    void PutBack(PacketLedger& ledger) const;
    void PutBack(const base::TreeFile& file, PacketLedger& ledger) const;

    const Settings& m_settings;
    std::multimap<std::wstring, base::TreeFile> m_offered;  ///< by packet, in capitals
};

/// Packets that wait so.
std::vector<base::TreeFile> AwaitingFiles(const Settings& settings);
