// See PacketArchive.h.
#include "companions/zip/PacketArchive.h"

#include "base/Utf8.h"
#include "companions/zip/ArchiveReader.h"

namespace companions::zip {

namespace {

/// What an archive holds when that is not the packet alone; else nothing.
std::wstring OtherContent(const std::vector<Entry>& entries, std::wstring_view packet, Folding fold) {
    if (entries.size() != 1) return std::to_wstring(entries.size()) + L" members";
    const Entry& entry = entries.front();
    if (entry.IsFolder()) return L"the folder " + base::FromUtf8(entry.name);
    if (fold(TargetPath(entry.name, Paths::Junk)) != fold(packet)) return base::FromUtf8(entry.name);
    return {};
}

}  // namespace

std::optional<std::wstring> PacketObjection(const base::ByteSource& archive, std::wstring_view packet,
                                            Folding fold, CodePage oem) {
    const std::wstring other = OtherContent(ArchiveReader(archive, oem).Entries(), packet, fold);
    if (other.empty()) return std::nullopt;
    const std::wstring name(packet);
    return L"the archive holds " + other + L" in the place of " + name +
           L"; ask its sender for an archive of " + name + L" alone.";
}

}  // namespace companions::zip
