// See ReceivedFiles.h.
#include "host/cycle/ReceivedFiles.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "packets/PacketName.h"

namespace {

/// Why a file must not be delivered; empty for one that may.
std::wstring Refusal(const base::TreeFile& file, const PacketLedger& ledger) {
    if (IsFolderTestFile(ledger.PacketIn(file).name))
        return L"it has the name of the file with which folders are tested, and would be deleted as that";
    return {};
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
        const std::wstring refusal = Refusal(file, ledger);
        if (refusal.empty()) continue;
        const std::wstring aside = FreePath(Path::Join(settings.receive + L".refused", file.RelativePath()));
        base::MoveIntoTree(Path::Join(settings.receive, file.RelativePath()), aside);
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                refusal + L"; it is now " + aside);
    }
}
