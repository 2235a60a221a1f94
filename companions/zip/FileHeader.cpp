// See FileHeader.h.
#include "companions/zip/FileHeader.h"

#include <zlib.h>

#include "base/Utf8.h"
#include "companions/zip/Entry.h"

namespace companions::zip {

using base::Bytes;

namespace {

/// The name in UTF-8 beside one in another character set; nothing when it belongs to another name than that.
std::optional<std::string> UnicodePath(const FileHeader& header) {
    constexpr std::size_t kVersionAndCrc = 5;
    std::optional<FieldReader> field = FindExtra(header.extras, extra::kUnicodePath);
    if (!field || field->Left() < kVersionAndCrc || field->Bytes(1)[0] != 1) return {};
    // Programs that know nothing of the field may have renamed the entry.
    if (field->U32() != crc32(0, header.name.data(), static_cast<uInt>(header.name.size()))) return {};
    const Bytes name = field->Bytes(field->Left());
    return std::string(name.begin(), name.end());
}

unsigned SystemOf(const FileHeader& header) { return header.madeBy >> 8U; }

/// With its file systems: FAT, NTFS by two numbers, VFAT.
bool IsFromDos(const FileHeader& header) {
    const unsigned system = SystemOf(header);
    return system == 0 || system == 10 || system == 11 || system == 14;
}

}  // namespace

void ReadCommon(FieldReader& reader, FileHeader& header) {
    header.flags = reader.U16();
    header.method = reader.U16();
    header.time.time = reader.U16();
    header.time.date = reader.U16();
    header.crc = reader.U32();
    header.compressedSize = reader.U32();
    header.size = reader.U32();
    header.nameSize = reader.U16();
    header.extrasSize = reader.U16();
}

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

bool IsFromUnix(const FileHeader& header) {
    constexpr unsigned kUnix = 3;
    constexpr unsigned kDarwin = 19;
    const unsigned system = SystemOf(header);
    return system == kUnix || system == kDarwin;
}

std::string NameOf(const FileHeader& header, CodePage oem) {
    std::string name(header.name.begin(), header.name.end());
    if ((header.flags & flag::kUtf8) != 0) return name;
    if (const auto unicode = UnicodePath(header)) return *unicode;
    // Where file names are UTF-8 anyway, programs leave the mark out.
    if (IsFromUnix(header) && base::DecodedUtf8(name)) return name;
    const auto text = oem && IsFromDos(header) ? oem(name) : std::nullopt;
    return text ? base::ToUtf8(*text) : FromCodePage437(name);
}

}  // namespace companions::zip
