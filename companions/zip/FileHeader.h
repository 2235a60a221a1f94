// The header of a member, before it is understood: the one before its content, or that in the central
// directory.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/ByteStream.h"
#include "companions/support/Fields.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/Names.h"

namespace companions::zip {

struct FileHeader {
    std::uint16_t madeBy = 0;  ///< the central header alone tells it
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    DosTime time;
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint16_t nameSize = 0;
    std::uint16_t extrasSize = 0;
    base::Bytes name;
    base::Bytes extras;
};

/// Reads what both headers have in common, from the flags to the size of the extra fields.
void ReadCommon(FieldReader& reader, FileHeader& header);

/// An extra field that is there; others than the asked one may be damaged without harm.
std::optional<FieldReader> FindExtra(base::Bytes extras, std::uint16_t wanted);

bool IsFromUnix(const FileHeader& header);

/// In UTF-8, whichever character set the header uses. oem: the code page of MS-DOS on this computer, which
/// programs of Windows take for names that they do not mark; null for that of the format.
std::string NameOf(const FileHeader& header, CodePage oem);

}  // namespace companions::zip
