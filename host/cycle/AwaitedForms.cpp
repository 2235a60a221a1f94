// See AwaitedForms.h.
#include "host/cycle/AwaitedForms.h"

#include <algorithm>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/Text.h"
#include "host/settings/SideFolders.h"
#include "packets/ReplacedVersions.h"

namespace {

std::wstring Key(const base::TreeFile& file, const PacketLedger& ledger) {
    return base::Upper(ledger.PacketIn(file).RelativePath());
}

}  // namespace

AwaitedForms::AwaitedForms(const Settings& settings) : m_settings(settings) { PutBack(); }

AwaitedForms::~AwaitedForms() {
    const base::RollBack putBack([this] { PutBack(); });
}

void AwaitedForms::Await(const std::vector<base::TreeFile>& offered, const PacketLedger& ledger) {
    for (const base::TreeFile& file : offered)
        m_offered.emplace(Key(file, ledger), file);
}

void AwaitedForms::HoldBack(const std::wstring& subFolder, PacketLedger& ledger) const {
    if (m_offered.empty()) return;
    for (const base::TreeFile& file : base::FilesIn(m_settings.receive, subFolder)) {
        const auto [begin, end] = m_offered.equal_range(Key(file, ledger));
        const auto older =
            std::find_if(begin, end, [&](const auto& offered) { return IsAwaitedBy(file, offered.second); });
        if (older == end) continue;
        base::MoveIntoTree(Path::Join(m_settings.receive, file.RelativePath()),
                           Path::Join(kAwaitingOlder.Path(m_settings), file.RelativePath()));
        ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                                L"an older version must be received first: " +
                                    Path::Join(m_settings.remoteReceive, older->second.RelativePath()));
    }
}

/// A newer form takes the file's place when it comes.
bool AwaitedForms::IsAwaitedBy(const base::TreeFile& file, const base::TreeFile& offered) const {
    if (base::EqualsIgnoringCase(file.name, offered.name)) return false;
    const auto own = FileSystem::VersionOf(Path::Join(m_settings.receive, file.RelativePath()));
    const auto other = FileSystem::VersionOf(Path::Join(m_settings.remoteReceive, offered.RelativePath()));
    return own && other && other->lastWrite <= own->lastWrite;
}

/// What has come anew under the name is newer, as in the receive folder itself.
void AwaitedForms::PutBack() const {
    const std::wstring aside = kAwaitingOlder.Path(m_settings);
    for (const base::TreeFile& file : base::FilesBelow(aside)) {
        const std::wstring held = Path::Join(aside, file.RelativePath());
        const std::wstring place = Path::Join(m_settings.receive, file.RelativePath());
        SettleVersion(FileSystem::FileExists(place), held, place);
    }
    base::RemoveEmptyFolders(aside);
}
