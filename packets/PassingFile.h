// Files in a folder of packets that are none, and soon gone.
#pragma once

#include <string_view>

#include "base/Arrival.h"
#include "packets/PacketName.h"

/// Whether a name is that of a file which somebody still copies into the folder, or tests it with.
inline bool IsPassingFile(std::wstring_view name) {
    return FileSystem::IsArrival(name) || IsFolderTestFile(name);
}
