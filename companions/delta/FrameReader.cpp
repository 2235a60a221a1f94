// See FrameReader.h.
#include "companions/delta/FrameReader.h"

#include <zlib.h>

#include <algorithm>

#include "companions/delta/Varint.h"

namespace companions::delta {

using base::Bytes;

namespace {

std::vector<std::uint8_t> Decompressed(const std::vector<std::uint8_t>& compressed, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    auto made = static_cast<uLongf>(size);
    auto used = static_cast<uLong>(compressed.size());
    if (uncompress2(bytes.data(), &made, compressed.data(), &used) != Z_OK || made != size ||
        used != compressed.size())
        throw DamagedDelta("is damaged: its compressed data cannot be unpacked");
    return bytes;
}

}  // namespace

bool FrameReader::Next(Frame& frame) {
    const auto parts = TakeParts();
    if (!parts) return false;
    frame.instructions = TakePart(parts->instructions);
    frame.literals = TakePart(parts->literals);
    return true;
}

bool FrameReader::NextInstructions(std::vector<std::uint8_t>& instructions) {
    const auto parts = TakeParts();
    if (!parts) return false;
    instructions = TakePart(parts->instructions);
    Skip(parts->literals.compressedSize);
    return true;
}

/// None after the last frame.
std::optional<FrameReader::Parts> FrameReader::TakeParts() {
    const Part instructions = TakeSizes(kMostInstructions);
    if (instructions.size == 0) {
        if (m_next != m_end) throw DamagedDelta("is damaged: something follows its end");
        return std::nullopt;
    }
    return Parts{instructions, TakeSizes(kMostLiterals)};
}

/// The compressed size is there only where there is something to decompress.
FrameReader::Part FrameReader::TakeSizes(std::size_t most) {
    const std::uint64_t size = TakeNumber();
    if (size == 0) return {};
    const std::uint64_t compressedSize = TakeNumber();
    if (size > most || compressedSize > size)
        throw DamagedDelta("is damaged: it has parts of impossible sizes");
    return {static_cast<std::size_t>(size), static_cast<std::size_t>(compressedSize)};
}

std::vector<std::uint8_t> FrameReader::TakePart(Part part) {
    auto compressed = Take(part.compressedSize);
    return part.compressedSize == part.size ? std::move(compressed) : Decompressed(compressed, part.size);
}

std::uint64_t FrameReader::TakeNumber() {
    constexpr std::uint64_t kLongest = 10;
    const auto bytes = Take(std::min(kLongest, m_end - m_next));
    Bytes rest = bytes;
    const auto number = TakeVarint(rest);
    if (!number) throw DamagedDelta("is damaged: it ends too early");
    m_next -= rest.size();
    return *number;
}

std::vector<std::uint8_t> FrameReader::Take(std::uint64_t size) {
    const std::uint64_t offset = m_next;
    Skip(size);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    if (m_delta.ReadAt(offset, bytes) != bytes.size()) throw DamagedDelta("became shorter while it was read");
    return bytes;
}

void FrameReader::Skip(std::uint64_t size) {
    if (size > m_end - m_next) throw DamagedDelta("is damaged: it ends too early");
    m_next += size;
}

}  // namespace companions::delta
