// Numbers of variable length: seven bits per byte, the lowest first; the high bit says that more follow.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/ByteStream.h"

namespace companions::delta {

inline void AppendVarint(std::vector<std::uint8_t>& bytes, std::uint64_t number) {
    for (; number >= 0x80; number >>= 7)
        bytes.push_back(static_cast<std::uint8_t>(number | 0x80));
    bytes.push_back(static_cast<std::uint8_t>(number));
}

/// Takes a number off the front; none when it is cut short or does not fit 64 bits.
inline std::optional<std::uint64_t> TakeVarint(base::Bytes& bytes) {
    std::uint64_t number = 0;
    for (unsigned shift = 0; shift < 64 && !bytes.empty(); shift += 7) {
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        const std::uint64_t bits = byte & 0x7F;
        if (bits << shift >> shift != bits) return std::nullopt;
        number |= bits << shift;
        if (byte < 0x80) return number;
    }
    return std::nullopt;
}

/// Numbers near zero become small ones, whatever their sign.
inline std::uint64_t ZigZag(std::uint64_t difference) {
    return difference << 1 ^ (difference >> 63 != 0 ? ~std::uint64_t{0} : 0);
}
inline std::uint64_t FromZigZag(std::uint64_t number) {
    return number >> 1 ^ ((number & 1) != 0 ? ~std::uint64_t{0} : 0);
}

}  // namespace companions::delta
