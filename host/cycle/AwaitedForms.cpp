// See AwaitedForms.h.
#include "host/cycle/AwaitedForms.h"

#include <algorithm>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/cycle/ReceivedFiles.h"
#include "host/settings/SideFolders.h"

namespace {

std::wstring Key(const base::TreeFile& file, const PacketLedger& ledger) {
    return base::Upper(ledger.PacketIn(file).RelativePath());
}

std::wstring HeldPath(const base::TreeFile& file, const Settings& settings) {
    return Path::Join(kAwaitingOlder.Path(settings), file.RelativePath());
}

std::wstring ReceivedPath(const base::TreeFile& file, const Settings& settings) {
    return Path::Join(settings.receive, file.RelativePath());
}

}  // namespace

std::vector<base::TreeFile> AwaitingFiles(const Settings& settings) {
    return base::FilesBelow(kAwaitingOlder.Path(settings));
}

void AwaitedForms::Await(const Offer& before, const Offer& after, PacketLedger& ledger) {
    for (const base::TreeFile& file : after.files)
        m_offered.emplace(Key(file, ledger), file);
    if (after.isComplete || m_settings.HasServer()) return PutBack(ledger);
    // What has gone with the share will be offered again.
    for (const base::TreeFile& file : before.files)
        m_offered.emplace(Key(file, ledger), file);
    for (const base::TreeFile& file : AwaitingFiles(m_settings))
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                L"an older version may be in a folder that cannot be listed now: " +
                                    m_settings.remoteReceive);
}

void AwaitedForms::PutBack(PacketLedger& ledger) const {
    for (const base::TreeFile& file : AwaitingFiles(m_settings))
        try {
            PutBack(file, ledger);
        } catch (const base::Error& error) {
            ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                    error.failure().description);
        }
    base::RemoveEmptyFolders(kAwaitingOlder.Path(m_settings));
}

/// What has come meanwhile under the name is newer, as in the receive folder itself, unless its time denies
/// that.
void AwaitedForms::PutBack(const base::TreeFile& file, PacketLedger& ledger) const {
    const std::wstring held = HeldPath(file, m_settings);
    const std::wstring place = ReceivedPath(file, m_settings);
    const auto newer = FileSystem::VersionOf(place);
    if (!newer)
        base::MoveIntoTree(held, place);
    else if (newer->lastWrite >= file.lastWrite)
        FileSystem::DeleteFile(held, FileSystem::ReadOnlyFiles::Delete);
    else
        SetAside(held, file, L"another version has arrived", m_settings, ledger);
}

void AwaitedForms::RefuseAgain(const std::wstring& subFolder, PacketLedger& ledger) const {
    if (m_offered.empty()) return;
    for (const base::TreeFile& file : base::FilesIn(m_settings.receive, subFolder))
        if (IsOffered(file, ledger) && WasRefused(file, m_settings))
            SetAside(ReceivedPath(file, m_settings), file,
                     L"it was refused before, and comes again because it cannot be deleted as " +
                         Path::Join(m_settings.remoteReceive, file.RelativePath()),
                     m_settings, ledger);
}

void AwaitedForms::HoldBack(const std::wstring& subFolder, PacketLedger& ledger) const {
    if (m_offered.empty()) return;
    for (const base::TreeFile& file : base::FilesIn(m_settings.receive, subFolder)) {
        const base::TreeFile* const older = OlderFormOf(file, ledger);
        if (!older) continue;
        base::MoveIntoTree(ReceivedPath(file, m_settings), HeldPath(file, m_settings));
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                L"an older version must be received first: " +
                                    Path::Join(m_settings.remoteReceive, older->RelativePath()));
    }
}

bool AwaitedForms::IsOffered(const base::TreeFile& file, const PacketLedger& ledger) const {
    const auto [begin, end] = m_offered.equal_range(Key(file, ledger));
    return std::any_of(begin, end, [&](const auto& offered) {
        return base::EqualsIgnoringCase(offered.second.name, file.name) && offered.second.size == file.size;
    });
}

/// Nothing when none is awaited: one that has come, and was refused, is not. A newer one of the same name
/// takes the file's place when it comes.
const base::TreeFile* AwaitedForms::OlderFormOf(const base::TreeFile& file,
                                                const PacketLedger& ledger) const {
    const auto [begin, end] = m_offered.equal_range(Key(file, ledger));
    const auto older = std::find_if(begin, end, [&](const auto& offered) {
        return !base::EqualsIgnoringCase(offered.second.name, file.name) &&
               offered.second.lastWrite <= file.lastWrite && !WasRefused(offered.second, m_settings);
    });
    return older == end ? nullptr : &older->second;
}
