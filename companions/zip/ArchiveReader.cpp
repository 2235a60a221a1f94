// See ArchiveReader.h.
#include "companions/zip/ArchiveReader.h"

#include "companions/support/Fields.h"
#include "companions/zip/CentralDirectory.h"
#include "companions/zip/Codec.h"

namespace companions::zip {

ArchiveReader::ArchiveReader(const base::ByteSource& source)
    : m_source(source), m_entries(ReadCentralDirectory(source, FindCentralDirectory(source))) {}

void ArchiveReader::Extract(const Entry& entry, base::ByteSink& sink) const try {
    const Range compressed{m_source, ContentOffset(entry), entry.compressedSize};
    const std::uint32_t crc = entry.method == Method::Deflated ? Inflate(compressed, entry.size, sink)
                                                               : Copy(compressed, entry.size, sink);
    if (crc != entry.crc) throw FormatError("its checksum is wrong");
} catch (const FormatError& error) {
    throw FormatError(entry.name + " is damaged: " + error.what() + "; get the archive again");
}

/// Name and extra fields of the local file header may differ from those of the central directory.
std::uint64_t ArchiveReader::ContentOffset(const Entry& entry) const {
    const auto header = ReadRecord(m_source, entry.headerOffset, kLocalHeaderSize);
    FieldReader reader(header);
    if (reader.U32() != signature::kLocalHeader) throw FormatError("its header is missing");
    constexpr std::size_t kUpToNameSize = 22;
    reader.Skip(kUpToNameSize);
    const std::uint64_t nameSize = reader.U16();
    const std::uint64_t extrasSize = reader.U16();
    return entry.headerOffset + kLocalHeaderSize + nameSize + extrasSize;
}

}  // namespace companions::zip
