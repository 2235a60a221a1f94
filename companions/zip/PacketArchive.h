// Whether an archive holds one packet and nothing else.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/ByteStream.h"
#include "companions/zip/Extraction.h"

namespace companions::zip {

/// Why an archive must not be extracted, without its paths, in the place of a packet: a sentence that names
/// the reason and the way out. Nothing when it can be, and holds a file of the packet's name alone. The
/// content is not read. fold: as for PlanExtraction.
std::optional<std::wstring> PacketObjection(const base::ByteSource& archive, std::wstring_view packet,
                                            Folding fold);

}  // namespace companions::zip
