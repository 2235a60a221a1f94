// Writes a delta, compressed frame by frame.
#pragma once

#include <vector>

#include "companions/delta/Format.h"

namespace companions::delta {

class DeltaWriter {
public:
    DeltaWriter(base::ByteSink& delta, const Header& header);

    /// The output's next bytes are new.
    void Add(base::Bytes bytes);
    /// The output's next bytes are the reference's from an offset on.
    void Copy(std::uint64_t offset, std::uint64_t length);
    /// Nothing follows.
    void Finish(const Digest& outputDigest);

private:
    void EndLiterals();
    void EndFrame();
    void Write(base::Bytes bytes);

    base::ByteSink& m_delta;
    Hasher m_hasher;
    std::vector<std::uint8_t> m_instructions;
    std::vector<std::uint8_t> m_literals;
    // Literals that no instruction covers yet.
    std::uint64_t m_pending = 0;
    // Where the next copy begins when new bytes replaced as many old ones since the last.
    std::uint64_t m_expected = 0;
};

}  // namespace companions::delta
