// Content on its way into an archive and out of it, in blocks: memory does not depend on its size.
#pragma once

#include <cstdint>

#include "base/ByteStream.h"

namespace companions::zip {

/// What came of a file.
struct Compressed {
    std::uint32_t crc = 0;
    std::uint64_t size = 0;            ///< bytes read
    std::uint64_t compressedSize = 0;  ///< bytes written
};

/// level: 1 (fastest) to 9 (smallest)
Compressed Deflate(const base::ByteSource& source, int level, base::ByteSink& sink);
Compressed Store(const base::ByteSource& source, base::ByteSink& sink);

/// A part of an archive.
struct Range {
    const base::ByteSource& source;
    std::uint64_t offset;
    std::uint64_t size;  ///< bytes
};

/// Both write at most size bytes, and return the checksum of them. Content that ends early, does not end
/// there, or is no deflated data is a FormatError.
std::uint32_t Inflate(const Range& compressed, std::uint64_t size, base::ByteSink& sink);
std::uint32_t Copy(const Range& compressed, std::uint64_t size, base::ByteSink& sink);

}  // namespace companions::zip
