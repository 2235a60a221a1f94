// A process that ends while packets are received can leave a part of one under its name. Its source is still
// at the remote side then; but it looks like a packet, and a whole one looks no different.
#pragma once

#include <string>

#include "host/cycle/PacketLedger.h"

/// Takes the files that were written since a run began to receive, and did not end, out of the receive
/// folder. They come back when a later transfer, which reached the remote side, has not brought them anew.
/// Throws a failure.
class UnfinishedArrival {
public:
    /// What an earlier run left is taken out now.
    explicit UnfinishedArrival(const Settings& settings);

    /// Packets are about to be received.
    void Begin() const;
    /// They were, or were not. Reports what is still not known to be whole.
    void End(bool received, PacketLedger& ledger) const;

private:
    void TakeRecent() const;
    bool IsOffered(const base::TreeFile& file) const;
    void PutBack(const base::TreeFile& file) const;

    const std::wstring m_receive;
    const std::wstring m_source;  ///< the folder from which packets come; empty for a server
    const std::wstring m_aside;
    const std::wstring m_mark;  ///< a file that exists while packets are received
};
