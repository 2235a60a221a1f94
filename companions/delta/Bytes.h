#pragma once

#include "companions/support/Bytes.h"

namespace companions::delta {

using Bytes = std::span<const std::uint8_t>;

}  // namespace companions::delta
