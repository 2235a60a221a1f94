// Moments as the system's functions take and tell them.
#pragma once

#include <windows.h>

#include "base/FileTime.h"

namespace base {

inline FileTime FromWindowsTime(FILETIME time) {
    ULARGE_INTEGER ticks;
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    return FileTime(FileTime::duration(static_cast<std::int64_t>(ticks.QuadPart))) - kWindowsEpoch;
}

inline FILETIME ToWindowsTime(FileTime time) {
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>((time + kWindowsEpoch).time_since_epoch().count());
    return {ticks.LowPart, ticks.HighPart};
}

}  // namespace base
