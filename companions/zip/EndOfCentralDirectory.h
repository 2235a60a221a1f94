// Finds the central directory of an archive by the records behind it.
#pragma once

#include <cstdint>

#include "base/ByteStream.h"

namespace companions::zip {

/// Where the central directory lies.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;  ///< bytes
    std::uint64_t entries = 0;
};

/// Throws FormatError when there is none within the source.
Extent FindCentralDirectory(const base::ByteSource& source);

}  // namespace companions::zip
