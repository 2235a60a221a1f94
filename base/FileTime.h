// Moments as Windows files have them. Portable.
#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace base {

/// In the resolution of file times: 100 ns.
using FileTime = std::chrono::sys_time<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

/// Windows counts from the year 1601.
inline constexpr std::chrono::seconds kWindowsEpoch{11'644'473'600};

}  // namespace base
