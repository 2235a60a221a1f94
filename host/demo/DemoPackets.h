// Packets of all kinds for the demonstration.
#pragma once

#include <string>
#include <vector>

/// Writes packets into an outbox, and an older file that one of them replaces into the other side's
/// inbox. Returns their paths, relative to the outbox. seed: makes the content differ between sides.
std::vector<std::wstring> WriteDemoPackets(const std::wstring& outbox, const std::wstring& otherInbox,
                                           unsigned seed);

/// Writes packets whose names every server can carry. Otherwise as WriteDemoPackets.
std::vector<std::wstring> WriteServerDemoPackets(const std::wstring& outbox, unsigned seed);

/// Rewrites one page of each hundred of a database packet, as a day's work would.
void ChangeDatabase(const std::wstring& path, unsigned seed);
