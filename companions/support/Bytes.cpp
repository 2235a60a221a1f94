#include "companions/support/Bytes.h"

#include <algorithm>

namespace companions {

std::size_t MemorySource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
    if (offset >= m_bytes.size()) return 0;
    const auto rest = m_bytes.subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(rest.size(), buffer.size());
    std::copy_n(rest.begin(), count, buffer.begin());
    return count;
}

}  // namespace companions
