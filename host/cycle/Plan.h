// What a cycle would do, as far as that can be known before it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/cycle/PacketLedger.h"

struct Plan {
    std::vector<Outcome> outcomes;
    std::optional<std::wstring> failure;  ///< of the transfer as a whole
    std::vector<std::wstring> unknown;    ///< what cannot be known, in sentences
};

/// Looks, and changes nothing. Throws a failure.
Plan PlanCycle(const Settings& settings);
