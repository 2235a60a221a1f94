// Reads a zip archive by its central directory.
#pragma once

#include <vector>

#include "base/ByteStream.h"
#include "companions/zip/Entry.h"
#include "companions/zip/Names.h"

namespace companions::zip {

class ArchiveReader {
public:
    /// Reads and checks all headers. The caller keeps the source. oem: as for NameOf. Throws FormatError.
    explicit ArchiveReader(const base::ByteSource& source, CodePage oem = nullptr);

    /// In the order of the directory.
    const std::vector<Entry>& Entries() const { return m_entries; }
    /// Writes an entry's content, and checks it: the sink's bytes count only when this returns. Throws
    /// FormatError.
    void Extract(const Entry& entry, base::ByteSink& sink) const;

private:
    const base::ByteSource& m_source;
    std::vector<Entry> m_entries;
};

}  // namespace companions::zip
