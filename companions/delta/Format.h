// What a delta file consists of; docs/delta-format.md describes it.
#pragma once

#include <stdexcept>
#include <vector>

#include "companions/delta/Digest.h"

namespace companions::delta {

/// The delta cannot be applied by anyone; what() goes on after the file's name.
class DamagedDelta : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The delta was made against another reference; what() goes on after the reference's name.
class WrongReference : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Header {
    std::uint64_t referenceSize = 0;
    Digest referenceDigest{};
    std::uint64_t outputSize = 0;
};

constexpr std::size_t kHeaderSize = 44;
/// The digest of the output, and that of the delta up to there.
constexpr std::size_t kTrailerSize = 2 * sizeof(Digest);

/// What a frame holds at most, unpacked: a reader needs no more memory than that.
constexpr std::size_t kMostInstructions = 256 << 10;
constexpr std::size_t kMostLiterals = 1 << 20;

std::vector<std::uint8_t> Encoded(const Header& header);
/// Throws DamagedDelta.
Header DecodedHeader(Bytes bytes);

}  // namespace companions::delta
