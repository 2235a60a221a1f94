// See ReceivedFiles.h.
#include "host/cycle/ReceivedFiles.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "base/Arrival.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/OemText.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/WriteBlock.h"
#include "cipher/Sha256.h"
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

/// Where a file is among those that were refused, or could be: the first of its names that is free, or that
/// of a file for which is(path) holds.
template <class Is>
std::wstring RefusedPath(const base::TreeFile& file, const Settings& settings, const Is& is) {
    const std::wstring first = Path::Join(kRefused.Path(settings), file.RelativePath());
    std::wstring path = first;
    for (unsigned number = 2; FileSystem::FileExists(path) && !is(path); ++number)
        path = first + L" (" + std::to_wstring(number) + L")";
    return path;
}

/// By size and time. A volume that keeps local time, as FAT does, tells another one by an hour once the clock
/// was changed to or from summer time.
bool IsSameVersion(const std::wstring& path, const FileSystem::FileVersion& version) {
    constexpr std::uint64_t kHour = 60ULL * 60 * 10'000'000;
    const auto known = FileSystem::VersionOf(path);
    if (!known || known->size != version.size) return false;
    const auto [earlier, later] = std::minmax({known->lastWrite, version.lastWrite});
    return earlier == later || earlier + kHour == later;
}

/// Nothing where one of them cannot be read.
std::optional<bool> HaveSameContent(const std::wstring& left, const std::wstring& right) try {
    return FileSystem::FileSize(left) == FileSystem::FileSize(right) &&
           Sha256OfFile(left) == Sha256OfFile(right);
} catch (const base::Error&) {
    return std::nullopt;
}

/// What of a folder may be delivered, and the archives that cannot be read: they are the decoder's to refuse.
struct Candidates {
    std::vector<base::TreeFile> packets;
    std::vector<base::TreeFile> unreadable;
};

/// Sets aside what must not be delivered. What was refused before comes again where it cannot be deleted.
Candidates TakeCandidates(const std::vector<base::TreeFile>& files, const Settings& settings,
                          PacketLedger& ledger) {
    Candidates candidates;
    const bool mayComeAgain =
        FileSystem::FolderExists(Path::Join(kRefused.Path(settings), files.front().subFolder));
    for (const base::TreeFile& file : files) {
        const std::wstring path = Path::Join(settings.receive, file.RelativePath());
        std::optional<std::wstring> refusal;
        try {
            refusal = DeliveryObjection(file, settings, ledger);
        } catch (const base::Error&) {
            candidates.unreadable.push_back(file);
            continue;
        }
        if (!refusal && mayComeAgain && WasRefused(file, settings, path))
            refusal = L"this very version was refused before";
        if (refusal)
            SetAside(path, file, *refusal, settings, ledger);
        else
            candidates.packets.push_back(file);
    }
    return candidates;
}

}  // namespace

void SetAside(const std::wstring& path, const base::TreeFile& file, const std::wstring& reason,
              const Settings& settings, PacketLedger& ledger) {
    const FileSystem::WriteBlock block(path);
    if (FileSystem::VersionOf(path) != file.Version()) return;
    block.Held();
    const std::wstring aside = RefusedPath(
        file, settings, [&](const std::wstring& other) { return HaveSameContent(path, other) == true; });
    FileSystem::CreateFolders(Path::ParentFolder(aside));
    const bool isSame = FileSystem::FileExists(aside) ? block.Delete(FileSystem::ReadOnlyFiles::Delete)
                                                      : block.MoveReplacing(aside);
    if (!isSame) return;
    ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered, reason + L"; it is now " + aside);
}

bool WasRefused(const base::TreeFile& file, const Settings& settings, const std::wstring& path) {
    return FileSystem::FileExists(RefusedPath(file, settings, [&](const std::wstring& other) {
        return IsSameVersion(other, file.Version()) &&
               (path.empty() || HaveSameContent(path, other) != false);
    }));
}

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
    const bool isArchive = IsTakenForEncoded(file.name, settings.zip.outExtension);
    if (!isArchive && !IsTakenForEncoded(file.name, settings.xdelta.outExtension)) return std::nullopt;
    if (!IsDecodedUnderItsName(packet))
        return L"its decoder restores a packet under its name only when that ends with .mdb or .xml, and "
               L"would write over any other file";
    if (!isArchive) return std::nullopt;
    const std::wstring path = Path::Join(settings.receive, file.RelativePath());
    return companions::zip::PacketObjection(base::InputFile(path), Path::BaseName(path), &base::Upper,
                                            &base::FromOemCodePage);
}

std::vector<base::TreeFile> SetAsideRefusedFiles(const std::vector<base::TreeFile>& files,
                                                 const Settings& settings, const base::TreeSnapshot& waiting,
                                                 PacketLedger& ledger) {
    if (files.empty()) return {};
    const Candidates candidates = TakeCandidates(files, settings, ledger);
    std::vector<base::TreeFile> stay;
    const auto newest = NewestVersions(candidates.packets, settings, waiting, ledger);
    const auto setAsideFor = [&](const base::TreeFile& file, const base::TreeFile& newer) {
        SetAside(Path::Join(settings.receive, file.RelativePath()), file,
                 L"a newer version has arrived as " + newer.name, settings, ledger);
    };
    for (const base::TreeFile& file : candidates.packets) {
        const base::TreeFile* const kept = newest.at(base::Upper(ledger.PacketIn(file).name));
        if (kept == &file)
            stay.push_back(file);
        else
            setAsideFor(file, *kept);
    }
    for (const base::TreeFile& file : candidates.unreadable) {
        const auto kept = newest.find(base::Upper(ledger.PacketIn(file).name));
        if (kept != newest.end() && AgeOf(file, settings, waiting) < AgeOf(*kept->second, settings, waiting))
            setAsideFor(file, *kept->second);
        else
            stay.push_back(file);
    }
    return stay;
}
