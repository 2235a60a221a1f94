// See Format.h.
#include "companions/delta/Format.h"

#include <algorithm>
#include <string>

#include "companions/support/Fields.h"

namespace companions::delta {

using base::Bytes;

namespace {

// No text file begins like this, and a transfer that changes line ends or stops at the end-of-file character
// destroys it.
constexpr std::array<std::uint8_t, 8> kMagic{0x89, 'X', 'D', 'L', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t kVersion = 1;

}  // namespace

std::vector<std::uint8_t> Encoded(const Header& header) {
    return FieldWriter()
        .Bytes(kMagic)
        .U32(kVersion)
        .U64(header.referenceSize)
        .Bytes(header.referenceDigest)
        .U64(header.outputSize)
        .Written();
}

Header DecodedHeader(Bytes bytes) {
    if (bytes.size() < kMagic.size() || !std::equal(kMagic.begin(), kMagic.end(), bytes.begin()))
        throw DamagedDelta("is not a delta file");
    if (bytes.size() < kHeaderSize) throw DamagedDelta("is cut short");
    FieldReader fields(bytes);
    fields.Skip(kMagic.size());
    if (const auto version = fields.U32(); version != kVersion)
        throw DamagedDelta("has format " + std::to_string(version) + ", and this program knows format " +
                           std::to_string(kVersion) + " only: use the version that made it");
    Header header;
    header.referenceSize = fields.U64();
    std::ranges::copy(fields.Bytes(sizeof(Digest)), header.referenceDigest.begin());
    header.outputSize = fields.U64();
    return header;
}

}  // namespace companions::delta
