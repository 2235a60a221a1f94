// See ReceivedFiles.h.
#include "host/cycle/ReceivedFiles.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "base/Arrival.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "companions/zip/PacketArchive.h"
#include "host/settings/SideFolders.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"

namespace {

/// How late a version of a packet is: the time of the file tells, which travels with it. Versions can come in
/// another order than they were sent in; only where the time is the same, the later one comes later.
std::pair<std::uint64_t, bool> AgeOf(const base::TreeFile& file, const Settings& settings,
                                     const base::TreeSnapshot& waiting) {
    const auto version = FileSystem::VersionOf(Path::Join(settings.receive, file.RelativePath()));
    return {version ? version->lastWrite : 0, !waiting.Holds(file)};
}

/// The newest file of each packet, by the packets' names in capitals.
std::map<std::wstring, const base::TreeFile*> NewestVersions(const std::vector<base::TreeFile>& files,
                                                             const Settings& settings,
                                                             const base::TreeSnapshot& waiting,
                                                             const PacketLedger& ledger) {
    std::map<std::wstring, const base::TreeFile*> newest;
    for (const base::TreeFile& file : files) {
        const base::TreeFile*& known = newest[base::Upper(ledger.PacketIn(file).name)];
        if (!known || AgeOf(*known, settings, waiting) < AgeOf(file, settings, waiting)) known = &file;
    }
    return newest;
}

/// The first name that is free: what was set aside before stays.
std::wstring FreePath(const std::wstring& path) {
    std::wstring free = path;
    for (unsigned number = 2; FileSystem::FileExists(free); ++number)
        free = path + L" (" + std::to_wstring(number) + L")";
    return free;
}

void SetAside(const base::TreeFile& file, const std::wstring& reason, const Settings& settings,
              PacketLedger& ledger) {
    const std::wstring aside = FreePath(Path::Join(kRefused.Path(settings), file.RelativePath()));
    base::MoveIntoTree(Path::Join(settings.receive, file.RelativePath()), aside);
    ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered, reason + L"; it is now " + aside);
}

/// Sets a file aside that must not be delivered. An archive that cannot be read stays: it is the decoder's to
/// refuse.
bool MayBePacket(const base::TreeFile& file, const Settings& settings, PacketLedger& ledger) {
    std::optional<std::wstring> refusal;
    try {
        refusal = DeliveryObjection(file, settings, ledger);
    } catch (const base::Error&) {
        return false;
    }
    if (refusal) SetAside(file, *refusal, settings, ledger);
    return !refusal;
}

}  // namespace

/// What an archive holds beside its packet would replace other files of the inbox.
std::optional<std::wstring> DeliveryObjection(const base::TreeFile& file, const Settings& settings,
                                              const PacketLedger& ledger) {
    const std::wstring packet = ledger.PacketIn(file).name;
    if (IsFolderTestFile(packet))
        return L"it has the name of the file with which folders are tested, and would be deleted as that";
    if (IsKeptCopy(packet))
        return L"it has the name of a copy that is kept of a replaced file, and would be deleted as that";
    if (FileSystem::IsArrival(file.name))
        return L"a run ended while it was received, so that it may be a part; its source is where it was";
    if (!IsTakenForEncoded(file.name, settings.zip.outExtension)) return std::nullopt;
    const std::wstring path = Path::Join(settings.receive, file.RelativePath());
    return companions::zip::PacketObjection(base::InputFile(path), Path::BaseName(path), &base::Upper);
}

void SetAsideRefusedFiles(const Settings& settings, const std::wstring& subFolder,
                          const base::TreeSnapshot& waiting, PacketLedger& ledger) {
    std::vector<base::TreeFile> files = base::FilesIn(settings.receive, subFolder);
    // First, because what is refused is no newer version of anything.
    std::erase_if(files, [&](const base::TreeFile& file) { return !MayBePacket(file, settings, ledger); });
    const auto newest = NewestVersions(files, settings, waiting, ledger);
    for (const base::TreeFile& file : files) {
        const base::TreeFile* const kept = newest.at(base::Upper(ledger.PacketIn(file).name));
        if (kept != &file) SetAside(file, L"a newer version has arrived as " + kept->name, settings, ledger);
    }
}
