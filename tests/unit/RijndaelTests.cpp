// The cipher against published results and against itself.
#include "cipher/Rijndael.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "cipher/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Two equal blocks 00 11 22 ... under the key 00 01 02 ...: for blocks of four words the vectors of
/// FIPS-197, for longer ones those of an independent implementation.
TEST(Rijndael, EnciphersBlocksOfEachLength) {
    const struct {
        int nb;
        int nk;
        const wchar_t* cipherText;
    } cases[] = {{4, 4, L"69C4E0D86A7B0430D8CDB78070B4C55A"},
                 {4, 6, L"DDA97CA4864CDFE06EAF70A0EC0D7191"},
                 {4, 8, L"8EA2B7CA516745BFEAFC49904B496089"},
                 {6, 4, L"E64018D211D8349B350F38893D7D23899FECE7A9ACA7C6BA"},
                 {6, 6, L"78BE2D48F76D71DA6966F3A175FB71AD66B70B2076C3CF1D"},
                 {6, 8, L"65D851DF8D04B5CBB510935FDD1EB17B33EFB8CB255EE712"},
                 {8, 4, L"98C6F98BA9631B91C34F431E0887C561B6AC44C985CECD38DBC4CB30B9170D2F"},
                 {8, 6, L"3C386395E910345A59A7DD165DCBDA604BF072F0A03A6B0055A79B734E668868"},
                 {8, 8, L"288FA9D23D00D9DC0A39B33FA92867C6488B5E0F18A6F74C072078EC815462E6"}};
    Bytes key(32);
    std::iota(key.begin(), key.end(), std::uint8_t{0});
    for (const auto& c : cases) {
        Rijndael cipher;
        cipher.gkey(c.nb, c.nk, key);
        Bytes plain(2 * cipher.BlockSize());
        for (std::size_t i = 0; i < plain.size(); ++i)
            plain[i] = static_cast<std::uint8_t>(0x11 * (i % cipher.BlockSize()));
        Bytes blocks = plain;
        cipher.Encrypt(blocks);
        EXPECT_EQ(HexadecimalOf(blocks), std::wstring(c.cipherText) + c.cipherText) << c.nb << " " << c.nk;
        // Over and over, for every entry of the tables to count.
        constexpr int kTimes = 200;
        for (int i = 1; i < kTimes; ++i)
            cipher.Encrypt(blocks);
        for (int i = 0; i < kTimes; ++i)
            cipher.Decrypt(blocks);
        EXPECT_EQ(blocks, plain) << c.nb << " " << c.nk;
    }
}

TEST(Rijndael, RefusesOtherLengths) {
    Rijndael cipher;
    Bytes block(33);
    EXPECT_THROW(cipher.Encrypt(block), std::logic_error);
    EXPECT_THROW(cipher.Decrypt({}), std::logic_error);
    cipher.gkey(8, 8, Bytes(33));
    for (const int words : {0, -4, 5, 7, 12}) {
        EXPECT_THROW(cipher.gkey(words, 8, Bytes(64)), std::invalid_argument);
        EXPECT_THROW(cipher.gkey(8, words, Bytes(64)), std::invalid_argument);
    }
    EXPECT_THROW(cipher.gkey(4, 6, Bytes(23)), std::out_of_range);
    for (const std::size_t size : {0u, 16u, 31u, 33u})
        EXPECT_THROW(cipher.Encrypt(std::span(block).first(size)), std::out_of_range) << size;
    cipher.Encrypt(std::span(block).first(32));
    EXPECT_EQ(block[0], 0xC6) << "the key of before the failures still holds";
}

TEST(Rijndael, LeavesNoKeyInMemory) {
    alignas(Rijndael) unsigned char memory[sizeof(Rijndael)];
    const auto holds = [&](std::uint8_t keyByte) {
        return !std::ranges::search(memory, Bytes(4, keyByte)).empty();
    };
    auto* cipher = new (memory) Rijndael;
    cipher->gkey(8, 8, Bytes(32, 0xA5));
    EXPECT_TRUE(holds(0xA5));
    cipher->gkey(4, 4, Bytes(16, 0x5A));
    EXPECT_FALSE(holds(0xA5)) << "the end of a longer key";
    EXPECT_TRUE(holds(0x5A));
    cipher->~Rijndael();
    EXPECT_FALSE(holds(0x5A));
}

}  // namespace
