// Where the id of a packet stands in its name.
#include "packets/PacketName.h"

#include <gtest/gtest.h>

namespace {

TEST(PacketName, IdEndsAtTheFirstTildeOrDot) {
    EXPECT_EQ(GetPacketId(L"1234.afz"), L"1234");
    EXPECT_EQ(GetPacketId(L"1234~2.afz"), L"1234");
    EXPECT_EQ(GetPacketId(L"1234.mdb~Base.axd"), L"1234");
    EXPECT_EQ(GetPacketId(L"a b~c~d.e.f"), L"a b");
}

TEST(PacketName, NamesWithoutDotOrIdHaveNone) {
    for (const wchar_t* name : {L"", L"1234", L"1234~2", L".afz", L"~1.afz", L"~", L"."})
        EXPECT_EQ(GetPacketId(name), L"") << testing::PrintToString(std::wstring(name));
}

}  // namespace
