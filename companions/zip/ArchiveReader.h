// Reads a zip archive by its directory.
#pragma once

#include <vector>

#include "companions/support/Bytes.h"
#include "companions/support/Fields.h"
#include "companions/zip/Member.h"

namespace companions::zip {

class ArchiveReader {
public:
    /// Reads the directory. The caller keeps the source.
    explicit ArchiveReader(const ByteSource& source);

    /// In the order of the directory.
    const std::vector<Member>& Members() const { return m_members; }
    /// Writes a member's content, and checks it: the sink's bytes count only when this returns.
    void Extract(const Member& member, ByteSink& sink) const;

private:
    std::uint64_t ContentOffset(const Member& member) const;

    const ByteSource& m_source;
    std::vector<Member> m_members;
};

}  // namespace companions::zip
