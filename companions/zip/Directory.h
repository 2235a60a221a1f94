// The directory of an archive, and how it is found.
#pragma once

#include <cstdint>
#include <vector>

#include "companions/support/Bytes.h"
#include "companions/zip/Member.h"

namespace companions::zip {

struct Directory {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;  ///< bytes
    std::uint64_t members = 0;
};

/// Throws FormatError when there is none within the source.
Directory FindDirectory(const ByteSource& source);
/// Throws FormatError for members that cannot be extracted: encrypted, of an unknown method, links.
std::vector<Member> ReadDirectory(const ByteSource& source, const Directory& directory);

/// So many bytes at an offset; FormatError when the source ends before.
std::vector<std::uint8_t> ReadExactly(const ByteSource& source, std::uint64_t offset, std::size_t size);

}  // namespace companions::zip
