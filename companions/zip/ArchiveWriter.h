// Writes a zip archive.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteStream.h"
#include "companions/zip/Entry.h"

namespace companions::zip {

/// The first numbers that need the wide fields of zip64. Smaller ones make small archives use them.
struct Zip64Limits {
    std::uint64_t bytes = kSeeWider32;
    std::uint64_t entries = kSeeWider16;
};

class ArchiveWriter {
public:
    /// level: 0 (stored), 1 (fastest) to 9 (smallest)
    ArchiveWriter(base::SeekableSink& out, int level, Zip64Limits limits = {})
        : m_out(out), m_level(level), m_limits(limits) {}

    /// name: in UTF-8. Deflates the content, or stores it where that is not longer. Throws when the content's
    /// size changes meanwhile.
    const Entry& Add(const std::string& name, const base::ByteSource& content, base::FileTime time);
    /// Writes the central directory, which completes the archive.
    void Finish();

private:
    void Compress(Entry& entry, const base::ByteSource& content);

    base::SeekableSink& m_out;
    int m_level;
    Zip64Limits m_limits;
    std::vector<Entry> m_entries;
};

}  // namespace companions::zip
