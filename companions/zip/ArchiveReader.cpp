#include "companions/zip/ArchiveReader.h"

#include "companions/zip/Codec.h"
#include "companions/zip/Directory.h"

namespace companions::zip {

ArchiveReader::ArchiveReader(const ByteSource& source)
    : m_source(source), m_members(ReadDirectory(source, FindDirectory(source))) {}

void ArchiveReader::Extract(const Member& member, ByteSink& sink) const try {
    const Range packed{m_source, ContentOffset(member), member.packedSize};
    const std::uint32_t crc = member.method == Method::Deflated ? Inflate(packed, member.size, sink)
                                                                : Copy(packed, member.size, sink);
    if (crc != member.crc) throw FormatError("its checksum is wrong");
} catch (const FormatError& error) {
    throw FormatError(member.name + " is damaged: " + error.what() + "; get the archive again");
}

/// Name and extra fields of the local header may differ from those of the directory.
std::uint64_t ArchiveReader::ContentOffset(const Member& member) const {
    const auto header = ReadExactly(m_source, member.headerOffset, kLocalHeaderSize);
    FieldReader reader(header);
    if (reader.U32() != signature::kLocalHeader) throw FormatError("its header is missing");
    constexpr std::size_t kUpToNameSize = 22;
    reader.Skip(kUpToNameSize);
    const std::uint64_t nameSize = reader.U16();
    const std::uint64_t extrasSize = reader.U16();
    return member.headerOffset + kLocalHeaderSize + nameSize + extrasSize;
}

}  // namespace companions::zip
