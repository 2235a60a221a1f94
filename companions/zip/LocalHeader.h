// Reads the header before a member's content, which must not contradict the central directory.
#pragma once

#include "companions/zip/Entry.h"
#include "companions/zip/FileHeader.h"

namespace companions::zip {

/// Where an entry's content begins. limit: where it has to end, with its header. Throws FormatError also when
/// the local header names or describes another file than the central one: one of them is damaged then, and
/// the content would get the name of another file.
std::uint64_t FindContent(const base::ByteSource& source, const Entry& entry, const FileHeader& central,
                          std::uint64_t limit, CodePage oem);

}  // namespace companions::zip
