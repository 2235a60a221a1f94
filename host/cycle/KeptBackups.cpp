// See KeptBackups.h.
#include "host/cycle/KeptBackups.h"

#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/Text.h"
#include "host/settings/SideFolders.h"
#include "packets/PacketName.h"

namespace {

constexpr const wchar_t* kArrivals = L"Backup (received)";

}  // namespace

std::wstring BackupFolder(const Settings& settings) { return Path::Join(settings.receive, kBackupFolder); }

std::wstring WhyMoved(const std::wstring& subFolder) {
    if (!base::EqualsIgnoringCase(TopFolder(subFolder), kArrivals)) return {};
    return L"it arrived in the folder Backup, where the receive folder keeps backups";
}

// Beside the receive folder: inside it, the other side could put something there, too.
KeptBackups::KeptBackups(const Settings& settings)
    : m_receive(settings.receive), m_backups(BackupFolder(settings)), m_kept(kKeptBackups.Path(settings)) {}

void KeptBackups::Take() try {
    PutBack();  // of a process that ended in between
    if (FileSystem::FolderIsThere(m_backups))
        FileSystem::MoveFile(m_backups, m_kept);
    else
        FileSystem::CreateFolders(m_kept);  // without backups all that arrives there is none
} catch (const base::Error&) {
    // In use, or beside a folder where nothing can be created. Packets are received all the same, and what
    // changes in the folder has arrived.
    if (!FileSystem::FolderExists(m_kept)) m_stayed.emplace(m_backups);
}

KeptBackups::~KeptBackups() {
    const base::RollBack putBack([this] { PutBack(); });
}

void KeptBackups::PutBack() {
    if (!FileSystem::FolderIsThere(m_kept) && !m_stayed) return;
    MoveArrivals();
    m_stayed.reset();
    base::RemoveEmptyFolders(m_kept);
    if (FileSystem::FolderIsThere(m_kept)) FileSystem::MoveFile(m_kept, m_backups);
}

/// A file of the folder's name is in its way, too.
void KeptBackups::MoveArrivals() const {
    const std::wstring arrivals = Path::Join(m_receive, kArrivals);
    if (FileSystem::FileExists(m_backups)) base::MoveIntoTree(m_backups, Path::Join(arrivals, kBackupFolder));
    if (!FileSystem::FolderExists(m_backups)) return;
    for (const base::TreeFile& file : base::FilesBelow(m_backups)) {
        if (m_stayed && m_stayed->Holds(file)) continue;
        base::MoveIntoTree(Path::Join(m_backups, file.RelativePath()),
                           Path::Join(arrivals, file.RelativePath()));
    }
    base::RemoveEmptyFolders(m_backups);
}
