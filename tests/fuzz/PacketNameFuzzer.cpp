// A packet's id is the text before its name's first "~" or ".", whatever the name is.
#include "tests/fuzz/Text.h"
#include "transport/PacketName.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring name = TextOf(data, size);
    const std::wstring id = GetPacketId(name);
    if (!name.starts_with(id) || id.find_first_of(L"~.") != std::wstring::npos) abort();
    if (!id.empty() && name.find(L'.') == std::wstring::npos) abort();
    return 0;
}
