// See ArchiveReader.h.
#include "companions/zip/ArchiveReader.h"

#include "companions/support/Fields.h"
#include "companions/zip/CentralDirectory.h"
#include "companions/zip/Codec.h"

namespace companions::zip {

ArchiveReader::ArchiveReader(const base::ByteSource& source, CodePage oem)
    : m_source(source), m_entries(ReadCentralDirectory(source, FindCentralDirectory(source), oem)) {}

void ArchiveReader::Extract(const Entry& entry, base::ByteSink& sink) const try {
    const Range compressed{m_source, entry.contentOffset, entry.compressedSize};
    const std::uint32_t crc = entry.method == Method::Deflated ? Inflate(compressed, entry.size, sink)
                                                               : Copy(compressed, entry.size, sink);
    if (crc != entry.crc) throw FormatError("its checksum is wrong");
} catch (const FormatError& error) {
    throw FormatError(entry.name + " is damaged: " + error.what() + "; get the archive again");
}

}  // namespace companions::zip
