// Rules about the names of packet files. Portable.
#pragma once

#include <string>
#include <string_view>

/// The part of a packet file's name before its first "~" or ".". Empty for a name without a dot, also
/// when it has a "~": such a file is no packet.
std::wstring GetPacketId(std::wstring_view FileName);
