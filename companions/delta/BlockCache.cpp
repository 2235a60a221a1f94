// See BlockCache.h.
#include "companions/delta/BlockCache.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/Error.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSource;

namespace {

std::uint64_t Word(const std::uint8_t* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

std::size_t EqualPrefix(Bytes a, Bytes b) {
    static_assert(std::endian::native == std::endian::little);
    const std::size_t size = std::min(a.size(), b.size());
    std::size_t equal = 0;
    for (; size - equal >= sizeof(std::uint64_t); equal += sizeof(std::uint64_t))
        if (const std::uint64_t differing = Word(&a[equal]) ^ Word(&b[equal]))
            return equal + static_cast<std::size_t>(std::countr_zero(differing)) / 8;
    while (equal < size && a[equal] == b[equal])
        ++equal;
    return equal;
}

std::size_t EqualSuffix(Bytes a, Bytes b) {
    const auto [inA, inB] = std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend());
    return static_cast<std::size_t>(inA - a.rbegin());
}

}  // namespace

void ReadFully(const ByteSource& source, std::uint64_t offset, std::span<std::uint8_t> buffer) {
    if (source.ReadAt(offset, buffer) != buffer.size())
        throw base::Error(base::kInvalidData, "a file became shorter while it was read; try again");
}

BlockCache::BlockCache(const ByteSource& source)
    : m_source(source),
      m_size(source.Size()),
      m_slots(static_cast<std::size_t>(std::min<std::uint64_t>(m_size / kBlock + 1, kMostSlots))),
      m_bytes(std::make_unique_for_overwrite<std::uint8_t[]>(m_slots.size() * kBlock)) {}

Bytes BlockCache::From(std::uint64_t offset) {
    if (offset >= m_size) return {};
    const Bytes block = Block(offset / kBlock);
    return block.subspan(std::min<std::size_t>(offset % kBlock, block.size()));
}

Bytes BlockCache::UpTo(std::uint64_t offset) {
    if (offset == 0) return {};
    const Bytes block = Block((offset - 1) / kBlock);
    return block.first(std::min<std::size_t>((offset - 1) % kBlock + 1, block.size()));
}

Bytes BlockCache::Block(std::uint64_t number) {
    const auto index = static_cast<std::size_t>(number % m_slots.size());
    if (m_slots[index].number != number) Load(number);
    return {&m_bytes[index * kBlock], m_slots[index].size};
}

void BlockCache::Load(std::uint64_t number) {
    const auto first = static_cast<std::size_t>(number % m_slots.size());
    m_atOnce = number == m_afterLoaded ? std::min(2 * m_atOnce, kMostAtOnce) : 1;
    const std::size_t count = std::min(m_atOnce, m_slots.size() - first);
    const std::span slots(&m_slots[first], count);
    // A block that cannot be read must not be taken for one that was there before.
    std::ranges::fill(slots, Slot{});
    auto size = static_cast<std::size_t>(std::min<std::uint64_t>(count * kBlock, m_size - number * kBlock));
    ReadFully(m_source, number * kBlock, {&m_bytes[first * kBlock], size});
    m_afterLoaded = number + count;
    for (Slot& slot : slots) {
        slot = {number++, std::min(size, kBlock)};
        size -= slot.size;
    }
}

std::uint64_t EqualFrom(BlockCache& a, std::uint64_t aOffset, BlockCache& b, std::uint64_t bOffset) {
    std::uint64_t equal = 0;
    for (;;) {
        const Bytes inA = a.From(aOffset + equal);
        const Bytes inB = b.From(bOffset + equal);
        const std::size_t both = std::min(inA.size(), inB.size());
        const std::size_t prefix = EqualPrefix(inA, inB);
        equal += prefix;
        if (both == 0 || prefix < both) return equal;
    }
}

std::uint64_t EqualBefore(BlockCache& a, std::uint64_t aOffset, BlockCache& b, std::uint64_t bOffset,
                          std::uint64_t limit) {
    std::uint64_t equal = 0;
    for (;;) {
        const Bytes inA = a.UpTo(aOffset - equal);
        const Bytes inB = b.UpTo(bOffset - equal);
        const auto both =
            static_cast<std::size_t>(std::min<std::uint64_t>({inA.size(), inB.size(), limit - equal}));
        const std::size_t suffix = EqualSuffix(inA.last(both), inB.last(both));
        equal += suffix;
        if (both == 0 || suffix < both) return equal;
    }
}

}  // namespace companions::delta
