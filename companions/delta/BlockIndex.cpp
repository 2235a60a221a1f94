// See BlockIndex.h.
#include "companions/delta/BlockIndex.h"

#include <algorithm>
#include <bit>

namespace companions::delta {

namespace {

constexpr std::uint64_t kSmallestStride = 16;

std::uint64_t StrideFor(std::uint64_t size, std::uint64_t mostWindows) {
    return std::max(kSmallestStride, std::bit_ceil((size + mostWindows - 1) / mostWindows));
}

/// At most half of the entries are taken.
std::size_t EntriesFor(std::uint64_t windows) {
    return static_cast<std::size_t>(std::max<std::uint64_t>(64, std::bit_ceil(windows * 2)));
}

}  // namespace

BlockIndex::BlockIndex(std::uint64_t size)
    : m_stride(StrideFor(size, kMostWindows)), m_entries(EntriesFor(size / m_stride)) {
    m_shift = 32 - std::countr_zero(m_entries.size());
    m_filter.resize((m_entries.size() << kFilterBits) / 64);
}

/// The entry with this tag, or the empty one that is its place. There always is one, as half of them stay
/// empty.
std::size_t BlockIndex::SlotOf(const RollingHash& hash) const {
    std::size_t slot = Slot(hash);
    while (m_entries[slot].number != 0 && m_entries[slot].tag != hash.Tag())
        slot = (slot + 1) & (m_entries.size() - 1);
    return slot;
}

void BlockIndex::Add(const RollingHash& hash, std::uint64_t offset) {
    Entry& entry = m_entries[SlotOf(hash)];
    if (entry.number != 0) return;
    entry = {hash.Tag(), static_cast<std::uint32_t>(offset / m_stride + 1)};
    const std::uint32_t bit = Bit(hash);
    m_filter[bit / 64] |= std::uint64_t{1} << bit % 64;
}

std::optional<std::uint64_t> BlockIndex::Find(const RollingHash& hash) const {
    const Entry& entry = m_entries[SlotOf(hash)];
    if (entry.number == 0) return std::nullopt;
    return (entry.number - 1) * m_stride;
}

}  // namespace companions::delta
