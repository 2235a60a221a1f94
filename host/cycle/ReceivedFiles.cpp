// See ReceivedFiles.h.
#include "host/cycle/ReceivedFiles.h"

#include <optional>
#include <set>
#include <vector>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "companions/zip/PacketArchive.h"
#include "host/settings/SideFolders.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"

namespace {

/// Why a file must not be delivered.
using Refusal = std::optional<std::wstring>;

/// What an archive holds beside its packet would replace other files of the inbox. One that cannot be read,
/// now or at all, is the decoder's to refuse.
Refusal RefusalOfArchive(const std::wstring& path) try {
    return companions::zip::PacketObjection(base::InputFile(path), Path::BaseName(path), &base::Upper);
} catch (const base::Error&) {
    return std::nullopt;
}

/// The packets of files that have arrived since, by their names in capitals.
std::set<std::wstring> NewPackets(const std::vector<base::TreeFile>& files, const base::TreeSnapshot& waiting,
                                  const PacketLedger& ledger) {
    std::set<std::wstring> names;
    for (const base::TreeFile& file : files)
        if (!waiting.Holds(file)) names.insert(base::Upper(ledger.PacketIn(file).name));
    return names;
}

Refusal RefusalOf(const base::TreeFile& file, const Settings& settings, const PacketLedger& ledger) {
    const std::wstring packet = ledger.PacketIn(file).name;
    if (IsFolderTestFile(packet))
        return L"it has the name of the file with which folders are tested, and would be deleted as that";
    if (IsKeptCopy(packet))
        return L"it has the name of a copy that is kept of a replaced file, and would be deleted as that";
    if (!IsTakenForEncoded(file.name, settings.zip.outExtension)) return std::nullopt;
    return RefusalOfArchive(Path::Join(settings.receive, file.RelativePath()));
}

/// The first name that is free: what was set aside before stays.
std::wstring FreePath(const std::wstring& path) {
    std::wstring free = path;
    for (unsigned number = 2; FileSystem::FileExists(free); ++number)
        free = path + L" (" + std::to_wstring(number) + L")";
    return free;
}

}  // namespace

void SetAsideRefusedFiles(const Settings& settings, const std::wstring& subFolder,
                          const base::TreeSnapshot& waiting, PacketLedger& ledger) {
    const std::vector<base::TreeFile> files = base::FilesIn(settings.receive, subFolder);
    const std::set<std::wstring> arrived = NewPackets(files, waiting, ledger);
    for (const base::TreeFile& file : files) {
        Refusal refusal = RefusalOf(file, settings, ledger);
        if (!refusal && waiting.Holds(file) && arrived.contains(base::Upper(ledger.PacketIn(file).name)))
            refusal = L"a newer version has arrived in another encoding";
        if (!refusal) continue;
        const std::wstring aside = FreePath(Path::Join(kRefused.Path(settings), file.RelativePath()));
        base::MoveIntoTree(Path::Join(settings.receive, file.RelativePath()), aside);
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                *refusal + L"; it is now " + aside);
    }
}
