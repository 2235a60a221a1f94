// See ReceivedFiles.h.
#include "host/cycle/ReceivedFiles.h"

#include <optional>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "companions/zip/PacketArchive.h"
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

void SetAsideRefusedFiles(const Settings& settings, const std::wstring& subFolder, PacketLedger& ledger) {
    for (const base::TreeFile& file : base::FilesIn(settings.receive, subFolder)) {
        const Refusal refusal = RefusalOf(file, settings, ledger);
        if (!refusal) continue;
        const std::wstring aside = FreePath(Path::Join(settings.receive + L".refused", file.RelativePath()));
        base::MoveIntoTree(Path::Join(settings.receive, file.RelativePath()), aside);
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                *refusal + L"; it is now " + aside);
    }
}
