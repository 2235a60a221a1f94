// Moments as text: ISO 8601 in UTC, to the second. Portable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/FileTime.h"

namespace base {

/// "2026-11-26T03:31:32Z".
std::string IsoTime(FileTime time);
/// Nothing for any other text.
std::optional<FileTime> FromIsoTime(std::string_view text);

}  // namespace base
