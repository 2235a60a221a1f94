// See CentralDirectory.h.
#include "companions/zip/CentralDirectory.h"

#include <zlib.h>

#include <algorithm>
#include <optional>
#include <string>

#include "base/Utf8.h"
#include "companions/support/Fields.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/Names.h"

namespace companions::zip {

using base::Bytes;
using base::FileTime;

namespace {

/// A central directory file header, before it is understood.
struct CentralHeader {
    std::uint16_t madeBy = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    DosTime time;
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint32_t attributes = 0;
    std::uint64_t headerOffset = 0;
    Bytes name;
    Bytes extras;
};

CentralHeader ReadHeader(FieldReader& reader) {
    if (reader.U32() != signature::kCentralHeader) throw FormatError("its directory is damaged");
    CentralHeader header;
    header.madeBy = reader.U16();
    reader.U16();  // version needed
    header.flags = reader.U16();
    header.method = reader.U16();
    header.time.time = reader.U16();
    header.time.date = reader.U16();
    header.crc = reader.U32();
    header.compressedSize = reader.U32();
    header.size = reader.U32();
    const std::size_t nameSize = reader.U16();
    const std::size_t extrasSize = reader.U16();
    const std::size_t commentSize = reader.U16();
    reader.Skip(2 * sizeof(std::uint16_t));  // disk, internal attributes
    header.attributes = reader.U32();
    header.headerOffset = reader.U32();
    header.name = reader.Bytes(nameSize);
    header.extras = reader.Bytes(extrasSize);
    reader.Skip(commentSize);
    return header;
}

/// An extra field that is there; others than the asked one may be damaged without harm.
std::optional<FieldReader> FindExtra(Bytes extras, std::uint16_t wanted) {
    FieldReader reader(extras);
    while (reader.Left() >= 2 * sizeof(std::uint16_t)) {
        const std::uint16_t id = reader.U16();
        const std::size_t size = reader.U16();
        if (size > reader.Left()) return {};
        const auto content = reader.Bytes(size);
        if (id == wanted) return FieldReader(content);
    }
    return {};
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

bool IsFromUnix(const CentralHeader& header) {
    constexpr unsigned kUnix = 3;
    constexpr unsigned kDarwin = 19;
    const unsigned system = header.madeBy >> 8;
    return system == kUnix || system == kDarwin;
}

/// The name in UTF-8 beside one in another character set; nothing when it belongs to another name than that.
std::optional<std::string> UnicodePath(const CentralHeader& header) {
    constexpr std::size_t kVersionAndCrc = 5;
    std::optional<FieldReader> field = FindExtra(header.extras, extra::kUnicodePath);
    if (!field || field->Left() < kVersionAndCrc || field->Bytes(1)[0] != 1) return {};
    // Programs that know nothing of the field may have renamed the entry.
    if (field->U32() != crc32(0, header.name.data(), static_cast<uInt>(header.name.size()))) return {};
    const Bytes name = field->Bytes(field->Left());
    return std::string(name.begin(), name.end());
}

std::string NameOf(const CentralHeader& header) {
    std::string name(header.name.begin(), header.name.end());
    if ((header.flags & flag::kUtf8) != 0) return name;
    if (const auto unicode = UnicodePath(header)) return *unicode;
    // Where file names are UTF-8 anyway, programs leave the mark out.
    return IsFromUnix(header) && base::DecodedUtf8(name) ? name : FromCodePage437(name);
}

bool IsLink(const CentralHeader& header) {
    constexpr std::uint32_t kTypeMask = 0170000;
    constexpr std::uint32_t kLink = 0120000;
    return IsFromUnix(header) && (header.attributes >> 16 & kTypeMask) == kLink;
}

void CheckExtractable(const CentralHeader& header, const Entry& entry) {
    constexpr std::uint16_t kEncryptions = flag::kEncrypted | flag::kStronglyEncrypted | flag::kMaskedHeaders;
    if ((header.flags & kEncryptions) != 0)
        throw FormatError(entry.name + " is encrypted; ask for an archive without a password");
    if ((header.flags & flag::kPatch) != 0 ||
        (entry.method != Method::Stored && entry.method != Method::Deflated))
        throw FormatError(entry.name + " is compressed by method " + std::to_string(header.method) +
                          "; only stored and deflated members can be extracted");
    if (entry.method == Method::Stored && entry.compressedSize != entry.size)
        throw FormatError(entry.name + " has two different sizes");
    if (IsLink(header)) throw FormatError(entry.name + " is a link; ask for an archive of files");
}

Entry ToEntry(CentralHeader header) {
    Widen(header);
    Entry entry;
    entry.name = NameOf(header);
    entry.time = TimeOf(header);
    entry.method = static_cast<Method>(header.method);
    entry.crc = header.crc;
    entry.compressedSize = header.compressedSize;
    entry.size = header.size;
    entry.headerOffset = header.headerOffset;
    CheckExtractable(header, entry);
    return entry;
}

/// Entries that share their bytes make a small archive grow without limit.
void CheckOverlaps(const std::vector<Entry>& entries, std::uint64_t end) {
    std::vector<const Entry*> order;
    order.reserve(entries.size());
    for (const Entry& entry : entries)
        order.push_back(&entry);
    std::ranges::sort(order, {}, &Entry::headerOffset);
    std::uint64_t next = end;
    for (std::size_t i = order.size(); i-- > 0;) {
        const Entry& entry = *order[i];
        const std::uint64_t header = kLocalHeaderSize;
        if (entry.headerOffset > next || next - entry.headerOffset < header ||
            entry.compressedSize > next - entry.headerOffset - header)
            throw FormatError(entry.name + " overlaps another part of the archive");
        next = entry.headerOffset;
    }
}

}  // namespace

std::vector<Entry> ReadCentralDirectory(const base::ByteSource& source, const Extent& directory) {
    const auto bytes = ReadRecord(source, directory.offset, static_cast<std::size_t>(directory.size));
    FieldReader reader(bytes);
    std::vector<Entry> entries;
    for (std::uint64_t i = 0; i < directory.entries; ++i)
        entries.push_back(ToEntry(ReadHeader(reader)));
    CheckOverlaps(entries, directory.offset);
    return entries;
}

}  // namespace companions::zip
