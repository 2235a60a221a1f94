// Received files that must not be handed to the transport as they arrived.
#pragma once

#include "host/cycle/PacketLedger.h"

/// Moves such files of a sub-folder of the receive folder out of it, into a folder beside it, and reports
/// them.
void SetAsideRefusedFiles(const Settings& settings, const std::wstring& subFolder, PacketLedger& ledger);
