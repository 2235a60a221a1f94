// Received files that must not be handed to the transport as they arrived.
#pragma once

#include "host/cycle/PacketLedger.h"

/// Moves such files of a sub-folder of the receive folder out of it, into a folder beside it, and reports
/// them. waiting: what the receive folder held before packets were received. Of a packet that has arrived
/// since, in another encoding, that is an older version, which would be delivered in its place one day.
void SetAsideRefusedFiles(const Settings& settings, const std::wstring& subFolder,
                          const base::TreeSnapshot& waiting, PacketLedger& ledger);
