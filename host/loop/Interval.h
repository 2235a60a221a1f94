// How often cycles come. Portable.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

/// "30s", "10m", "6h": from a second to a week. Nothing for any other text.
std::optional<std::chrono::seconds> IntervalOf(std::wstring_view text);
