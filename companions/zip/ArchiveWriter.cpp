// See ArchiveWriter.h.
#include "companions/zip/ArchiveWriter.h"

#include <algorithm>
#include <limits>

#include "companions/support/Fields.h"
#include "companions/zip/Codec.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/EndOfCentralDirectory.h"

namespace companions::zip {

using base::ByteSource;
using base::FileTime;

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
    extras.U16(extra::kTimestamp).U16(5).Bytes(kHasModification).U32(static_cast<std::uint32_t>(seconds));
}

void AppendZip64Extra(FieldWriter& extras, const std::vector<std::uint64_t>& values) {
    if (values.empty()) return;
    extras.U16(extra::kZip64).U16(values.size() * sizeof(std::uint64_t));
    for (const std::uint64_t value : values)
        extras.U64(value);
}

/// The fields that a local and a central file header have in common, from version to size of the extra
/// fields.
void AppendCommon(FieldWriter& header, const Entry& entry, bool wide, std::uint64_t limit,
                  std::size_t extras) {
    const DosTime time = ToDosTime(entry.time);
    header.U16(wide ? kVersion64 : kVersionDeflate)
        .U16(IsAscii(entry.name) ? 0 : flag::kUtf8)
        .U16(static_cast<std::uint16_t>(entry.method))
        .U16(time.time)
        .U16(time.date)
        .U32(entry.crc)
        .U32(Narrow(entry.compressedSize, limit, kSeeWider32))
        .U32(Narrow(entry.size, limit, kSeeWider32))
        .U16(entry.name.size())
        .U16(extras);
}

/// Its length depends on name, time and size alone: it can be written again when the rest is known.
std::vector<std::uint8_t> LocalHeader(const Entry& entry, const Zip64Limits& limits) {
    const bool wide = entry.size >= limits.bytes;
    FieldWriter extras;
    // Here the format wants both sizes or none.
    if (wide) AppendZip64Extra(extras, {entry.size, entry.compressedSize});
    AppendTimeExtra(extras, entry.time);
    FieldWriter header;
    header.U32(signature::kLocalHeader);
    AppendCommon(header, entry, wide, wide ? 0 : limits.bytes, extras.Written().size());
    return header.Text(entry.name).Bytes(extras.Written()).Written();
}

std::vector<std::uint8_t> CentralHeader(const Entry& entry, const Zip64Limits& limits) {
    std::vector<std::uint64_t> wide;
    for (const std::uint64_t value : {entry.size, entry.compressedSize, entry.headerOffset})
        if (value >= limits.bytes) wide.push_back(value);
    FieldWriter extras;
    AppendZip64Extra(extras, wide);
    AppendTimeExtra(extras, entry.time);
    FieldWriter header;
    header.U32(signature::kCentralHeader).U16(wide.empty() ? kVersionDeflate : kVersion64);
    AppendCommon(header, entry, !wide.empty(), limits.bytes, extras.Written().size());
    header
        .U16(0)  // comment
        .U16(0)  // disk
        .U16(0)  // internal attributes
        .U32(kAttributes)
        .U32(Narrow(entry.headerOffset, limits.bytes, kSeeWider32));
    return header.Text(entry.name).Bytes(extras.Written()).Written();
}

void AppendEnd64(FieldWriter& end, const Extent& directory) {
    // The size of this record does not count the fields up to it.
    end.U32(signature::kEnd64).U64(kEnd64Size - 12).U16(kVersion64).U16(kVersion64);
    end.U32(0).U32(0).U64(directory.entries).U64(directory.entries).U64(directory.size).U64(directory.offset);
    constexpr std::uint32_t kDisks = 1;
    end.U32(signature::kLocator64).U32(0).U64(directory.offset + directory.size).U32(kDisks);
}

std::vector<std::uint8_t> EndOfCentralDirectory(const Extent& directory, const Zip64Limits& limits) {
    FieldWriter end;
    if (directory.entries >= limits.entries || directory.offset >= limits.bytes ||
        directory.size >= limits.bytes)
        AppendEnd64(end, directory);
    const std::uint64_t entries = Narrow(directory.entries, limits.entries, kSeeWider16);
    return end.U32(signature::kEnd)
        .U16(0)
        .U16(0)
        .U16(entries)
        .U16(entries)
        .U32(Narrow(directory.size, limits.bytes, kSeeWider32))
        .U32(Narrow(directory.offset, limits.bytes, kSeeWider32))
        .U16(0)
        .Written();
}

void CheckName(const std::string& name) {
    constexpr std::size_t kLongest = 0xFFFF;
    if (name.size() > kLongest)
        throw base::Error(base::kInvalidData, "the name " + name + " is too long for an archive");
}

}  // namespace

const Entry& ArchiveWriter::Add(const std::string& name, const ByteSource& content, FileTime time) {
    CheckName(name);
    Entry entry;
    entry.name = name;
    entry.time = time;
    entry.size = content.Size();
    entry.headerOffset = m_out.Size();
    m_out.Write(LocalHeader(entry, m_limits));
    Compress(entry, content);
    // With the sizes in front, whoever reads the archive needs no central directory to find the entries.
    m_out.WriteAt(entry.headerOffset, LocalHeader(entry, m_limits));
    return m_entries.emplace_back(std::move(entry));
}

void ArchiveWriter::Compress(Entry& entry, const ByteSource& content) {
    const std::uint64_t start = m_out.Size();
    Compressed compressed;
    if (m_level > 0 && entry.size > 0) {
        entry.method = Method::Deflated;
        compressed = Deflate(content, m_level, m_out);
    }
    if (compressed.compressedSize >= compressed.size) {
        m_out.Truncate(start);
        entry.method = Method::Stored;
        compressed = Store(content, m_out);
    }
    if (compressed.size != entry.size || content.Size() != entry.size)
        throw base::Error(base::kInvalidData,
                          entry.name +
                              " changed while it was read; close the program that writes it, and try again");
    entry.crc = compressed.crc;
    entry.compressedSize = compressed.compressedSize;
}

void ArchiveWriter::Finish() {
    FieldWriter headers;
    for (const Entry& entry : m_entries)
        headers.Bytes(CentralHeader(entry, m_limits));
    const Extent directory{m_out.Size(), headers.Written().size(), m_entries.size()};
    m_out.Write(headers.Written());
    m_out.Write(EndOfCentralDirectory(directory, m_limits));
}

}  // namespace companions::zip
