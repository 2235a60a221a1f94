// See IndexedReference.h.
#include "companions/delta/IndexedReference.h"

#include <algorithm>
#include <array>
#include <vector>

#include "companions/delta/BlockCache.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSource;

namespace {

// Stays in the processor's cache between its two readers.
constexpr std::size_t kPart = 256 << 10;

/// A run of one byte is cheaper as new data than as many copies from wherever such runs are.
bool IsRun(Bytes window) {
    return std::all_of(window.begin(), window.end(), [&](auto byte) { return byte == window[0]; });
}

/// Enters windows in groups, so that the memory of a whole group is fetched at once.
class GroupedEntry {
public:
    explicit GroupedEntry(BlockIndex& index) : m_index(index) {}
    ~GroupedEntry() { Flush(); }
    GroupedEntry(const GroupedEntry&) = delete;
    GroupedEntry& operator=(const GroupedEntry&) = delete;

    void Add(const RollingHash& hash, std::uint64_t offset) {
        m_index.Prefetch(hash);
        m_group[m_count++] = {hash, offset};
        if (m_count == m_group.size()) Flush();
    }

private:
    struct Window {
        RollingHash hash;
        std::uint64_t offset = 0;
    };

    void Flush() {
        for (std::size_t i = 0; i < m_count; ++i)
            m_index.Add(m_group[i].hash, m_group[i].offset);
        m_count = 0;
    }

    BlockIndex& m_index;
    std::array<Window, 32> m_group;
    std::size_t m_count = 0;
};

/// The few windows that reach beyond the part are left out.
void EnterWindows(BlockIndex& index, Bytes part, std::uint64_t offset) {
    GroupedEntry entry(index);
    const std::uint64_t stride = index.Stride();
    for (std::uint64_t at = (stride - offset % stride) % stride; at + RollingHash::kWindow <= part.size();
         at += stride) {
        const Bytes window = part.subspan(static_cast<std::size_t>(at), RollingHash::kWindow);
        if (IsRun(window)) continue;
        RollingHash hash;
        for (const std::uint8_t byte : window)
            hash.Add(byte);
        entry.Add(hash, offset + at);
    }
}

}  // namespace

IndexedReference::IndexedReference(const ByteSource& reference) : index(reference.Size()) {
    const std::uint64_t size = reference.Size();
    std::vector<std::uint8_t> buffer(kPart);
    Hasher hasher;
    for (std::uint64_t offset = 0; offset < size; offset += kPart) {
        const std::span part(buffer.data(),
                             static_cast<std::size_t>(std::min<std::uint64_t>(kPart, size - offset)));
        ReadFully(reference, offset, part);
        hasher.Add(part);
        EnterWindows(index, part, offset);
    }
    digest = hasher.Result();
}

}  // namespace companions::delta
