// Finds a window of the reference by its hash.
#pragma once

#include <optional>
#include <vector>

#include "companions/delta/RollingHash.h"

namespace companions::delta {

/// Holds windows at a regular distance, which grows with the reference: memory stays below 72 MB.
class BlockIndex {
public:
    /// For a reference of so many bytes.
    explicit BlockIndex(std::uint64_t size);

    /// Between the offsets of two windows; a power of two.
    std::uint64_t Stride() const { return m_stride; }
    /// Of equal windows only the first is kept: more of them cost much time and find hardly anything.
    void Add(const RollingHash& hash, std::uint64_t offset);
    void Prefetch(const RollingHash& hash) const { __builtin_prefetch(&m_entries[Slot(hash)], 1); }

    /// False for most windows that are not in the index.
    bool MayHave(const RollingHash& hash) const {
        const std::uint32_t bit = Bit(hash);
        return (m_filter[bit / 64] >> bit % 64 & 1) != 0;
    }
    /// The offset of a window that is likely to be equal.
    std::optional<std::uint64_t> Find(const RollingHash& hash) const;

private:
    struct Entry {
        std::uint32_t tag = 0;
        std::uint32_t number = 0;  // of the window, from 1; 0 in an empty entry
    };

    static constexpr std::uint64_t kMostWindows = 4 << 20;
    // A bit map that fits the processor's cache keeps most unknown windows from touching the entries.
    static constexpr int kFilterBits = 3;

    std::size_t Slot(const RollingHash& hash) const { return hash.Place() >> m_shift; }
    std::size_t SlotOf(const RollingHash& hash) const;
    std::uint32_t Bit(const RollingHash& hash) const { return hash.Place() >> (m_shift - kFilterBits); }

    std::uint64_t m_stride;
    int m_shift;
    std::vector<Entry> m_entries;
    std::vector<std::uint64_t> m_filter;
};

}  // namespace companions::delta
