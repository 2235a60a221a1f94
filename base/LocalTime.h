// Moments as users read them: in the time of the computer's place.
#pragma once

#include <string>

#include "base/FileTime.h"

namespace base {

/// "2026-11-26 03:31:32".
std::wstring LocalTime(FileTime time);

}  // namespace base
