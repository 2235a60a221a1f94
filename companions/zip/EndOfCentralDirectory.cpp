// See EndOfCentralDirectory.h.
#include "companions/zip/EndOfCentralDirectory.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "companions/support/Fields.h"
#include "companions/zip/Entry.h"

namespace companions::zip {

using base::Bytes;
using base::ByteSource;

namespace {

/// As far from the end of the file as other programs search: a comment and other bytes may follow the record.
constexpr std::size_t kSearched = 66'000;

/// The end of central directory record, and where it stands.
struct End {
    std::uint64_t offset = 0;
    Extent directory;
    bool needs64 = false;
};

[[noreturn]] void ThrowDisks() {
    throw FormatError("it is a part of an archive in several files; join them first");
}

/// The size of the comment behind an end of central directory record; nothing when none stands here.
std::optional<std::size_t> CommentSize(Bytes bytes) {
    FieldReader reader(bytes);
    if (reader.U32() != signature::kEnd) return {};
    constexpr std::size_t kUpToCommentSize = 16;
    reader.Skip(kUpToCommentSize);
    return reader.U16();
}

/// The record has no fixed place, and its comment may hold any text, such as another record: the one whose
/// comment ends with the file is it. Without such a one something was appended to the archive, and the last
/// is it.
std::size_t FindEnd(Bytes tail) {
    std::optional<std::size_t> last;
    for (std::size_t size = kEndSize; size <= tail.size(); ++size) {
        const std::optional<std::size_t> comment = CommentSize(tail.last(size));
        if (!comment || *comment > size - kEndSize) continue;
        const std::size_t start = tail.size() - size;
        if (*comment == size - kEndSize) return start;
        if (!last) last = start;
    }
    if (last) return *last;
    throw FormatError("it is no zip archive, or its end is missing");
}

End ReadEnd(const ByteSource& source) {
    const std::uint64_t size = source.Size();
    const auto tailSize = static_cast<std::size_t>(std::min<std::uint64_t>(size, kSearched));
    const auto tail = ReadRecord(source, size - tailSize, tailSize);
    const std::size_t start = FindEnd(tail);

    FieldReader reader(Bytes(tail).subspan(start));
    reader.Skip(sizeof signature::kEnd);
    const std::uint16_t disk = reader.U16();
    const std::uint16_t directoryDisk = reader.U16();
    const std::uint16_t entriesHere = reader.U16();
    End end;
    end.offset = size - tailSize + start;
    end.directory.entries = reader.U16();
    end.directory.size = reader.U32();
    end.directory.offset = reader.U32();
    end.needs64 = end.directory.entries == kSeeWider16 || end.directory.size == kSeeWider32 ||
                  end.directory.offset == kSeeWider32;
    if (!end.needs64 && (disk != 0 || directoryDisk != 0 || entriesHere != end.directory.entries))
        ThrowDisks();
    return end;
}

/// Where the end record of zip64 stands; nothing when there is none, and the narrow fields mean what they
/// say.
std::optional<std::uint64_t> FindEnd64(const ByteSource& source, const End& end) {
    if (!end.needs64 || end.offset < kLocator64Size) return {};
    const auto bytes = ReadRecord(source, end.offset - kLocator64Size, kLocator64Size);
    FieldReader reader(bytes);
    if (reader.U32() != signature::kLocator64) return {};
    reader.Skip(sizeof(std::uint32_t));
    const std::uint64_t offset = reader.U64();
    constexpr std::uint32_t kOnlyDisk = 1;
    if (reader.U32() > kOnlyDisk) ThrowDisks();
    return offset;
}

Extent ReadEnd64(const ByteSource& source, std::uint64_t offset) {
    const auto bytes = ReadRecord(source, offset, kEnd64Size);
    FieldReader reader(bytes);
    if (reader.U32() != signature::kEnd64) throw FormatError("its zip64 end record is missing");
    // The record's size, the versions, the disks, and the entries of this disk.
    constexpr std::size_t kUpToEntries = 28;
    reader.Skip(kUpToEntries);
    Extent directory;
    directory.entries = reader.U64();
    directory.size = reader.U64();
    directory.offset = reader.U64();
    return directory;
}

}  // namespace

Extent FindCentralDirectory(const ByteSource& source) {
    const End end = ReadEnd(source);
    const std::optional<std::uint64_t> end64 = FindEnd64(source, end);
    const Extent directory = end64 ? ReadEnd64(source, *end64) : end.directory;
    const std::uint64_t limit = end64.value_or(end.offset);
    if (limit > end.offset || directory.offset > limit || directory.size > limit - directory.offset)
        throw FormatError("its directory lies outside of the file");
    if (directory.entries > directory.size / kCentralHeaderSize)
        throw FormatError("its directory is too short for its members");
    // It is read as a whole, so that a false size would take any amount of memory. Something else, such as a
    // signature, may follow the entries.
    if (directory.entries < directory.size / kLongestCentralHeader ||
        !std::in_range<std::size_t>(directory.size))
        throw FormatError("its directory is too large for its members");
    return directory;
}

}  // namespace companions::zip
