// A hash of the last kWindow bytes that costs one addition per byte.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace companions::delta {

constexpr std::uint64_t Scrambled(std::uint64_t number) {
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9u;
    number = (number ^ number >> 27) * 0x94D049BB133111EBu;
    return number ^ number >> 31;
}

/// A fixed random number for each byte.
constexpr std::array<std::uint64_t, 256> kRandom = [] {
    std::array<std::uint64_t, 256> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = Scrambled((i + 1) * 0x9E3779B97F4A7C15u);
    return numbers;
}();

/// Each byte adds its random number, and the sum moves up by two bits per byte, so that a byte has left the
/// 64 bits after 32 more. High bits depend on the whole window, low ones on the last bytes only.
class RollingHash {
public:
    static constexpr std::size_t kWindow = 32;

    void Add(std::uint8_t byte) { m_sum = (m_sum << (64 / kWindow)) + kRandom[byte]; }

    /// Says which windows are likely to be equal.
    std::uint32_t Tag() const { return static_cast<std::uint32_t>(m_sum >> 32); }
    /// Spreads windows evenly; its high bits are the best.
    std::uint32_t Place() const { return (Tag() ^ static_cast<std::uint32_t>(m_sum)) * 0x9E3779B1u; }

private:
    std::uint64_t m_sum = 0;
};

}  // namespace companions::delta
