// How much the process has moved.
#pragma once

#include <cstdint>

namespace base {

/// Bytes that the process has read, written and sent since it started.
std::uint64_t TransferredBytes() noexcept;

}  // namespace base
