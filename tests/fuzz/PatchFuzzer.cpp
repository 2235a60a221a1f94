// Any delta is refused, or makes no more bytes than it says. Most inputs are the frames alone and get a
// header and checksums that fit, as random ones would never pass the checksum. What one makes can be made
// into a delta again.
#include "companions/delta/Patch.h"

#include <algorithm>

#include "companions/delta/MakeDelta.h"
#include "tests/fuzz/BoundedSink.h"

using namespace companions::delta;
using base::Bytes;
using base::MemorySource;

namespace {

const std::vector<std::uint8_t>& Reference() {
    static const std::vector<std::uint8_t> reference = [] {
        std::vector<std::uint8_t> bytes(5000);
        std::ranges::generate(bytes, [number = 1u]() mutable {
            number = number * 1664525 + 1013904223;
            return static_cast<std::uint8_t>(number >> 24);
        });
        return bytes;
    }();
    return reference;
}

void AppendDigest(std::vector<std::uint8_t>& bytes, const Digest& digest) {
    bytes.insert(bytes.end(), digest.begin(), digest.end());
}

std::vector<std::uint8_t> DeltaOf(std::uint64_t outputSize, Bytes frames) {
    const MemorySource reference(Reference());
    auto delta = Encoded({reference.Size(), DigestOf(reference, reference.Size()), outputSize});
    delta.insert(delta.end(), frames.begin(), frames.end());
    AppendDigest(delta, Digest{});
    AppendDigest(delta, DigestOf(MemorySource(delta), delta.size()));
    return delta;
}

void MakeAgain(const std::vector<std::uint8_t>& output) {
    const MemorySource reference(Reference());
    base::MemorySink delta;
    MakeDelta(reference, MemorySource(output), delta);
    const MemorySource again(delta.Written());
    BoundedSink restored(output.size());
    Patch(again, reference).Apply(restored);
    Require(restored.Written() == output);
}

void Apply(Bytes bytes) try {
    const MemorySource delta(bytes);
    const MemorySource reference(Reference());
    const Patch patch(delta, reference);
    BoundedSink output(DecodedHeader(bytes).outputSize);
    patch.Apply(output);
    output.Finish();
    MakeAgain(output.Written());
} catch (const DamagedDelta&) {
} catch (const WrongReference&) {
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    const Bytes input(data, size);
    const auto outputSize = static_cast<std::uint64_t>(data[0] | data[1] << 8);
    // The first two bytes of every delta.
    Apply(outputSize == 0x5889 ? std::vector<std::uint8_t>(data, data + size)
                               : DeltaOf(outputSize, input.subspan(2)));
    return 0;
}
