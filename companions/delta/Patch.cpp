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

/// Counts down the bytes that the delta says it makes.
class Announced {
public:
    explicit Announced(std::uint64_t size) : m_left(size) {}

    void Take(std::uint64_t size) {
        if (size > m_left) throw DamagedDelta("is damaged: it makes a larger file than it says");
        m_left -= size;
    }
    void Finish() const {
        if (m_left != 0) throw DamagedDelta("is damaged: it makes a smaller file than it says");
    }

private:
    std::uint64_t m_left;
};

/// Writes in large pieces.
class Output {
public:
    Output(ByteSink& sink, std::uint64_t size) : m_sink(sink), m_announced(size) {}

    void Write(Bytes bytes) {
        m_announced.Take(bytes.size());
        if (m_buffer.size() + bytes.size() > kBuffer) Flush();
        m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
    }

    Digest Finish() {
        m_announced.Finish();
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
    Announced m_announced;
    Hasher m_hasher;
    std::vector<std::uint8_t> m_buffer;
};

struct Instruction {
    std::uint64_t literals = 0;
    std::uint64_t length = 0;  // of the copy
    std::uint64_t distance = 0;
};

std::uint64_t TakeNumber(Bytes& instructions) {
    const auto number = TakeVarint(instructions);
    if (!number) throw DamagedDelta("is damaged: it has an incomplete instruction");
    return *number;
}

Instruction TakeInstruction(Bytes& instructions) {
    Instruction instruction;
    instruction.literals = TakeNumber(instructions);
    instruction.length = TakeNumber(instructions);
    if (instruction.length != 0) instruction.distance = FromZigZag(TakeNumber(instructions));
    return instruction;
}

/// Carries out instructions. Lengths and offsets are checked before anything is done with them.
class Interpreter {
public:
    Interpreter(const ByteSource& reference, Output& output) : m_reference(reference), m_output(output) {}

    void Run(const Frame& frame) {
        Bytes instructions = frame.instructions;
        Bytes literals = frame.literals;
        while (!instructions.empty()) {
            const Instruction instruction = TakeInstruction(instructions);
            Add(literals, instruction.literals);
            if (instruction.length != 0) Copy(instruction.distance, instruction.length);
        }
        if (!literals.empty()) throw DamagedDelta("is damaged: it has bytes that it does not use");
    }

private:
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

FrameReader FramesOf(const ByteSource& delta) { return {delta, kHeaderSize, delta.Size() - kTrailerSize}; }

/// What is said is compared with what is made before a byte is written: a small delta can make a file that
/// fills the disk.
void CheckOutputSize(const ByteSource& delta, std::uint64_t size) {
    Announced announced(size);
    FrameReader frames = FramesOf(delta);
    std::vector<std::uint8_t> frame;
    while (frames.NextInstructions(frame))
        for (Bytes instructions = frame; !instructions.empty();) {
            const Instruction instruction = TakeInstruction(instructions);
            announced.Take(instruction.literals);
            announced.Take(instruction.length);
        }
    announced.Finish();
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
    CheckOutputSize(delta, m_header.outputSize);
    CheckReference(reference, m_header);
    m_outputDigest = ReadDigest(delta, delta.Size() - kTrailerSize);
}

void Patch::Apply(ByteSink& output) const {
    Output checked(output, m_header.outputSize);
    Interpreter interpreter(m_reference, checked);
    FrameReader frames = FramesOf(m_delta);
    for (Frame frame; frames.Next(frame);)
        interpreter.Run(frame);
    if (checked.Finish() != m_outputDigest)
        throw DamagedDelta("is damaged: what it makes does not have the checksum of the original");
}

}  // namespace companions::delta
