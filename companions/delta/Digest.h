// XXH3, 128 bits: tells files apart that differ by accident or damage, at the speed of memory.
#pragma once

#include <array>
#include <memory>

#include "base/ByteStream.h"

namespace companions::delta {

/// The canonical form: most significant byte first.
using Digest = std::array<std::uint8_t, 16>;

class Hasher {
public:
    Hasher();
    ~Hasher();
    void Add(base::Bytes bytes);
    /// Of all bytes added so far.
    Digest Result() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Of the first bytes of a source.
Digest DigestOf(const base::ByteSource& source, std::uint64_t size);

}  // namespace companions::delta
