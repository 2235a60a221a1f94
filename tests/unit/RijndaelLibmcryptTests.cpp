// The cipher against an independent implementation.
#include <gtest/gtest.h>
#include <mcrypt.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "cipher/Rijndael.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class Reference {
public:
    Reference(int nb, Bytes key)
        : m_module(mcrypt_module_open(("rijndael-" + std::to_string(32 * nb)).data(), nullptr, Ecb().data(),
                                      nullptr)) {
        if (mcrypt_generic_init(m_module, key.data(), static_cast<int>(key.size()), nullptr) < 0)
            throw std::runtime_error("libmcrypt refuses the key");
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    ~Reference() { mcrypt_generic_end(m_module); }

    Bytes Encrypted(Bytes blocks) {
        mcrypt_generic(m_module, blocks.data(), static_cast<int>(blocks.size()));
        return blocks;
    }

private:
    static std::string Ecb() { return "ecb"; }

    MCRYPT m_module;
};

class Libmcrypt : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    const int nb = std::get<0>(GetParam());
    const int nk = std::get<1>(GetParam());
    std::mt19937 random{static_cast<unsigned>(100 * nb + nk)};

    Bytes RandomBytes(int words, std::size_t count) {
        Bytes bytes(4 * static_cast<std::size_t>(words) * count);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        return bytes;
    }
};

TEST_P(Libmcrypt, EnciphersAlike) {
    constexpr std::size_t kKeys = 100;
    constexpr std::size_t kBlocksPerKey = 100;
    for (std::size_t i = 0; i < kKeys; ++i) {
        const Bytes key = RandomBytes(nk, 1);
        const Bytes plain = RandomBytes(nb, kBlocksPerKey);
        Rijndael cipher;
        cipher.gkey(nb, nk, key);
        Bytes blocks = plain;
        cipher.Encrypt(blocks);
        ASSERT_EQ(blocks, Reference(nb, key).Encrypted(plain));
        cipher.Decrypt(blocks);
        ASSERT_EQ(blocks, plain);
    }
}

INSTANTIATE_TEST_SUITE_P(Words, Libmcrypt,
                         testing::Combine(testing::Values(4, 6, 8), testing::Values(4, 6, 8)),
                         [](const auto& words) {
                             return "Block" + std::to_string(std::get<0>(words.param)) + "Key" +
                                    std::to_string(std::get<1>(words.param));
                         });

}  // namespace
