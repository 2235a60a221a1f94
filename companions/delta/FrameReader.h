// Decompresses the frames of a delta.
#pragma once

#include <optional>
#include <vector>

#include "companions/delta/Format.h"

namespace companions::delta {

struct Frame {
    std::vector<std::uint8_t> instructions;
    std::vector<std::uint8_t> literals;
};

class FrameReader {
public:
    /// The frames lie in delta from begin to end.
    FrameReader(const base::ByteSource& delta, std::uint64_t begin, std::uint64_t end)
        : m_delta(delta), m_next(begin), m_end(end) {}

    /// False after the last frame. Throws DamagedDelta.
    bool Next(Frame& frame);
    /// The same without the literals, which are not read.
    bool NextInstructions(std::vector<std::uint8_t>& instructions);

private:
    struct Part {
        std::size_t size = 0;
        std::size_t compressedSize = 0;
    };
    struct Parts {
        Part instructions;
        Part literals;
    };

    std::uint64_t TakeNumber();
    std::optional<Parts> TakeParts();
    Part TakeSizes(std::size_t most);
    std::vector<std::uint8_t> TakePart(Part part);
    std::vector<std::uint8_t> Take(std::uint64_t size);
    void Skip(std::uint64_t size);

    const base::ByteSource& m_delta;
    std::uint64_t m_next;
    const std::uint64_t m_end;
};

}  // namespace companions::delta
