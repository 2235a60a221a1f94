// Content on its way into an archive and out of it, in blocks: memory does not depend on its size.
#pragma once

#include <cstdint>

#include "companions/support/Bytes.h"

namespace companions::zip {

/// What came of a file.
struct Packed {
    std::uint32_t crc = 0;
    std::uint64_t size = 0;        ///< bytes read
    std::uint64_t packedSize = 0;  ///< bytes written
};

/// level: 1 (fastest) to 9 (smallest)
Packed Deflate(const ByteSource& source, int level, ByteSink& sink);
Packed Store(const ByteSource& source, ByteSink& sink);

/// A part of an archive.
struct Range {
    const ByteSource& source;
    std::uint64_t offset;
    std::uint64_t size;  ///< bytes
};

/// Both write at most size bytes, and return the checksum of them. Content that ends early, does not end
/// there, or is no deflated data is a FormatError.
std::uint32_t Inflate(const Range& packed, std::uint64_t size, ByteSink& sink);
std::uint32_t Copy(const Range& packed, std::uint64_t size, ByteSink& sink);

}  // namespace companions::zip
