#include "companions/zip/ArchiveWriter.h"

#include <algorithm>
#include <limits>

#include "companions/support/Fields.h"
#include "companions/zip/Codec.h"
#include "companions/zip/Directory.h"
#include "companions/zip/Time.h"

namespace companions::zip {

namespace {

constexpr std::uint16_t kVersionDeflate = 20;
constexpr std::uint16_t kVersion64 = 45;
/// The low byte of the attributes is the one of Windows.
constexpr std::uint32_t kAttributes = 0x20;

bool IsAscii(const std::string& text) {
    return std::ranges::all_of(text, [](char character) { return (character & 0x80) == 0; });
}

/// The value, or the mark that it stands in a wider field.
std::uint64_t Narrow(std::uint64_t value, std::uint64_t limit, std::uint64_t mark) {
    return value < limit ? value : mark;
}

/// Tells the exact second, whatever the time zone: the header's own time is local and even.
void AppendTimeExtra(FieldWriter& extras, FileTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    if (seconds < std::numeric_limits<std::int32_t>::min() ||
        seconds > std::numeric_limits<std::int32_t>::max())
        return;
    // One byte says that the modification time follows; signature and size precede it.
    constexpr std::uint8_t kHasModification[] = {1};
    extras.U16(extra::kTime).U16(5).Bytes(kHasModification).U32(static_cast<std::uint32_t>(seconds));
}

void AppendZip64Extra(FieldWriter& extras, const std::vector<std::uint64_t>& values) {
    if (values.empty()) return;
    extras.U16(extra::kZip64).U16(values.size() * sizeof(std::uint64_t));
    for (const std::uint64_t value : values)
        extras.U64(value);
}

/// The fields that a local header and a directory entry have in common, from version to size of the extra
/// fields.
void AppendCommon(FieldWriter& header, const Member& member, bool wide, std::uint64_t limit,
                  std::size_t extras) {
    const DosTime time = ToDosTime(member.time);
    header.U16(wide ? kVersion64 : kVersionDeflate)
        .U16(IsAscii(member.name) ? 0 : flag::kUtf8)
        .U16(static_cast<std::uint16_t>(member.method))
        .U16(time.time)
        .U16(time.date)
        .U32(member.crc)
        .U32(Narrow(member.packedSize, limit, kSeeWider32))
        .U32(Narrow(member.size, limit, kSeeWider32))
        .U16(member.name.size())
        .U16(extras);
}

/// Its length depends on name, time and size alone: it can be written again when the rest is known.
std::vector<std::uint8_t> LocalHeader(const Member& member, const Zip64Limits& limits) {
    const bool wide = member.size >= limits.bytes;
    FieldWriter extras;
    // Here the format wants both sizes or none.
    if (wide) AppendZip64Extra(extras, {member.size, member.packedSize});
    AppendTimeExtra(extras, member.time);
    FieldWriter header;
    header.U32(signature::kLocalHeader);
    AppendCommon(header, member, wide, wide ? 0 : limits.bytes, extras.Written().size());
    return header.Text(member.name).Bytes(extras.Written()).Written();
}

std::vector<std::uint8_t> DirectoryEntry(const Member& member, const Zip64Limits& limits) {
    std::vector<std::uint64_t> wide;
    for (const std::uint64_t value : {member.size, member.packedSize, member.headerOffset})
        if (value >= limits.bytes) wide.push_back(value);
    FieldWriter extras;
    AppendZip64Extra(extras, wide);
    AppendTimeExtra(extras, member.time);
    FieldWriter entry;
    entry.U32(signature::kDirectoryEntry).U16(wide.empty() ? kVersionDeflate : kVersion64);
    AppendCommon(entry, member, !wide.empty(), limits.bytes, extras.Written().size());
    entry
        .U16(0)  // comment
        .U16(0)  // disk
        .U16(0)  // internal attributes
        .U32(kAttributes)
        .U32(Narrow(member.headerOffset, limits.bytes, kSeeWider32));
    return entry.Text(member.name).Bytes(extras.Written()).Written();
}

void AppendEnd64(FieldWriter& end, const Directory& directory) {
    // The size of this record does not count the fields up to it.
    end.U32(signature::kDirectoryEnd64).U64(kDirectoryEnd64Size - 12).U16(kVersion64).U16(kVersion64);
    end.U32(0).U32(0).U64(directory.members).U64(directory.members).U64(directory.size).U64(directory.offset);
    constexpr std::uint32_t kDisks = 1;
    end.U32(signature::kLocator64).U32(0).U64(directory.offset + directory.size).U32(kDisks);
}

std::vector<std::uint8_t> DirectoryEnd(const Directory& directory, const Zip64Limits& limits) {
    FieldWriter end;
    if (directory.members >= limits.members || directory.offset >= limits.bytes ||
        directory.size >= limits.bytes)
        AppendEnd64(end, directory);
    const std::uint64_t members = Narrow(directory.members, limits.members, kSeeWider16);
    return end.U32(signature::kDirectoryEnd)
        .U16(0)
        .U16(0)
        .U16(members)
        .U16(members)
        .U32(Narrow(directory.size, limits.bytes, kSeeWider32))
        .U32(Narrow(directory.offset, limits.bytes, kSeeWider32))
        .U16(0)
        .Written();
}

void CheckName(const std::string& name) {
    constexpr std::size_t kLongest = 0xFFFF;
    if (name.size() > kLongest) throw Error("the name " + name + " is too long for an archive");
}

}  // namespace

const Member& ArchiveWriter::Add(const std::string& name, const ByteSource& content, FileTime time) {
    CheckName(name);
    Member member;
    member.name = name;
    member.time = time;
    member.size = content.Size();
    member.headerOffset = m_out.Size();
    m_out.Write(LocalHeader(member, m_limits));
    Pack(member, content);
    // With the sizes in front, whoever reads the archive needs no directory to find the members.
    m_out.WriteAt(member.headerOffset, LocalHeader(member, m_limits));
    return m_members.emplace_back(std::move(member));
}

void ArchiveWriter::Pack(Member& member, const ByteSource& content) {
    const std::uint64_t start = m_out.Size();
    Packed packed;
    if (m_level > 0 && member.size > 0) {
        member.method = Method::Deflated;
        packed = Deflate(content, m_level, m_out);
    }
    if (packed.packedSize >= packed.size) {
        m_out.Truncate(start);
        member.method = Method::Stored;
        packed = Store(content, m_out);
    }
    if (packed.size != member.size || content.Size() != member.size)
        throw Error(member.name +
                    " changed while it was read; close the program that writes it, and try again");
    member.crc = packed.crc;
    member.packedSize = packed.packedSize;
}

void ArchiveWriter::Finish() {
    FieldWriter entries;
    for (const Member& member : m_members)
        entries.Bytes(DirectoryEntry(member, m_limits));
    const Directory directory{m_out.Size(), entries.Written().size(), m_members.size()};
    m_out.Write(entries.Written());
    m_out.Write(DirectoryEnd(directory, m_limits));
}

}  // namespace companions::zip
