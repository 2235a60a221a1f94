// See Digest.h.
#include "companions/delta/Digest.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <vector>

#include "companions/delta/BlockCache.h"

namespace companions::delta {

using base::Bytes;
using base::ByteSource;

struct Hasher::State {
    XXH3_state_t hash;
};

Hasher::Hasher() : m_state(std::make_unique<State>()) { XXH3_128bits_reset(&m_state->hash); }

Hasher::~Hasher() = default;

void Hasher::Add(Bytes bytes) { XXH3_128bits_update(&m_state->hash, bytes.data(), bytes.size()); }

Digest Hasher::Result() const {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(&m_state->hash));
    Digest digest;
    std::copy_n(canonical.digest, digest.size(), digest.begin());
    return digest;
}

Digest DigestOf(const ByteSource& source, std::uint64_t size) {
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::min<std::uint64_t>(size, 256 << 10)));
    Hasher hasher;
    for (std::uint64_t done = 0; done < size;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size - done, buffer.size()));
        ReadFully(source, done, {buffer.data(), wanted});
        hasher.Add({buffer.data(), wanted});
        done += wanted;
    }
    return hasher.Result();
}

}  // namespace companions::delta
