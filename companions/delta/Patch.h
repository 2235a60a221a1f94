// Applies a delta.
#pragma once

#include "companions/delta/Format.h"

namespace companions::delta {

class Patch {
public:
    /// Reads both in full: nothing needs to be written before it is known that they belong together.
    /// Throws DamagedDelta and WrongReference.
    Patch(const base::ByteSource& delta, const base::ByteSource& reference);

    /// Bytes that Apply writes.
    std::uint64_t OutputSize() const { return m_header.outputSize; }
    /// Writes what the delta was made from. Throws DamagedDelta, and what was written is useless then.
    void Apply(base::ByteSink& output) const;

private:
    const base::ByteSource& m_delta;
    const base::ByteSource& m_reference;
    Header m_header;
    Digest m_outputDigest{};
};

}  // namespace companions::delta
