// See ByteStream.h.
#include "base/ByteStream.h"

#include <algorithm>

namespace base {

std::size_t MemorySource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
    if (offset >= m_bytes.size()) return 0;
    const auto rest = m_bytes.subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(rest.size(), buffer.size());
    std::copy_n(rest.begin(), count, buffer.begin());
    return count;
}

void MemorySink::WriteAt(std::uint64_t offset, Bytes bytes) {
    const auto start = static_cast<std::size_t>(offset);
    m_bytes.resize(std::max(m_bytes.size(), start + bytes.size()));
    std::ranges::copy(bytes, m_bytes.begin() + static_cast<std::ptrdiff_t>(start));
}

}  // namespace base
