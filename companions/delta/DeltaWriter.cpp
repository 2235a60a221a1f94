// See DeltaWriter.h.
#include "companions/delta/DeltaWriter.h"

#include <zlib.h>

#include <algorithm>

#include "companions/delta/Varint.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSink;

namespace {

constexpr int kLevel = 6;
// Three numbers.
constexpr std::size_t kLongestInstruction = 30;

/// The bytes themselves when compression does not make them fewer.
std::vector<std::uint8_t> Compressed(const std::vector<std::uint8_t>& bytes) {
    if (bytes.empty()) return {};
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<std::uint8_t> compressed(size);
    if (compress2(compressed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()), kLevel) != Z_OK)
        throw base::Error(base::kOutOfMemory, "not enough memory to compress");
    if (size >= bytes.size()) return bytes;
    compressed.resize(size);
    return compressed;
}

/// What is empty has no compressed size.
void AppendSizes(std::vector<std::uint8_t>& sizes, std::size_t size, std::size_t compressedSize) {
    AppendVarint(sizes, size);
    if (size != 0) AppendVarint(sizes, compressedSize);
}

}  // namespace

DeltaWriter::DeltaWriter(ByteSink& delta, const Header& header) : m_delta(delta) {
    m_instructions.reserve(kMostInstructions);
    m_literals.reserve(kMostLiterals);
    Write(Encoded(header));
}

void DeltaWriter::Add(Bytes bytes) {
    while (!bytes.empty()) {
        if (m_literals.size() == kMostLiterals) EndFrame();
        const Bytes fitting = bytes.first(std::min(bytes.size(), kMostLiterals - m_literals.size()));
        m_literals.insert(m_literals.end(), fitting.begin(), fitting.end());
        m_pending += fitting.size();
        bytes = bytes.subspan(fitting.size());
    }
}

void DeltaWriter::Copy(std::uint64_t offset, std::uint64_t length) {
    m_expected += m_pending;
    AppendVarint(m_instructions, m_pending);
    AppendVarint(m_instructions, length);
    AppendVarint(m_instructions, ZigZag(offset - m_expected));
    m_pending = 0;
    m_expected = offset + length;
    if (m_instructions.size() + 2 * kLongestInstruction > kMostInstructions) EndFrame();
}

void DeltaWriter::Finish(const Digest& outputDigest) {
    EndFrame();
    const std::uint8_t noFrame = 0;
    Write({&noFrame, 1});
    Write(outputDigest);
    m_delta.Write(m_hasher.Result());
}

void DeltaWriter::EndLiterals() {
    if (m_pending == 0) return;
    m_expected += m_pending;
    AppendVarint(m_instructions, m_pending);
    AppendVarint(m_instructions, 0);
    m_pending = 0;
}

void DeltaWriter::EndFrame() {
    EndLiterals();
    if (m_instructions.empty()) return;
    const auto instructions = Compressed(m_instructions);
    const auto literals = Compressed(m_literals);
    std::vector<std::uint8_t> sizes;
    AppendSizes(sizes, m_instructions.size(), instructions.size());
    AppendSizes(sizes, m_literals.size(), literals.size());
    Write(sizes);
    Write(instructions);
    Write(literals);
    m_instructions.clear();
    m_literals.clear();
}

void DeltaWriter::Write(Bytes bytes) {
    m_hasher.Add(bytes);
    m_delta.Write(bytes);
}

}  // namespace companions::delta
