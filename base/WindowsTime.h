// Moments as the system's functions take and tell them.
#pragma once

#include <windows.h>

#include "base/FileTime.h"

namespace base {

/// ticks: as in FILETIME.
inline FileTime FromWindowsTime(std::uint64_t ticks) {
    return FileTime(FileTime::duration(static_cast<std::int64_t>(ticks))) - kWindowsEpoch;
}

inline FileTime FromWindowsTime(FILETIME time) {
    ULARGE_INTEGER ticks;
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    return FromWindowsTime(ticks.QuadPart);
}

inline FILETIME ToWindowsTime(FileTime time) {
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>((time + kWindowsEpoch).time_since_epoch().count());
    return {ticks.LowPart, ticks.HighPart};
}

inline FileTime Now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return FromWindowsTime(time);
}

}  // namespace base
