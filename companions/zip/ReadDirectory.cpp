#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "companions/support/Fields.h"
#include "companions/zip/Directory.h"
#include "companions/zip/Names.h"
#include "companions/zip/Time.h"

namespace companions::zip {

namespace {

/// What an entry says, before it is understood.
struct Entry {
    std::uint16_t madeBy = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    DosTime time;
    std::uint32_t crc = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t size = 0;
    std::uint32_t attributes = 0;
    std::uint64_t headerOffset = 0;
    std::span<const std::uint8_t> name;
    std::span<const std::uint8_t> extras;
};

Entry ReadEntry(FieldReader& reader) {
    if (reader.U32() != signature::kDirectoryEntry) throw FormatError("its directory is damaged");
    Entry entry;
    entry.madeBy = reader.U16();
    reader.U16();  // version needed
    entry.flags = reader.U16();
    entry.method = reader.U16();
    entry.time.time = reader.U16();
    entry.time.date = reader.U16();
    entry.crc = reader.U32();
    entry.packedSize = reader.U32();
    entry.size = reader.U32();
    const std::size_t nameSize = reader.U16();
    const std::size_t extrasSize = reader.U16();
    const std::size_t commentSize = reader.U16();
    reader.Skip(2 * sizeof(std::uint16_t));  // disk, internal attributes
    entry.attributes = reader.U32();
    entry.headerOffset = reader.U32();
    entry.name = reader.Bytes(nameSize);
    entry.extras = reader.Bytes(extrasSize);
    reader.Skip(commentSize);
    return entry;
}

/// An extra field that is there; others than the asked one may be damaged without harm.
std::optional<FieldReader> FindExtra(std::span<const std::uint8_t> extras, std::uint16_t wanted) {
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
void Widen(Entry& entry) {
    std::optional<FieldReader> wide = FindExtra(entry.extras, extra::kZip64);
    if (!wide) return;
    for (std::uint64_t* field : {&entry.size, &entry.packedSize, &entry.headerOffset})
        if (*field == kSeeWider32) *field = wide->U64();
}

FileTime TimeOf(const Entry& entry) {
    constexpr std::size_t kSize = 5;
    std::optional<FieldReader> exact = FindExtra(entry.extras, extra::kTime);
    if (!exact || exact->Left() < kSize || (exact->Bytes(1)[0] & 1) == 0) return FromDosTime(entry.time);
    return FileTime(std::chrono::seconds(static_cast<std::int32_t>(exact->U32())));
}

bool IsFromUnix(const Entry& entry) {
    constexpr unsigned kUnix = 3;
    constexpr unsigned kDarwin = 19;
    const unsigned system = entry.madeBy >> 8;
    return system == kUnix || system == kDarwin;
}

std::string NameOf(const Entry& entry) {
    const bool isUtf8 = (entry.flags & flag::kUtf8) != 0;
    if (const auto unicode = FindExtra(entry.extras, extra::kUnicodePath); unicode && !isUtf8)
        if (const auto name = UnicodePath(*unicode, entry.name)) return *name;
    const std::string_view raw(reinterpret_cast<const char*>(entry.name.data()), entry.name.size());
    // Where file names are UTF-8 anyway, programs leave the mark out.
    return isUtf8 || (IsFromUnix(entry) && IsUtf8(raw)) ? std::string(raw) : FromOemCharacters(raw);
}

bool IsLink(const Entry& entry) {
    constexpr std::uint32_t kTypeMask = 0170000;
    constexpr std::uint32_t kLink = 0120000;
    return IsFromUnix(entry) && (entry.attributes >> 16 & kTypeMask) == kLink;
}

void CheckExtractable(const Entry& entry, const Member& member) {
    constexpr std::uint16_t kEncryptions = flag::kEncrypted | flag::kStronglyEncrypted | flag::kMaskedHeaders;
    if ((entry.flags & kEncryptions) != 0)
        throw FormatError(member.name + " is encrypted; ask for an archive without a password");
    if ((entry.flags & flag::kPatch) != 0 ||
        (member.method != Method::Stored && member.method != Method::Deflated))
        throw FormatError(member.name + " is compressed by method " + std::to_string(entry.method) +
                          "; only stored and deflated members can be extracted");
    if (member.method == Method::Stored && member.packedSize != member.size)
        throw FormatError(member.name + " has two different sizes");
    if (IsLink(entry)) throw FormatError(member.name + " is a link; ask for an archive of files");
}

Member ToMember(Entry entry) {
    Widen(entry);
    Member member;
    member.name = NameOf(entry);
    member.time = TimeOf(entry);
    member.method = static_cast<Method>(entry.method);
    member.crc = entry.crc;
    member.packedSize = entry.packedSize;
    member.size = entry.size;
    member.headerOffset = entry.headerOffset;
    CheckExtractable(entry, member);
    return member;
}

/// Members that share their bytes make a small archive grow without limit.
void CheckOverlaps(const std::vector<Member>& members, std::uint64_t end) {
    std::vector<const Member*> order;
    order.reserve(members.size());
    for (const Member& member : members)
        order.push_back(&member);
    std::ranges::sort(order, {}, &Member::headerOffset);
    std::uint64_t next = end;
    for (std::size_t i = order.size(); i-- > 0;) {
        const Member& member = *order[i];
        const std::uint64_t header = kLocalHeaderSize;
        if (member.headerOffset > next || next - member.headerOffset < header ||
            member.packedSize > next - member.headerOffset - header)
            throw FormatError(member.name + " overlaps another part of the archive");
        next = member.headerOffset;
    }
}

}  // namespace

std::vector<Member> ReadDirectory(const ByteSource& source, const Directory& directory) {
    const auto bytes = ReadExactly(source, directory.offset, static_cast<std::size_t>(directory.size));
    FieldReader reader(bytes);
    std::vector<Member> members;
    for (std::uint64_t i = 0; i < directory.members; ++i)
        members.push_back(ToMember(ReadEntry(reader)));
    CheckOverlaps(members, directory.offset);
    return members;
}

}  // namespace companions::zip
