// See LocalHeader.h.
#include "companions/zip/LocalHeader.h"

namespace companions::zip {

namespace {

[[noreturn]] void ThrowOverlap(const Entry& entry) {
    throw FormatError(entry.name + " overlaps another part of the archive");
}

/// The fields of fixed size. The central header tells what they leave out.
FileHeader ReadFixedFields(const base::ByteSource& source, const Entry& entry, const FileHeader& central) {
    const auto bytes = ReadRecord(source, entry.headerOffset, kLocalHeaderSize);
    FieldReader reader(bytes);
    if (reader.U32() != signature::kLocalHeader) throw FormatError(entry.name + " has no header");
    reader.U16();  // version needed
    FileHeader header;
    ReadCommon(reader, header);
    header.madeBy = central.madeBy;
    return header;
}

/// Here the format wants both sizes or none.
void Widen(FileHeader& header) {
    std::optional<FieldReader> wide = FindExtra(header.extras, extra::kZip64);
    if (!wide || wide->Left() < 2 * sizeof(std::uint64_t)) return;
    for (std::uint64_t* size : {&header.size, &header.compressedSize}) {
        const std::uint64_t value = wide->U64();
        if (*size == kSeeWider32) *size = value;
    }
}

/// Some programs give the name in UTF-8 in the central directory alone.
std::string NameOf(FileHeader local, const FileHeader& central, CodePage oem) {
    if (!FindExtra(local.extras, extra::kUnicodePath)) local.extras = central.extras;
    return zip::NameOf(local, oem);
}

/// What is not known yet when the local header is written is zero, or all ones, there.
bool Agrees(std::uint64_t local, std::uint64_t central, bool comesLater) {
    return local == central || local == kSeeWider32 || (comesLater && local == 0);
}

bool Agrees(const FileHeader& local, const FileHeader& central, const std::string& name, CodePage oem) {
    const bool comesLater = ((local.flags | central.flags) & flag::kDescriptor) != 0;
    return NameOf(local, central, oem) == name && local.method == central.method &&
           ((local.flags ^ central.flags) & flag::kEncryptions) == 0 &&
           Agrees(local.crc, central.crc, comesLater) && Agrees(local.size, central.size, comesLater) &&
           Agrees(local.compressedSize, central.compressedSize, comesLater);
}

}  // namespace

std::uint64_t FindContent(const base::ByteSource& source, const Entry& entry, const FileHeader& central,
                          std::uint64_t limit, CodePage oem) {
    if (entry.headerOffset > limit || limit - entry.headerOffset < kLocalHeaderSize) ThrowOverlap(entry);
    FileHeader local = ReadFixedFields(source, entry, central);
    const std::uint64_t nameOffset = entry.headerOffset + kLocalHeaderSize;
    const std::size_t variable = std::size_t{local.nameSize} + local.extrasSize;
    const std::uint64_t room = limit - nameOffset;
    if (variable > room || entry.compressedSize > room - variable) ThrowOverlap(entry);

    const auto bytes = ReadRecord(source, nameOffset, variable);
    local.name = base::Bytes(bytes).first(local.nameSize);
    local.extras = base::Bytes(bytes).subspan(local.nameSize);
    Widen(local);
    if (!Agrees(local, central, entry.name, oem))
        throw FormatError(entry.name + " has two headers that contradict each other; get the archive again");
    return nameOffset + variable;
}

}  // namespace companions::zip
