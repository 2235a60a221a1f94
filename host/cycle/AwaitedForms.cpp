// See AwaitedForms.h.
#include "host/cycle/AwaitedForms.h"

#include <algorithm>
#include <iterator>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/cycle/ReceivedFiles.h"
#include "host/cycle/WaitingPackets.h"
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

void AwaitedForms::PutBack(const std::vector<base::TreeFile>& offered, PacketLedger& ledger) {
    m_offered = &offered;
    std::map<std::wstring, bool> isSeen;  // by sub-folder: a share that is gone takes long to say so
    for (const base::TreeFile& file : AwaitingFiles(m_settings))
        try {
            const auto [seen, isNew] = isSeen.try_emplace(file.subFolder);
            if (isNew)
                seen->second = m_settings.HasServer() || OfferedIn(m_settings, file.subFolder).has_value();
            if (!seen->second)
                throw base::Error(E_FAIL, L"an older version may be in a folder that cannot be listed now: " +
                                              Path::Join(m_settings.remoteReceive, file.subFolder));
            PutBack(file, ledger);
        } catch (const base::Error& error) {
            m_waiting.insert(Key(file, ledger));
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
    if (!FileSystem::FileIsThere(place)) return base::PutBack(held, place);
    const auto newer = FileSystem::VersionOf(place);
    if (newer && newer->lastWrite >= file.lastWrite)
        FileSystem::DeleteFile(held, FileSystem::ReadOnlyFiles::Delete);
    else
        SetAside(held, file, L"another version has arrived", m_settings, ledger);
}

/// What was offered before counts where it cannot be seen what still is: with the share it may come back.
std::vector<base::TreeFile> AwaitedForms::MayBeOfferedIn(const std::wstring& subFolder) const {
    if (auto offered = OfferedIn(m_settings, subFolder)) return std::move(*offered);
    std::vector<base::TreeFile> before;
    std::ranges::copy_if(*m_offered, std::back_inserter(before), [&](const base::TreeFile& file) {
        return base::EqualsIgnoringCase(file.subFolder, subFolder);
    });
    return before;
}

/// Nothing for a file that need not wait.
std::optional<std::wstring> AwaitedForms::ReasonToWait(const base::TreeFile& file, const Forms& offered,
                                                       const PacketLedger& ledger) const {
    const std::wstring key = Key(file, ledger);
    // A newer one of the same name takes the file's place when it comes. What was refused comes no more.
    const auto [begin, end] = offered.equal_range(key);
    const auto older = std::find_if(begin, end, [&](const auto& entry) {
        const base::TreeFile& other = entry.second;
        return !base::EqualsIgnoringCase(other.name, file.name) && other.lastWrite <= file.lastWrite &&
               !WasRefused(other, m_settings);
    });
    if (older != end)
        return L"an older version must be received first: " +
               Path::Join(m_settings.remoteReceive, older->second.RelativePath());
    if (m_waiting.contains(key)) return L"an older version still waits in " + kAwaitingOlder.Path(m_settings);
    return std::nullopt;
}

std::vector<base::TreeFile> AwaitedForms::HoldBack(std::vector<base::TreeFile> received,
                                                   PacketLedger& ledger) const {
    if (received.empty()) return received;
    Forms offered;
    for (const base::TreeFile& file : MayBeOfferedIn(received.front().subFolder))
        offered.emplace(Key(file, ledger), file);
    std::erase_if(received, [&](const base::TreeFile& file) {
        const auto reason = ReasonToWait(file, offered, ledger);
        if (!reason) return false;
        base::MoveIntoTree(ReceivedPath(file, m_settings), HeldPath(file, m_settings));
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered, *reason);
        return true;
    });
    return received;
}
