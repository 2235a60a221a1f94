// Reads a source by blocks and keeps the last ones.
#pragma once

#include <memory>
#include <vector>

#include "base/ByteStream.h"

namespace companions::delta {

/// Reads so many bytes from an offset on; throws when the source ends before.
void ReadFully(const base::ByteSource& source, std::uint64_t offset, std::span<std::uint8_t> buffer);

/// A returned span stays valid until the next call.
class BlockCache {
public:
    explicit BlockCache(const base::ByteSource& source);

    std::uint64_t Size() const { return m_size; }
    /// The bytes from offset to the end of its block; empty where the source has ended.
    base::Bytes From(std::uint64_t offset);
    /// The bytes from the beginning of a block to offset; empty for offset 0.
    base::Bytes UpTo(std::uint64_t offset);

private:
    // Small, as matches may lie anywhere. What is read in order is read by more and more blocks at once.
    static constexpr std::size_t kBlock = 4 << 10;
    static constexpr std::size_t kMostAtOnce = 64;
    static constexpr std::size_t kMostSlots = 512;
    static constexpr std::uint64_t kNone = ~std::uint64_t{0};

    base::Bytes Block(std::uint64_t number);
    void Load(std::uint64_t number);

    struct Slot {
        std::uint64_t number = kNone;
        std::size_t size = 0;
    };

    const base::ByteSource& m_source;
    const std::uint64_t m_size;
    std::uint64_t m_afterLoaded = 0;
    std::size_t m_atOnce = 1;
    // Block n is kept in the slot that is n modulo their number.
    std::vector<Slot> m_slots;
    std::unique_ptr<std::uint8_t[]> m_bytes;
};

/// How many bytes are equal from two offsets on.
std::uint64_t EqualFrom(BlockCache& a, std::uint64_t aOffset, BlockCache& b, std::uint64_t bOffset);
/// How many bytes, at most limit, are equal before two offsets.
std::uint64_t EqualBefore(BlockCache& a, std::uint64_t aOffset, BlockCache& b, std::uint64_t bOffset,
                          std::uint64_t limit);

}  // namespace companions::delta
