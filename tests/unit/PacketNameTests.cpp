// What the names of packets and of the files that carry them say.
#include "packets/PacketName.h"

#include "packets/EncodedName.h"

#include <gtest/gtest.h>

#include <tuple>

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

TEST(PacketName, TheTransporterTakesNamesForEncodedByTheirLastFourCharacters) {
    for (const wchar_t* name : {L"plain.axd", L"a.mdb~Base.AXD", L".axd"})
        EXPECT_TRUE(IsTakenForEncoded(name, L".axd")) << testing::PrintToString(std::wstring(name));
    for (const wchar_t* name : {L"axd", L"a.axd_bck", L"a.mdb", L""})
        EXPECT_FALSE(IsTakenForEncoded(name, L".axd")) << testing::PrintToString(std::wstring(name));
}

TEST(PacketName, OnlyABackupOfADifferenceHasAnEncodedFileBehindIt) {
    EXPECT_EQ(EncodedNameOfBackup(L"a.mdb~Base.AXD_BCK", L".axd"), L"a.mdb~Base.AXD");
    for (const wchar_t* name : {L"a.axd_bck", L"a.mdb~Base.axd", L"a.mdb~Base_bck", L"_bck"})
        EXPECT_EQ(EncodedNameOfBackup(name, L".axd"), L"") << testing::PrintToString(std::wstring(name));
}

TEST(PacketName, ADifferenceIsSplitAtTheLastTilde) {
    for (const auto& [name, packet, reference] : {std::tuple(L"a~b.mdb~Base", L"a~b.mdb", L"Base"),
                                                  {L"~Base", L"", L"Base"},
                                                  {L"Base", L"B", L"Base"}}) {
        EXPECT_EQ(SplitDifferenceName(name).packet, packet);
        EXPECT_EQ(SplitDifferenceName(name).reference, reference);
    }
}

TEST(PacketName, AFileThatTravelsTellsItsPacket) {
    const TravelExtensions extensions{L".afz", L".axd"};
    for (const wchar_t* name : {L"a~b.mdb", L"a~b.mdb.AFZ", L"a~b.mdb~Base.axd"})
        EXPECT_EQ(PacketOf(name, extensions), L"a~b.mdb") << testing::PrintToString(std::wstring(name));
}

}  // namespace
