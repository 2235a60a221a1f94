#include "companions/delta/MakeDelta.h"
#include "companions/delta/Patch.h"
#include "companions/delta/RollingHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace companions;
using namespace companions::delta;

using Content = std::vector<std::uint8_t>;

class MemorySink final : public ByteSink {
public:
    void Write(Bytes bytes) override { content.insert(content.end(), bytes.begin(), bytes.end()); }

    Content content;
};

Content Delta(const Content& reference, const Content& source) {
    MemorySink delta;
    MakeDelta(MemorySource(reference), MemorySource(source), delta);
    return delta.content;
}

Content Patched(const Content& delta, const Content& reference) {
    const MemorySource deltaSource(delta);
    const MemorySource referenceSource(reference);
    MemorySink output;
    Patch(deltaSource, referenceSource).Apply(output);
    return output.content;
}

/// Size of the delta, which must restore the source.
std::size_t RoundTrip(const Content& reference, const Content& source) {
    const Content delta = Delta(reference, source);
    EXPECT_TRUE(Patched(delta, reference) == source);
    return delta.size();
}

class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t Below(std::size_t limit) { return m_engine() % std::max<std::size_t>(limit, 1); }
    Content Bytes(std::size_t size) {
        Content bytes(size);
        std::ranges::generate(bytes, [this] { return static_cast<std::uint8_t>(m_engine() >> 16); });
        return bytes;
    }
    /// Long runs and repetitions, as in a half-empty database.
    Content Dull(std::size_t size) {
        Content bytes;
        while (bytes.size() < size)
            bytes.insert(bytes.end(), 1 + Below(200), static_cast<std::uint8_t>(Below(3)));
        bytes.resize(size);
        return bytes;
    }

private:
    std::mt19937 m_engine;
};

Content Slice(const Content& content, std::size_t begin, std::size_t size) {
    const auto from = content.begin() + static_cast<std::ptrdiff_t>(begin);
    return {from, from + static_cast<std::ptrdiff_t>(size)};
}

void Insert(Content& content, std::size_t at, const Content& bytes) {
    content.insert(content.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(), bytes.end());
}

void Erase(Content& content, std::size_t at, std::size_t size) {
    const auto from = content.begin() + static_cast<std::ptrdiff_t>(at);
    content.erase(from, from + static_cast<std::ptrdiff_t>(size));
}

/// One random change: bytes replaced, inserted, deleted, moved or repeated.
void Edit(Content& content, Random& random) {
    const std::size_t at = random.Below(content.size() + 1);
    const std::size_t size = std::min(random.Below(1 + random.Below(9000)), content.size() - at);
    switch (random.Below(5)) {
    case 0:
        std::ranges::copy(random.Bytes(size), content.begin() + static_cast<std::ptrdiff_t>(at));
        break;
    case 1:
        Insert(content, at, random.Bytes(random.Below(3000)));
        break;
    case 2:
        Erase(content, at, size);
        break;
    case 3: {
        const Content moved = Slice(content, at, size);
        Erase(content, at, size);
        Insert(content, random.Below(content.size() + 1), moved);
        break;
    }
    default:
        Insert(content, random.Below(content.size() + 1), Slice(content, at, size));
    }
}

TEST(Delta, RestoresAnyEdit) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const std::size_t size = random.Below(seed % 4 == 0 ? 300'000 : 3'000);
        const Content reference = seed % 3 == 0 ? random.Dull(size) : random.Bytes(size);
        Content source = reference;
        for (std::size_t edits = random.Below(20); edits != 0; --edits)
            Edit(source, random);
        RoundTrip(reference, source);
        RoundTrip(source, reference);
    }
}

