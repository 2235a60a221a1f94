// Memory behaves as files do where reading and writing meet the end.
#include <gtest/gtest.h>

#include "tests/unit/Content.h"

using namespace tests;

namespace {

TEST(ByteStream, SourcesEndWhereTheirBytesDo) {
    const std::string content = "abcd";
    std::uint8_t buffer[3] = {};
    EXPECT_EQ(SourceOf(content).ReadAt(1, buffer), 3U);
    EXPECT_EQ(buffer[2], 'd');
    EXPECT_EQ(SourceOf(content).ReadAt(3, buffer), 1U);
    EXPECT_EQ(SourceOf(content).ReadAt(~std::uint64_t{0}, buffer), 0U);
}

TEST(ByteStream, SinksGoBackToWhatWasWritten) {
    base::MemorySink sink;
    sink.Write(base::BytesOf("abcd"));
    sink.WriteAt(3, base::BytesOf("DE"));
    sink.WriteAt(1, base::BytesOf("BC"));
    EXPECT_EQ(ContentOf(sink), "aBCDE");
    sink.Truncate(2);
    sink.Write(base::BytesOf("x"));
    EXPECT_EQ(ContentOf(sink), "aBx");
}

}  // namespace
