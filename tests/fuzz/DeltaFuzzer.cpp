// The difference between any two files makes the one out of the other.
#include "companions/delta/MakeDelta.h"
#include "companions/delta/Patch.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

using namespace companions::delta;

namespace {

/// Long enough for windows and blocks, however short the input is.
std::string TakeReference(FuzzInput& input) {
    std::string reference = input.Text();
    for (int doublings = input.Between(0, 8); doublings > 0; --doublings) {
        reference += reference;
        // Otherwise every window would have its equal.
        for (std::size_t i = reference.size() / 2; i < reference.size(); i += 29)
            reference[i] = static_cast<char>(reference[i] + doublings);
    }
    return reference;
}

/// Parts of the reference, and what is new.
std::string TakeSource(FuzzInput& input, const std::string& reference) {
    constexpr std::size_t kLongest = 1 << 18;
    std::string source;
    while (!input.IsEmpty() && source.size() < kLongest) {
        const auto at = input.Between<std::size_t>(0, reference.size());
        source.append(reference, at, input.Between<std::size_t>(0, reference.size() - at));
        source += input.Text();
    }
    return source;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    const std::string reference = TakeReference(input);
    const std::string source = TakeSource(input, reference);
    const base::MemorySource referenceSource(base::BytesOf(reference));

    base::MemorySink delta;
    MakeDelta(referenceSource, base::MemorySource(base::BytesOf(source)), delta);
    base::MemorySink output;
    const base::MemorySource deltaSource(delta.Written());
    const Patch patch(deltaSource, referenceSource);
    Require(patch.OutputSize() == source.size());
    patch.Apply(output);
    Require(output.Written() == std::vector<std::uint8_t>(source.begin(), source.end()));
    return 0;
}
