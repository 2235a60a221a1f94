// The cipher against published results and against itself.
#include "cipher/Rijndael.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "cipher/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Vectors of FIPS-197: one block under keys of three lengths.
TEST(Rijndael, EnciphersAsAes) {
    struct Case {
        int nk;
        const wchar_t* cipherText;
    };
    Bytes key(32);
    Bytes plain(16);
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = 0; i < plain.size(); ++i)
        plain[i] = static_cast<std::uint8_t>(0x11 * i);
    for (const Case& c : {Case{4, L"69C4E0D86A7B0430D8CDB78070B4C55A"},
                          {6, L"DDA97CA4864CDFE06EAF70A0EC0D7191"},
                          {8, L"8EA2B7CA516745BFEAFC49904B496089"}}) {
        Rijndael cipher;
        cipher.gkey(4, c.nk, key);
        Bytes block = plain;
        cipher.Encrypt(block);
        EXPECT_EQ(HexadecimalOf(block), c.cipherText);
        cipher.Decrypt(block);
        EXPECT_EQ(block, plain);
    }
}

/// The first block of each length under an all-zero key, from an independent implementation.
TEST(Rijndael, EnciphersBlocksOfEachLength) {
    struct Case {
        int nb;
        int nk;
        const wchar_t* cipherText;
    };
    const std::vector<Case> cases = {
        {4, 4, L"66E94BD4EF8A2C3B884CFA59CA342B2E"},
        {4, 6, L"AAE06992ACBF52A3E8F4A96EC9300BD7"},
        {4, 8, L"DC95C078A2408989AD48A21492842087"},
        {6, 4, L"A92732EB488D8BB98ECD8D95DC9C02E052F250AD369B3849"},
        {6, 6, L"C6348BE20007BAC4A8BD62890C8147A2432E760E9A9F9AB8"},
        {6, 8, L"17004E806FAEF168FC9CD56F98F070982075C70C8132B945"},
        {8, 4, L"A693B288DF7DAE5B1757640276439230DB77C4CD7A871E24D6162E54AF434891"},
        {8, 6, L"F927363EF5B3B4984A9EB9109844152EC167F08102644E3F9028070433DF9F2A"},
        {8, 8, L"C6227E7740B7E53B5CB77865278EAB0726F62366D9AABAD908936123A1FC8AF3"}};
    for (const Case& c : cases) {
        Rijndael cipher;
        cipher.gkey(c.nb, c.nk, Bytes(32));
        Bytes blocks(2 * cipher.BlockSize());
        cipher.Encrypt(blocks);
        EXPECT_EQ(HexadecimalOf(blocks), std::wstring(c.cipherText) + c.cipherText) << c.nb << " " << c.nk;
        cipher.Decrypt(blocks);
        EXPECT_EQ(blocks, Bytes(blocks.size()));
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
