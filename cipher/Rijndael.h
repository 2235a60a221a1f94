// Rijndael, the block cipher for blocks and keys of 128, 192 and 256 bits; AES is its case of 128-bit blocks.
// Portable.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

class Rijndael {
public:
    Rijndael() = default;
    Rijndael(const Rijndael&) = delete;
    Rijndael& operator=(const Rijndael&) = delete;
    /// Leaves nothing of the key in memory.
    ~Rijndael();

    /// Sets the lengths and the key. nb, nk: length of block and key in 32-bit words: 4, 6 or 8. Key: its
    /// first 4 * nk bytes count. Throws std::invalid_argument for another length and std::out_of_range for a
    /// shorter key; the previous key then stays.
    void gkey(int nb, int nk, std::span<const std::uint8_t> Key);

    /// Bytes of a block; 0 before a key is set.
    std::size_t BlockSize() const noexcept { return 4 * static_cast<std::size_t>(m_nb); }

    /// Enciphers or deciphers one block or more in place, each for itself. Throws std::logic_error before a
    /// key is set and std::out_of_range for another number of bytes.
    void Encrypt(std::span<std::uint8_t> buff) const;
    void Decrypt(std::span<std::uint8_t> buff) const;

private:
    using ExpandedKey = std::array<std::uint32_t, 120>;

    std::size_t KeyWords() const noexcept {
        return BlockSize() / 4 * (static_cast<std::size_t>(m_rounds) + 1);
    }
    void WipeKey() noexcept;
    void Expand(std::size_t nk, std::span<const std::uint8_t> key);
    void Invert();
    void CheckBlocks(std::size_t size) const;

    int m_nb = 0;
    int m_rounds = 0;
    ExpandedKey m_forwardKey{};
    ExpandedKey m_inverseKey{};  ///< in the order in which Decrypt takes it
};
