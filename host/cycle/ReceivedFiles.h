// Received files that must not be handed to the transport as they arrived.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/cycle/PacketLedger.h"

/// Moves such files out of the receive folder, into a folder beside it, and reports them. Returns the others.
/// files: those of one sub-folder. Of a packet that has arrived in several encodings the older versions are
/// among those that go: one of them would be delivered in the place of the newest. waiting: what the receive
/// folder held before packets were received.
std::vector<base::TreeFile> SetAsideRefusedFiles(const std::vector<base::TreeFile>& files,
                                                 const Settings& settings, const base::TreeSnapshot& waiting,
                                                 PacketLedger& ledger);

/// Moves one file, which lies at the path, among those that were refused, and reports it. One that lies there
/// already is only removed. Another version that has the path by now stays.
void SetAside(const std::wstring& path, const base::TreeFile& file, const std::wstring& reason,
              const Settings& settings, PacketLedger& ledger);
/// Whether a version lies there, by name, size and time, and by the content of a path where one is given.
bool WasRefused(const base::TreeFile& file, const Settings& settings, const std::wstring& path = {});

/// Why a file of the receive folder must not be delivered; nothing when it may. Throws for an archive that
/// cannot be read, now or at all.
std::optional<std::wstring> DeliveryObjection(const base::TreeFile& file, const Settings& settings,
                                              const PacketLedger& ledger);
