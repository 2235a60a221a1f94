// What the content of packets must be: a note that travels beside them, for no server tells. Portable.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileTime.h"

/// One version of a packet.
struct PacketDigest {
    std::wstring packet;     ///< path below the remote folder, with "/"
    std::wstring upload;     ///< name under which it waits until it takes its own
    std::uint64_t size = 0;  ///< bytes
    base::FileTime lastWrite{};
    std::wstring sha256;  ///< hexadecimal text in small letters
    bool operator==(const PacketDigest&) const = default;
};

/// Whether the path of a packet is the same after its way through UTF-8, in which servers and notes hold it.
/// Half of a surrogate pair, which Windows allows in names, is not: two such names would be one packet.
bool KeepsItsName(std::wstring_view packet);

/// UTF-8 text of a note.
std::string TextOf(const std::vector<PacketDigest>& digests);
/// Nothing for a text that is no note, or not all of one.
std::optional<std::vector<PacketDigest>> DigestsIn(std::string_view text);
