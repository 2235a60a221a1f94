#include "companions/delta/Format.h"

#include <algorithm>
#include <string>

namespace companions::delta {

namespace {

// No text file begins like this, and a transfer that changes line ends or stops at the end-of-file character
// destroys it.
constexpr std::array<std::uint8_t, 8> kMagic{0x89, 'X', 'D', 'L', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t kVersion = 1;

template <typename Number>
void Append(std::vector<std::uint8_t>& bytes, Number number) {
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

/// Takes fields off the front.
class Fields {
public:
    explicit Fields(Bytes bytes) : m_rest(bytes) {}

    Bytes Take(std::size_t size) {
        const Bytes taken = m_rest.first(size);
        m_rest = m_rest.subspan(size);
        return taken;
    }
    template <typename Number>
    Number TakeNumber() {
        const Bytes bytes = Take(sizeof(Number));
        Number number = 0;
        for (std::size_t i = 0; i < sizeof number; ++i)
            number |= static_cast<Number>(Number{bytes[i]} << 8 * i);
        return number;
    }

private:
    Bytes m_rest;
};

}  // namespace

std::vector<std::uint8_t> Encoded(const Header& header) {
    std::vector<std::uint8_t> bytes(kMagic.begin(), kMagic.end());
    Append(bytes, kVersion);
    Append(bytes, header.referenceSize);
    bytes.insert(bytes.end(), header.referenceDigest.begin(), header.referenceDigest.end());
    Append(bytes, header.outputSize);
    return bytes;
}

Header DecodedHeader(Bytes bytes) {
    if (bytes.size() < kMagic.size() || !std::equal(kMagic.begin(), kMagic.end(), bytes.begin()))
        throw DamagedDelta("is not a delta file");
    if (bytes.size() < kHeaderSize) throw DamagedDelta("is cut short");
    Fields fields(bytes);
    fields.Take(kMagic.size());
    if (const auto version = fields.TakeNumber<std::uint32_t>(); version != kVersion)
        throw DamagedDelta("has format " + std::to_string(version) + ", and this program knows format " +
                           std::to_string(kVersion) + " only: use the version that made it");
    Header header;
    header.referenceSize = fields.TakeNumber<std::uint64_t>();
    std::ranges::copy(fields.Take(sizeof(Digest)), header.referenceDigest.begin());
    header.outputSize = fields.TakeNumber<std::uint64_t>();
    return header;
}

}  // namespace companions::delta
