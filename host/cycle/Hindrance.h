// Why something of a cycle was not done.
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"
#include "host/console/Interrupt.h"
#include "host/settings/Settings.h"

/// Nothing when it was done.
using Hindrance = std::optional<std::wstring>;

/// Where the library says no more than that it refuses.
inline std::wstring ReasonIn(const Settings& settings) {
    return Interrupt::Requested() ? L"stopped before its turn" : settings.LogReference();
}

/// call: false when the library refuses.
template <class Call>
Hindrance Try(const Settings& settings, Call&& call) try {
    if (call()) return std::nullopt;
    return ReasonIn(settings);
} catch (const base::Error& error) {
    return error.failure().description;
}
