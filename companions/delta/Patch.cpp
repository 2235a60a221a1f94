// See Patch.h.
#include "companions/delta/Patch.h"

#include <algorithm>

#include "companions/delta/BlockCache.h"
#include "companions/delta/FrameReader.h"
#include "companions/delta/Varint.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSink;
using base::ByteSource;

namespace {

/// Writes in large pieces, never more than the delta promised.
class Output {
public:
    Output(ByteSink& sink, std::uint64_t size) : m_sink(sink), m_left(size) {}

    void CheckRoom(std::uint64_t size) const {
        if (size > m_left) throw DamagedDelta("is damaged: it makes a larger file than it says");
    }

    void Write(Bytes bytes) {
        CheckRoom(bytes.size());
        m_left -= bytes.size();
        if (m_buffer.size() + bytes.size() > kBuffer) Flush();
        m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
    }

    Digest Finish() {
        if (m_left != 0) throw DamagedDelta("is damaged: it makes a smaller file than it says");
        Flush();
        return m_hasher.Result();
    }

private:
    static constexpr std::size_t kBuffer = 256 << 10;

    void Flush() {
        m_hasher.Add(m_buffer);
        m_sink.Write(m_buffer);
        m_buffer.clear();
    }

    ByteSink& m_sink;
    std::uint64_t m_left;
    Hasher m_hasher;
    std::vector<std::uint8_t> m_buffer;
};

/// Carries out instructions. Lengths and offsets are checked before anything is done with them.
class Interpreter {
public:
    Interpreter(const ByteSource& reference, Output& output) : m_reference(reference), m_output(output) {}

    void Run(const Frame& frame) {
        Bytes instructions = frame.instructions;
        Bytes literals = frame.literals;
        while (!instructions.empty()) {
            Add(literals, TakeNumber(instructions));
            if (const std::uint64_t length = TakeNumber(instructions); length != 0)
                Copy(FromZigZag(TakeNumber(instructions)), length);
        }
        if (!literals.empty()) throw DamagedDelta("is damaged: it has bytes that it does not use");
    }

private:
    static std::uint64_t TakeNumber(Bytes& instructions) {
        const auto number = TakeVarint(instructions);
        if (!number) throw DamagedDelta("is damaged: it has an incomplete instruction");
        return *number;
    }

    void Add(Bytes& literals, std::uint64_t length) {
        if (length > literals.size()) throw DamagedDelta("is damaged: it lacks bytes that it uses");
        const auto size = static_cast<std::size_t>(length);
        m_output.Write(literals.first(size));
        literals = literals.subspan(size);
        m_expected += length;
    }

    void Copy(std::uint64_t distance, std::uint64_t length) {
        std::uint64_t offset = m_expected + distance;
        if (offset > m_reference.Size() || length > m_reference.Size() - offset)
            throw DamagedDelta("is damaged: it copies from behind the reference's end");
        m_output.CheckRoom(length);
        for (const std::uint64_t end = offset + length; offset < end;) {
            const Bytes bytes = m_reference.From(offset);
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), end - offset));
            m_output.Write(bytes.first(size));
            offset += size;
        }
        m_expected = offset;
    }

    BlockCache m_reference;
    Output& m_output;
    // As the writer counts it.
    std::uint64_t m_expected = 0;
};

std::vector<std::uint8_t> Read(const ByteSource& source, std::uint64_t offset, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    bytes.resize(source.ReadAt(offset, bytes));
    return bytes;
}

Digest ReadDigest(const ByteSource& delta, std::uint64_t offset) {
    const auto bytes = Read(delta, offset, sizeof(Digest));
    Digest digest{};
    std::ranges::copy(bytes, digest.begin());
    return digest;
}

void CheckDelta(const ByteSource& delta) {
    if (delta.Size() < kHeaderSize + kTrailerSize) throw DamagedDelta("is cut short");
    const std::uint64_t end = delta.Size() - sizeof(Digest);
    if (DigestOf(delta, end) != ReadDigest(delta, end))
        throw DamagedDelta("is damaged or cut short: its checksum does not fit its content");
}

void CheckReference(const ByteSource& reference, const Header& header) {
    if (reference.Size() != header.referenceSize)
        throw WrongReference("is not the reference that the delta was made against: it has " +
                             std::to_string(reference.Size()) + " bytes, not " +
                             std::to_string(header.referenceSize));
    if (DigestOf(reference, reference.Size()) != header.referenceDigest)
        throw WrongReference("is not the reference that the delta was made against: its content differs");
}

}  // namespace

Patch::Patch(const ByteSource& delta, const ByteSource& reference)
    : m_delta(delta), m_reference(reference), m_header(DecodedHeader(Read(delta, 0, kHeaderSize))) {
    CheckDelta(delta);
    CheckReference(reference, m_header);
    m_outputDigest = ReadDigest(delta, delta.Size() - kTrailerSize);
}

void Patch::Apply(ByteSink& output) const {
    Output checked(output, m_header.outputSize);
    Interpreter interpreter(m_reference, checked);
    FrameReader frames(m_delta, kHeaderSize, m_delta.Size() - kTrailerSize);
    for (Frame frame; frames.Next(frame);)
        interpreter.Run(frame);
    if (checked.Finish() != m_outputDigest)
        throw DamagedDelta("is damaged: what it makes does not have the checksum of the original");
}

}  // namespace companions::delta
