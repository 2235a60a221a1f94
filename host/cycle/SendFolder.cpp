// See SendFolder.h.
#include "host/cycle/SendFolder.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/Text.h"
#include "host/settings/SideFolders.h"
#include "packets/ReplacedVersions.h"

// Beside the send folder, into which the other side looks at any time.
SendFolder::SendFolder(const Settings& settings, const PacketLedger& ledger)
    : m_settings(settings), m_ledger(ledger), m_aside(kOlderVersions.Path(settings)) {
    RecoverBackups();
    RecoverAside();
    // Also what came back: a version that is added now is newer.
    m_waiting = FilesIn(m_settings.send);
    m_left = FilesIn(m_aside);
}

std::wstring SendFolder::Key(const base::TreeFile& file) const {
    return base::Upper(m_ledger.PacketIn(file).RelativePath());
}

std::wstring SendFolder::WaitingPath(const base::TreeFile& file) const {
    return Path::Join(m_settings.send, file.RelativePath());
}

std::wstring SendFolder::AsidePath(const base::TreeFile& file) const {
    return Path::Join(m_aside, file.RelativePath());
}

SendFolder::Packets SendFolder::FilesIn(const std::wstring& folder) const {
    Packets packets;
    for (const base::TreeFile& file : base::FilesBelow(folder))
        packets[Key(file)].push_back(file);
    return packets;
}

void SendFolder::RecoverBackups() const {
    for (const base::TreeFile& file : base::FilesBelow(m_settings.send))
        SettleBackup(m_settings.send, file, m_settings.xdelta.outExtension);
}

/// An encoder makes its file appear whole: what waits beside an older version is the newer one.
void SendFolder::RecoverAside() const {
    if (!FileSystem::FolderIsThere(m_aside)) return;
    const Packets newer = FilesIn(m_settings.send);
    for (const base::TreeFile& file : base::FilesBelow(m_aside))
        SettleVersion(newer.contains(Key(file)), AsidePath(file), WaitingPath(file));
    base::RemoveEmptyFolders(m_aside);
}

void SendFolder::MakeRemovable(const base::TreeFile& packet) const {
    FileSystem::MakeWritable(WaitingPath(packet));
}

SendFolder::OlderVersions::OlderVersions(const SendFolder& folder, const base::TreeFile& packet)
    : m_folder(folder) {
    const std::wstring key = base::Upper(packet.RelativePath());
    if (const auto left = folder.m_left.find(key); left != folder.m_left.end()) m_taken = left->second;
    const auto found = folder.m_waiting.find(key);
    if (found == folder.m_waiting.end()) return;
    base::RollBack putBack([this] { PutBack(); });
    for (const base::TreeFile& file : found->second) {
        // The other side may have fetched it.
        if (!FileSystem::FileExists(folder.WaitingPath(file))) continue;
        base::MoveIntoTree(folder.WaitingPath(file), folder.AsidePath(file));
        m_taken.push_back(file);
    }
    putBack.Dismiss();
}

SendFolder::OlderVersions::~OlderVersions() {
    if (m_replaced) return;
    const base::RollBack putBack([this] { PutBack(); });
}

void SendFolder::OlderVersions::Replaced() {
    m_replaced = true;
    for (const base::TreeFile& file : m_taken)
        FileSystem::DeleteFile(m_folder.AsidePath(file), FileSystem::ReadOnlyFiles::Delete);
    RemoveEmptyFolders();
}

void SendFolder::OlderVersions::PutBack() const {
    for (const base::TreeFile& file : m_taken)
        base::TryPutBack(m_folder.AsidePath(file), m_folder.WaitingPath(file));
    RemoveEmptyFolders();
}

void SendFolder::OlderVersions::RemoveEmptyFolders() const {
    if (!m_taken.empty()) base::RemoveEmptyFolders(m_folder.m_aside);
}
