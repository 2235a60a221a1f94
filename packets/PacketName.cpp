// See PacketName.h.
#include "packets/PacketName.h"

std::wstring GetPacketId(std::wstring_view FileName) {
    if (FileName.find(L'.') == std::wstring_view::npos) return {};
    return std::wstring(FileName.substr(0, FileName.find_first_of(L"~.")));
}
