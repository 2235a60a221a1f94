// What a delta file consists of; docs/delta-format.md describes it.
#pragma once

#include <string_view>
#include <vector>

#include "base/Error.h"
#include "companions/delta/Digest.h"

namespace companions::delta {

/// The delta cannot be applied by anyone; what() goes on after the file's name.
class DamagedDelta : public base::Error {
public:
    explicit DamagedDelta(std::string_view description, base::Where where = base::Where::current())
        : Error(base::kInvalidData, description, where) {}
};

/// The delta was made against another reference; what() goes on after the reference's name.
class WrongReference : public base::Error {
public:
    explicit WrongReference(std::string_view description, base::Where where = base::Where::current())
        : Error(base::kInvalidArgument, description, where) {}
};

struct Header {
    std::uint64_t referenceSize = 0;
    Digest referenceDigest{};
    std::uint64_t outputSize = 0;
};

constexpr std::size_t kHeaderSize = 44;
/// The digest of the output, and that of the delta up to there.
constexpr std::size_t kTrailerSize = 2 * sizeof(Digest);

/// What a frame holds at most, decompressed: a reader needs no more memory than that.
constexpr std::size_t kMostInstructions = 256 << 10;
constexpr std::size_t kMostLiterals = 1 << 20;

std::vector<std::uint8_t> Encoded(const Header& header);
/// Throws DamagedDelta.
Header DecodedHeader(base::Bytes bytes);

}  // namespace companions::delta
