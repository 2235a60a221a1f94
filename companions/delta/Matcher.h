// Finds the stretches of a source that are in the reference, too.
#pragma once

#include <array>
#include <optional>

#include "companions/delta/BlockCache.h"
#include "companions/delta/BlockIndex.h"

namespace companions::delta {

/// Bytes of the source that are to be copied from the reference.
struct Match {
    std::uint64_t source = 0;     ///< offset
    std::uint64_t reference = 0;  ///< offset
    std::uint64_t length = 0;

    std::uint64_t End() const { return source + length; }
};

/// Most of a changed file is where it was, so what follows a match is looked for behind it first; the index
/// is asked only for what is not there.
class Matcher {
public:
    Matcher(BlockCache& reference, BlockCache& source, const BlockIndex& index);

    /// The first good match at or behind begin; none when the rest of the source is new.
    std::optional<Match> Next(std::uint64_t begin);

private:
    /// What is added to an offset in the source to get the one in the reference, modulo 2^64.
    using Shift = std::uint64_t;

    struct Range {
        std::uint64_t begin;
        std::uint64_t end;
    };

    struct Hit {
        std::uint64_t at;
        Shift shift;
    };

    Match Extended(std::uint64_t at, Shift shift, std::uint64_t begin) const;
    std::optional<Hit> AtKnownShifts(Range range) const;
    std::optional<Match> InIndex(RollingHash& hash, Range range, std::uint64_t begin) const;
    std::uint64_t FirstEqual(Shift shift, Range range) const;
    Match Remembered(const Match& match);

    BlockCache& m_reference;
    BlockCache& m_source;
    const BlockIndex& m_index;
    // Of the last match, and of the last long one: after a stray match things mostly go on as before it.
    Shift m_last = 0;
    Shift m_main = 0;
};

}  // namespace companions::delta
