// The constant tables of Rijndael, made by the compiler from their rules in GF(2^8).
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace RijndaelTables {

using ByteTable = std::array<std::uint8_t, 256>;
/// Round tables of the four rows of a column; each is the first one rotated by a byte more.
using RoundTables = std::array<std::array<std::uint32_t, 256>, 4>;

/// What one column byte contributes to the four bytes of a mixed column.
using Coefficients = std::array<std::uint8_t, 4>;
inline constexpr Coefficients kMix = {2, 1, 1, 3};
inline constexpr Coefficients kInverseMix = {0x0E, 0x09, 0x0D, 0x0B};
/// The last round substitutes and shifts only.
inline constexpr Coefficients kNoMix = {1, 0, 0, 0};

/// Twice a number, modulo x^8 + x^4 + x^3 + x + 1.
constexpr std::uint8_t Double(std::uint8_t number) {
    return static_cast<std::uint8_t>(number << 1 ^ (number & 0x80 ? 0x1B : 0));
}

struct Logarithms {
    ByteTable log{};
    ByteTable antilog{};
};

constexpr Logarithms MakeLogarithms() {
    Logarithms tables;
    std::uint8_t power = 1;
    for (std::size_t exponent = 0; exponent < 255; ++exponent) {
        tables.antilog[exponent] = power;
        tables.log[power] = static_cast<std::uint8_t>(exponent);
        power = static_cast<std::uint8_t>(power ^ Double(power));  // the generator is 3
    }
    return tables;
}
inline constexpr Logarithms kLogarithms = MakeLogarithms();

constexpr std::uint8_t Product(std::uint8_t left, std::uint8_t right) {
    if (left == 0 || right == 0) return 0;
    return kLogarithms.antilog[(kLogarithms.log[left] + kLogarithms.log[right]) % 255];
}

constexpr std::uint8_t MultiplicativeInverse(std::uint8_t number) {
    return number == 0 ? std::uint8_t{0} : kLogarithms.antilog[(255 - kLogarithms.log[number]) % 255];
}

constexpr ByteTable MakeSbox() {
    ByteTable sbox{};
    for (std::size_t i = 0; i < sbox.size(); ++i) {
        const std::uint8_t inverse = MultiplicativeInverse(static_cast<std::uint8_t>(i));
        sbox[i] = static_cast<std::uint8_t>(inverse ^ std::rotl(inverse, 1) ^ std::rotl(inverse, 2) ^
                                            std::rotl(inverse, 3) ^ std::rotl(inverse, 4) ^ 0x63);
    }
    return sbox;
}

constexpr ByteTable InversePermutation(const ByteTable& permutation) {
    ByteTable inverse{};
    for (std::size_t i = 0; i < inverse.size(); ++i)
        inverse[permutation[i]] = static_cast<std::uint8_t>(i);
    return inverse;
}

inline constexpr ByteTable kSbox = MakeSbox();
inline constexpr ByteTable kInverseSbox = InversePermutation(kSbox);

/// The products of a byte, the first in the lowest bits.
constexpr std::uint32_t Column(std::uint8_t byte, const Coefficients& coefficients) {
    std::uint32_t column = 0;
    for (std::size_t row = 0; row < 4; ++row)
        column |= static_cast<std::uint32_t>(Product(byte, coefficients[row])) << 8 * row;
    return column;
}

constexpr RoundTables MakeRoundTables(const ByteTable& sbox, const Coefficients& coefficients) {
    RoundTables tables{};
    for (std::size_t i = 0; i < 256; ++i)
        for (int row = 0; row < 4; ++row)
            tables[static_cast<std::size_t>(row)][i] = std::rotl(Column(sbox[i], coefficients), 8 * row);
    return tables;
}

inline constexpr RoundTables kRounds = MakeRoundTables(kSbox, kMix);
inline constexpr RoundTables kLastRound = MakeRoundTables(kSbox, kNoMix);
inline constexpr RoundTables kInverseRounds = MakeRoundTables(kInverseSbox, kInverseMix);
inline constexpr RoundTables kInverseLastRound = MakeRoundTables(kInverseSbox, kNoMix);

/// As many as the longest schedule takes: 120 words in groups of 4.
constexpr std::array<std::uint8_t, 30> MakeRoundConstants() {
    std::array<std::uint8_t, 30> constants{1};
    for (std::size_t i = 1; i < constants.size(); ++i)
        constants[i] = Double(constants[i - 1]);
    return constants;
}
inline constexpr std::array<std::uint8_t, 30> kRoundConstants = MakeRoundConstants();

}  // namespace RijndaelTables
