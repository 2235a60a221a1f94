#include "transport/PacketName.h"

std::wstring GetPacketId(std::wstring_view FileName) {
    const size_t dot = FileName.find(L'.');
    if (dot == std::wstring_view::npos) return {};
    return std::wstring(FileName.substr(0, FileName.substr(0, dot).find(L'~')).substr(0, dot));
}