TEST(Delta, RestoresWhatHasNothingInCommon) {
    Random random(1);
    const Content empty;
    const Content small = random.Bytes(5);
    const Content large = random.Bytes(3'000'000);
    const Content same(200'000, 7);
    EXPECT_LE(RoundTrip(empty, empty), kHeaderSize + kTrailerSize + 1);
    for (const Content* reference : {&empty, &small, &same})
        for (const Content* source : {&small, &large})
            EXPECT_LE(RoundTrip(*reference, *source), source->size() + 200);
    EXPECT_LE(RoundTrip(large, empty), 100u);
    EXPECT_LE(RoundTrip(large, same), 600u) << "new data is compressed";
    EXPECT_LE(RoundTrip(large, large), 100u);
}

TEST(Delta, HoldsNoMoreThanWhatIsNew) {
    constexpr std::size_t kPerEdit = 100 + 2 * RollingHash::kWindow;
    Random random(2);
    const Content reference = random.Bytes(2'000'000);
    const Content added = random.Bytes(1000);

    Content source = reference;
    Insert(source, 700'001, added);
    EXPECT_LE(RoundTrip(reference, source), added.size() + kPerEdit) << "an insertion";

    source = reference;
    Erase(source, 500'003, 70'001);
    EXPECT_LE(RoundTrip(reference, source), kPerEdit) << "a deletion";

    source = reference;
    const Content moved = Slice(source, 1'500'001, 300'000);
    Erase(source, 1'500'001, moved.size());
    Insert(source, 77, moved);
    EXPECT_LE(RoundTrip(reference, source), 3 * kPerEdit) << "a move";

    source = reference;
    for (std::size_t at = 10; at < source.size(); at += 20'000)
        source[at] ^= 1;
    EXPECT_LE(RoundTrip(reference, source), 1000u) << "100 bytes changed in place";
}

TEST(Delta, RefusesAnotherReference) {
    const Content reference = Random(3).Bytes(10'000);
    Content changed = reference;
    changed[5000] ^= 1;
    const Content longer = [&] {
        auto bytes = reference;
        bytes.push_back(0);
        return bytes;
    }();
    const Content delta = Delta(reference, changed);
    for (const Content& wrong : {changed, longer, Content()})
        EXPECT_THROW(Patched(delta, wrong), WrongReference);
}

/// A delta with compressed and stored parts, and several instructions.
struct Sample {
    Sample() : reference(Random(4).Bytes(4000)), source(reference) {
        Insert(source, 1000, Random(5).Dull(500));
        Erase(source, 3000, 300);
        Insert(source, 2000, Random(6).Bytes(50));
        delta = Delta(reference, source);
    }

    Content reference;
    Content source;
    Content delta;
};

TEST(Delta, RefusesEveryDamage) {
    const Sample sample;
    ASSERT_LT(sample.delta.size(), 1000u);
    for (std::size_t size = 0; size < sample.delta.size(); ++size)
        EXPECT_THROW(Patched(Slice(sample.delta, 0, size), sample.reference), DamagedDelta) << size;
    for (std::size_t at = 0; at < sample.delta.size(); ++at)
        for (const int bit : {0, 3, 7}) {
            Content damaged = sample.delta;
            damaged[at] ^= static_cast<std::uint8_t>(1 << bit);
            EXPECT_THROW(Patched(damaged, sample.reference), DamagedDelta) << at;
        }
    Content longer = sample.delta;
    longer.push_back(0);
    EXPECT_THROW(Patched(longer, sample.reference), DamagedDelta);
}

/// Damage whose checksum was made to fit is found by what it does, unless it does nothing.
TEST(Delta, RestoresNothingElseBeneathItsChecksum) {
    const Sample sample;
    int refused = 0;
    for (std::size_t at = kHeaderSize; at < sample.delta.size() - sizeof(Digest); ++at) {
        Content damaged = sample.delta;
        damaged[at] ^= 4;
        const std::size_t end = damaged.size() - sizeof(Digest);
        std::ranges::copy(DigestOf(MemorySource(damaged), end),
                          damaged.begin() + static_cast<std::ptrdiff_t>(end));
        try {
            EXPECT_TRUE(Patched(damaged, sample.reference) == sample.source) << at;
        } catch (const DamagedDelta&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
}

}  // namespace
