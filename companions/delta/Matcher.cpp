// See Matcher.h.
#include "companions/delta/Matcher.h"

#include <algorithm>
#include <cstring>

namespace companions::delta {

using base::Bytes;

namespace {

// So many equal bytes at a known shift are worth a copy, which costs about three bytes.
constexpr std::size_t kUnit = 16;
// A copy from elsewhere costs about eight bytes.
constexpr std::uint64_t kShortest = RollingHash::kWindow;
constexpr std::uint64_t kLong = 1024;
// What is looked through at known shifts before the index is asked about it.
constexpr std::uint64_t kStep = 4096;

std::size_t FirstEqualUnit(Bytes a, Bytes b, std::size_t size) {
    std::size_t at = 0;
    while (at + kUnit <= size && std::memcmp(&a[at], &b[at], kUnit) != 0)
        at += kUnit;
    return at;
}

}  // namespace

Matcher::Matcher(BlockCache& reference, BlockCache& source, const BlockIndex& index)
    : m_reference(reference), m_source(source), m_index(index) {}

std::optional<Match> Matcher::Next(std::uint64_t begin) {
    if (const Match match = Extended(begin, m_last, begin); match.length >= kUnit) return Remembered(match);
    RollingHash hash;
    for (Range range{begin, begin}; range.end < m_source.Size(); range.begin = range.end) {
        range.end = std::min(range.begin + kStep, m_source.Size());
        const auto known = AtKnownShifts(range);
        if (known) range.end = known->at;
        if (const auto elsewhere = InIndex(hash, range, begin)) return Remembered(*elsewhere);
        if (known) return Remembered(Extended(known->at, known->shift, begin));
    }
    return std::nullopt;
}

Match Matcher::Remembered(const Match& match) {
    m_last = match.reference - match.source;
    if (match.length >= kLong) m_main = m_last;
    return match;
}

/// The whole match that contains the source's byte at an offset; begin limits it.
Match Matcher::Extended(std::uint64_t at, Shift shift, std::uint64_t begin) const {
    if (at + shift > m_reference.Size()) return {at, at + shift, 0};
    const std::uint64_t ahead = EqualFrom(m_source, at, m_reference, at + shift);
    const std::uint64_t back = EqualBefore(m_source, at, m_reference, at + shift, at - begin);
    return {at - back, at - back + shift, back + ahead};
}

/// Where equal bytes begin, and no more: the index may know of something before, and then they wait.
std::optional<Matcher::Hit> Matcher::AtKnownShifts(Range range) const {
    Hit hit{FirstEqual(m_last, range), m_last};
    if (m_main != m_last) {
        const std::uint64_t inMain = FirstEqual(m_main, {range.begin, hit.at});
        if (inMain < hit.at) hit = {inMain, m_main};
    }
    if (hit.at >= range.end) return std::nullopt;
    return hit;
}

/// Looks at every unit of the range only, which a long enough match cannot escape.
std::uint64_t Matcher::FirstEqual(Shift shift, Range range) const {
    std::uint64_t at = range.begin;
    while (at < range.end) {
        const Bytes inSource = m_source.From(at);
        const Bytes inReference = m_reference.From(at + shift);
        const auto size = static_cast<std::size_t>(
            std::min<std::uint64_t>({inSource.size(), inReference.size(), range.end - at}));
        if (inReference.empty()) return range.end;
        const std::size_t equal = FirstEqualUnit(inSource, inReference, size);
        if (equal + kUnit <= size) return at + equal;
        at += size;
    }
    return at;
}

std::optional<Match> Matcher::InIndex(RollingHash& hash, Range range, std::uint64_t begin) const {
    for (std::uint64_t at = range.begin; at < range.end;) {
        Bytes bytes = m_source.From(at);
        bytes = bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), range.end - at)));
        for (const std::uint8_t byte : bytes) {
            hash.Add(byte);
            ++at;
            if (at - begin < RollingHash::kWindow || !m_index.MayHave(hash)) continue;
            const auto found = m_index.Find(hash);
            if (!found) continue;
            const std::uint64_t window = at - RollingHash::kWindow;
            const Match match = Extended(window, *found - window, begin);
            if (match.length >= kShortest) return match;
            // The comparison may have replaced the block in the cache.
            break;
        }
    }
    return std::nullopt;
}

}  // namespace companions::delta
