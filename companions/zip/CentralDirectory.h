// Reads the central directory of an archive, which tells of its entries.
#pragma once

#include <vector>

#include "companions/zip/EndOfCentralDirectory.h"
#include "companions/zip/Entry.h"
#include "companions/zip/Names.h"

namespace companions::zip {

/// Throws FormatError for entries that cannot be extracted: encrypted, of an unknown method, links, and those
/// whose local header contradicts the directory. oem: as for NameOf.
std::vector<Entry> ReadCentralDirectory(const base::ByteSource& source, const Extent& directory,
                                        CodePage oem);

}  // namespace companions::zip
