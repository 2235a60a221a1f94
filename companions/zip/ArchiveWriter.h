// Writes a zip archive into a new file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "companions/support/File.h"
#include "companions/zip/Member.h"

namespace companions::zip {

/// The first numbers that need the wide fields of zip64. Smaller ones make small archives use them.
struct Zip64Limits {
    std::uint64_t bytes = kSeeWider32;
    std::uint64_t members = kSeeWider16;
};

class ArchiveWriter {
public:
    /// level: 0 (stored), 1 (fastest) to 9 (smallest)
    ArchiveWriter(OutputFile& out, int level, Zip64Limits limits = {})
        : m_out(out), m_level(level), m_limits(limits) {}

    /// Deflates the content, or stores it where that is not longer. Throws when the content's size changes
    /// meanwhile.
    const Member& Add(const std::string& name, const ByteSource& content, FileTime time);
    /// Writes the directory, which completes the archive.
    void Finish();

private:
    void Pack(Member& member, const ByteSource& content);

    OutputFile& m_out;
    int m_level;
    Zip64Limits m_limits;
    std::vector<Member> m_members;
};

}  // namespace companions::zip
