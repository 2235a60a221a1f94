// Envelopes and the texts that stand for their bytes.
#include "cipher/Envelope.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "cipher/Rijndael.h"
#include "cipher/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Count(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}

const Bytes kPassword = {1, 2, 3};

/// A message's own blocks, enciphered by the bare cipher under that password.
Bytes Enciphered(Bytes blocks) {
    Bytes key = kPassword;
    key.resize(32);
    Rijndael cipher;
    cipher.gkey(8, 8, key);
    cipher.Encrypt(blocks);
    return blocks;
}

TEST(Envelope, HoldsLengthMessageAndZeros) {
    Bytes blocks(64);
    blocks[0] = 29;
    std::ranges::copy(Count(29), blocks.begin() + 4);
    EXPECT_EQ(Envelope().EncryptData(Count(29), kPassword), Enciphered(blocks));
}

TEST(Envelope, ReturnsMessagesOfAnyLength) {
    const Envelope envelope;
    for (std::size_t length = 1; length < 300; ++length) {
        const Bytes data = envelope.EncryptData(Count(length), kPassword);
        EXPECT_EQ(data.size(), (length + 4 + 31) / 32 * 32);
        const auto message = envelope.DecryptData(data, kPassword);
        ASSERT_TRUE(message.has_value()) << length;
        EXPECT_TRUE(std::ranges::equal(*message, Count(length))) << length;
    }
    EXPECT_THROW(envelope.EncryptData({}, kPassword), std::out_of_range);
}

TEST(Envelope, UsesTheFirst32BytesOfAPassword) {
    Envelope envelope;
    EXPECT_EQ(envelope.EncryptData(kPassword, Count(40)), envelope.EncryptData(kPassword, Count(32)));
    EXPECT_NE(envelope.EncryptData(kPassword, Count(32)), envelope.EncryptData(kPassword, Count(31)));
    // The default password's first 16 characters, each with a zero byte behind it.
    EXPECT_EQ(envelope.EncryptData(kPassword, {}),
              envelope.EncryptData(kPassword, BytesOf(L"5C3E9A71-2B6D-48")));
    envelope.Key(L"another one");
    EXPECT_EQ(envelope.EncryptData(kPassword, {}), envelope.EncryptData(kPassword, BytesOf(L"another one")));
    envelope.Key(L"");
    EXPECT_EQ(envelope.EncryptData(kPassword, {}), envelope.EncryptData(kPassword, Bytes(32)));
}

TEST(Envelope, ReadsNothingFromWhatIsNoEnvelope) {
    const Envelope envelope;
    for (const std::size_t size : {0u, 1u, 31u, 33u})
        EXPECT_FALSE(envelope.DecryptData(Count(size), kPassword).has_value()) << size;

    const auto lengthOfMessage = [&](std::uint32_t header) {
        Bytes block(32);
        for (std::size_t i = 0; i < 4; ++i)
            block[i] = static_cast<std::uint8_t>(header >> 8 * i);
        const auto message = envelope.DecryptData(Enciphered(block), kPassword);
        return message ? static_cast<int>(message->size()) : -1;
    };
    EXPECT_EQ(lengthOfMessage(0), 0);
    EXPECT_EQ(lengthOfMessage(28), 28);
    EXPECT_EQ(lengthOfMessage(29), -1);
    EXPECT_EQ(lengthOfMessage(0x80000000), -1);
    EXPECT_EQ(lengthOfMessage(0xFFFFFFFF), -1);
}

TEST(TextBytes, Hexadecimal) {
    EXPECT_EQ(HexadecimalOf(Bytes{0x00, 0x0A, 0xFF}), L"000AFF");
    EXPECT_EQ(BytesOfHexadecimal(L"000aFfG1 1+1-1\u0661\uFF11123"),
              (Bytes{0, 0x0A, 0xFF, 0, 0, 0, 0, 0, 0x12}));
    EXPECT_EQ(BytesOfHexadecimal(L"1"), Bytes());
}

TEST(TextBytes, CharactersHaveTwoBytes) {
    const SecretBytes bytes = BytesOf(L"A\u20AC");
    EXPECT_EQ(HexadecimalOf(bytes), L"4100AC20");
    EXPECT_EQ(TextOf(bytes), L"A\u20AC");
    EXPECT_EQ(TextOf(std::span(bytes).first(3)), L"A");
}

}  // namespace
