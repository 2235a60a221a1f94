// Tries what may be done in a folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/FileTime.h"

/// Writes a file that nobody takes for a packet into a folder, and removes it. Returns the time that the file
/// got there. Throws why it cannot.
base::FileTime ProbeFolder(const std::wstring& folder);

/// The same for a folder that is not there yet: it is made, as a run makes it, and removed again.
void ProbeMissingFolder(const std::wstring& folder);

/// Bytes that are free for this user where a path lies, which need not exist yet; nothing where the system
/// does not tell.
std::optional<std::uint64_t> FreeSpace(const std::wstring& path);
