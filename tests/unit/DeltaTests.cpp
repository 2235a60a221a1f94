// Deltas restore what they were made from, hold little more than what is new, and refuse everything else.
#include "companions/delta/MakeDelta.h"
#include "companions/delta/Patch.h"
#include "companions/delta/RollingHash.h"
#include "tests/unit/Content.h"

#include <gtest/gtest.h>

using namespace companions::delta;
using namespace tests;

namespace {

std::string Delta(const std::string& reference, const std::string& source) {
    base::MemorySink delta;
    MakeDelta(SourceOf(reference), SourceOf(source), delta);
    return ContentOf(delta);
}

std::string Patched(const std::string& delta, const std::string& reference) {
    const base::MemorySource deltaSource = SourceOf(delta);
    const base::MemorySource referenceSource = SourceOf(reference);
    base::MemorySink output;
    Patch(deltaSource, referenceSource).Apply(output);
    return ContentOf(output);
}

/// Size of the delta, which must restore the source.
std::size_t RoundTrip(const std::string& reference, const std::string& source) {
    const std::string delta = Delta(reference, source);
    EXPECT_TRUE(Patched(delta, reference) == source);
    return delta.size();
}

struct Random : std::mt19937 {
    using std::mt19937::mt19937;

    std::size_t Below(std::size_t limit) { return (*this)() % std::max<std::size_t>(limit, 1); }
    std::string Bytes(std::size_t size) { return Noise(size, static_cast<unsigned>((*this)())); }
    /// Long runs and repetitions, as in a half-empty database.
    std::string Dull(std::size_t size) {
        std::string bytes;
        while (bytes.size() < size)
            bytes.append(1 + Below(200), static_cast<char>(Below(3)));
        return bytes.substr(0, size);
    }
};

/// One random change: bytes replaced, inserted, deleted, moved or repeated.
void Edit(std::string& content, Random& random) {
    const auto anywhere = [&] { return random.Below(content.size() + 1); };
    const std::size_t at = anywhere();
    const std::string part = content.substr(at, random.Below(1 + random.Below(9000)));
    const std::size_t kind = random.Below(5);
    if (kind == 0) content.replace(at, part.size(), random.Bytes(part.size()));
    if (kind == 1) content.insert(at, random.Bytes(random.Below(3000)));
    if (kind == 2 || kind == 3) content.erase(at, part.size());
    if (kind == 3 || kind == 4) content.insert(anywhere(), part);
}

TEST(Delta, RestoresAnyEdit) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const std::size_t size = random.Below(seed % 4 == 0 ? 300'000 : 3'000);
        const std::string reference = seed % 3 == 0 ? random.Dull(size) : random.Bytes(size);
        std::string source = reference;
        for (std::size_t edits = random.Below(20); edits != 0; --edits)
            Edit(source, random);
        RoundTrip(reference, source);
        RoundTrip(source, reference);
    }
}

