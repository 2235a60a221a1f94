// See CentralDirectory.h.
#include "companions/zip/CentralDirectory.h"

#include <algorithm>
#include <functional>
#include <numeric>

#include "companions/zip/LocalHeader.h"

namespace companions::zip {

using base::FileTime;

namespace {

struct CentralHeader : FileHeader {
    std::uint32_t attributes = 0;
    std::uint64_t headerOffset = 0;
};

CentralHeader ReadHeader(FieldReader& reader) {
    if (reader.U32() != signature::kCentralHeader) throw FormatError("its directory is damaged");
    CentralHeader header;
    header.madeBy = reader.U16();
    reader.U16();  // version needed
    ReadCommon(reader, header);
    const std::size_t commentSize = reader.U16();
    reader.Skip(2 * sizeof(std::uint16_t));  // disk, internal attributes
    header.attributes = reader.U32();
    header.headerOffset = reader.U32();
    header.name = reader.Bytes(header.nameSize);
    header.extras = reader.Bytes(header.extrasSize);
    reader.Skip(commentSize);
    return header;
}

/// The extra field holds the values of those fields alone that say so, in this order.
void Widen(CentralHeader& header) {
    std::optional<FieldReader> wide = FindExtra(header.extras, extra::kZip64);
    if (!wide) return;
    for (std::uint64_t* field : {&header.size, &header.compressedSize, &header.headerOffset})
        if (*field == kSeeWider32) *field = wide->U64();
}

FileTime TimeOf(const CentralHeader& header) {
    constexpr std::size_t kSize = 5;
    std::optional<FieldReader> exact = FindExtra(header.extras, extra::kTimestamp);
    if (!exact || exact->Left() < kSize || (exact->Bytes(1)[0] & 1) == 0) return FromDosTime(header.time);
    return FileTime(std::chrono::seconds(static_cast<std::int32_t>(exact->U32())));
}

bool IsLink(const CentralHeader& header) {
    constexpr std::uint32_t kTypeMask = 0170000;
    constexpr std::uint32_t kLink = 0120000;
    return IsFromUnix(header) && (header.attributes >> 16 & kTypeMask) == kLink;
}

void CheckExtractable(const CentralHeader& header, const Entry& entry) {
    if ((header.flags & flag::kEncryptions) != 0)
        throw FormatError(entry.name + " is encrypted; ask for an archive without a password");
    if ((header.flags & flag::kPatch) != 0 ||
        (entry.method != Method::Stored && entry.method != Method::Deflated))
        throw FormatError(entry.name + " is compressed by method " + std::to_string(header.method) +
                          "; only stored and deflated members can be extracted");
    if (entry.method == Method::Stored && entry.compressedSize != entry.size)
        throw FormatError(entry.name + " has two different sizes");
    // Two bits at least stand for the longest match, of 258 bytes.
    constexpr std::uint64_t kMostPerDeflatedByte = 1032;
    if (entry.method == Method::Deflated && entry.size / kMostPerDeflatedByte > entry.compressedSize)
        throw FormatError(entry.name + " cannot be as large as the archive announces; get the archive again");
    if (IsLink(header)) throw FormatError(entry.name + " is a link; ask for an archive of files");
}

Entry ToEntry(const CentralHeader& header, CodePage oem) {
    Entry entry;
    entry.name = NameOf(header, oem);
    entry.time = TimeOf(header);
    entry.method = static_cast<Method>(header.method);
    entry.crc = header.crc;
    entry.compressedSize = header.compressedSize;
    entry.size = header.size;
    entry.headerOffset = header.headerOffset;
    CheckExtractable(header, entry);
    return entry;
}

/// From the last to the first: entries that share their bytes make a small archive grow without limit.
void FindContents(const base::ByteSource& source, const std::vector<CentralHeader>& headers,
                  std::vector<Entry>& entries, std::uint64_t end, CodePage oem) {
    std::vector<std::size_t> order(entries.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, std::ranges::greater(), [&](std::size_t i) { return entries[i].headerOffset; });
    for (const std::size_t i : order) {
        entries[i].contentOffset = FindContent(source, entries[i], headers[i], end, oem);
        end = entries[i].headerOffset;
    }
}

/// What may follow the last header is something else, such as a signature.
void CheckEnd(FieldReader reader) {
    if (reader.Left() >= sizeof signature::kCentralHeader && reader.U32() == signature::kCentralHeader)
        throw FormatError("its directory has more members than its end record tells");
}

}  // namespace

std::vector<Entry> ReadCentralDirectory(const base::ByteSource& source, const Extent& directory,
                                        CodePage oem) {
    const auto bytes = ReadRecord(source, directory.offset, static_cast<std::size_t>(directory.size));
    FieldReader reader(bytes);
    std::vector<CentralHeader> headers;
    std::vector<Entry> entries;
    for (std::uint64_t i = 0; i < directory.entries; ++i) {
        Widen(headers.emplace_back(ReadHeader(reader)));
        entries.push_back(ToEntry(headers.back(), oem));
    }
    CheckEnd(reader);
    FindContents(source, headers, entries, directory.offset, oem);
    return entries;
}

}  // namespace companions::zip
