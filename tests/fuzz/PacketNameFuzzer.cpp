// A packet's id is the text before its name's first "~" or ".", and empty without a ".".
#include "packets/PacketName.h"
#include "tests/fuzz/Text.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring name = TextOf(data, size);
    std::wstring expected;
    bool isPacket = false;
    bool ended = false;
    for (const wchar_t character : name) {
        isPacket = isPacket || character == L'.';
        ended = ended || character == L'.' || character == L'~';
        if (!ended) expected += character;
    }
    if (GetPacketId(name) != (isPacket ? expected : L"")) abort();
    return 0;
}