TEST(Delta, RestoresWhatHasNothingInCommon) {
    const std::string large = Noise(3'000'000);
    const std::string same(200'000, 'x');
    EXPECT_LE(RoundTrip("", ""), kHeaderSize + kTrailerSize + 1);
    for (const std::string& reference : {std::string(), Noise(5), same})
        for (const std::string& source : {Noise(5), large})
            EXPECT_LE(RoundTrip(reference, source), source.size() + 200);
    EXPECT_LE(RoundTrip(large, ""), 100u);
    EXPECT_LE(RoundTrip(large, same), 600u) << "new data is compressed";
    EXPECT_LE(RoundTrip(large, large), 100u);
}

TEST(Delta, HoldsNoMoreThanWhatIsNew) {
    constexpr std::size_t kPerEdit = 100 + 2 * RollingHash::kWindow;
    const std::string reference = Noise(2'000'000);

    const auto inserted = std::string(reference).insert(700'001, Noise(1000, 2));
    EXPECT_LE(RoundTrip(reference, inserted), 1000 + kPerEdit);
    EXPECT_LE(RoundTrip(inserted, reference), kPerEdit) << "a deletion";

    std::string moved = reference;
    moved.erase(1'500'001, 300'000).insert(77, reference, 1'500'001, 300'000);
    EXPECT_LE(RoundTrip(reference, moved), 3 * kPerEdit);

    std::string changed = reference;
    for (std::size_t at = 10; at < changed.size(); at += 20'000)
        changed[at] ^= 1;
    EXPECT_LE(RoundTrip(reference, changed), 1000u) << "100 bytes in place";

    const std::string window = Noise(RollingHash::kWindow, 3);
    const std::string around = Noise(500, 4) + window + Noise(500, 5);
    EXPECT_LT(RoundTrip(window, around), RoundTrip("", around)) << "one window";
}

/// Differences travel between computers that are updated at different times.
TEST(Delta, RestoresWhatEarlierVersionsMade) {
    const std::string digits =
        "8958444c0d0a1a0a010000002a0000000000000064d988b49bb86e217d5ed01731552e882d0000000000000005051c1c"
        "0011001c006973206e6f772c20616e6420736f6d65206d6f7265206f662069742e00ecf2502d4368ab68843787874618"
        "fdb20915b8c4088f935c56aec48dbacd400a";
    std::string delta;
    for (std::size_t at = 0; at < digits.size(); at += 2)
        delta.push_back(static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    EXPECT_EQ(Patched(delta, "The packet as it was, and some more of it."),
              "The packet as it is now, and some more of it.");
}

TEST(Delta, RefusesAReferenceThatIsShorterThanItSays) {
    base::MemorySink delta;
    EXPECT_THROW(MakeDelta(GrowingSource(), SourceOf("x"), delta), base::Error);
}

/// A delta with compressed and stored parts, and several instructions.
struct Sample {
    Sample() : source(reference) {
        source.insert(1000, Random(5).Dull(500)).erase(3000, 300).insert(2000, Noise(50, 6));
        delta = Delta(reference, source);
    }

    std::string reference = Noise(4000);
    std::string source;
    std::string delta;
};

TEST(Delta, RefusesAnotherReference) {
    const Sample sample;
    std::string changed = sample.reference;
    changed[2000] ^= 1;
    for (const std::string& wrong : {changed, sample.reference + '\0', std::string()})
        EXPECT_THROW(Patched(sample.delta, wrong), WrongReference);
}

TEST(Delta, RefusesEveryDamage) {
    const Sample sample;
    ASSERT_LT(sample.delta.size(), 1000u);
    for (std::size_t at = 0; at < sample.delta.size(); ++at) {
        EXPECT_THROW(Patched(sample.delta.substr(0, at), sample.reference), DamagedDelta) << at;
        for (const int bit : {0, 3, 7}) {
            std::string damaged = sample.delta;
            damaged[at] = static_cast<char>(damaged[at] ^ 1 << bit);
            EXPECT_THROW(Patched(damaged, sample.reference), DamagedDelta) << at;
        }
    }
    EXPECT_THROW(Patched(sample.delta + '\0', sample.reference), DamagedDelta);
}

TEST(Delta, TellsWhatIsNoneFromWhatIsOfAnotherFormat) {
    const auto complaint = [](const std::string& delta) {
        try {
            return Patched(delta, "");
        } catch (const DamagedDelta& damaged) {
            return std::string(damaged.what());
        }
    };
    std::string other = Sample().delta;
    EXPECT_EQ(complaint("Some text that is as long as a header is: 44 bytes."), "is not a delta file");
    EXPECT_EQ(complaint(other.substr(0, 20)), "is cut short");
    other[8] = 7;
    EXPECT_EQ(complaint(other).find("has format 7"), 0u);
}

/// With a checksum that fits.
std::string Sealed(std::string delta) {
    const Digest digest = DigestOf(SourceOf(delta), delta.size());
    return delta.append(digest.begin(), digest.end());
}

/// Damage whose checksum was made to fit is found by what it does, unless it does nothing.
TEST(Delta, RestoresNothingElseBeneathItsChecksum) {
    const Sample sample;
    const std::size_t end = sample.delta.size() - sizeof(Digest);
    int refused = 0;
    for (std::size_t at = kHeaderSize; at < end; ++at) {
        std::string damaged = sample.delta.substr(0, end);
        damaged[at] ^= 4;
        try {
            EXPECT_TRUE(Patched(Sealed(damaged), sample.reference) == sample.source) << at;
        } catch (const DamagedDelta&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
}

TEST(Delta, IsRefusedBeforeItWritesWhenItMakesAnotherSizeThanItSays) {
    const Sample sample;
    constexpr std::size_t kOutputSize = kHeaderSize - sizeof(std::uint64_t);
    for (const auto& [byte, change] : {std::pair(0U, 1), {0U, -1}, {7U, 1}}) {
        std::string lying = sample.delta.substr(0, sample.delta.size() - sizeof(Digest));
        char& digit = lying[kOutputSize + byte];
        digit = static_cast<char>(digit + change);
        const std::string sealed = Sealed(lying);
        EXPECT_THROW(Patch(SourceOf(sealed), SourceOf(sample.reference)), DamagedDelta) << change;
    }
}

}  // namespace
