// Whether an archive holds one packet and nothing else.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/ByteStream.h"
#include "companions/zip/Extraction.h"

namespace companions::zip {

/// Why an archive must not be extracted, without its paths, in the place of a packet: what it holds instead,
/// and the way out. Nothing when it holds a file of the packet's name alone, whose content is not read.
/// Throws FormatError for what cannot be extracted at all. fold: as for PlanExtraction. oem: as for the
/// reader that extracts it, which is to write the file that was judged.
std::optional<std::wstring> PacketObjection(const base::ByteSource& archive, std::wstring_view packet,
                                            Folding fold, CodePage oem = nullptr);

}  // namespace companions::zip
