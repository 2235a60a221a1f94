// See Delivery.h.
#include "host/cycle/Delivery.h"

#include <algorithm>
#include <map>
#include <optional>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/cycle/KeptBackups.h"
#include "host/cycle/ReceivedFiles.h"
#include "host/cycle/WaitingPackets.h"

namespace {

/// How often a sub-folder is looked through until nothing has come into it meanwhile.
constexpr int kMostJudgements = 5;

/// Whether all of some files are among others, in the same version.
bool AreAmong(const std::vector<base::TreeFile>& others, const std::vector<base::TreeFile>& files) {
    std::map<std::wstring, FileSystem::FileVersion> known;
    for (const base::TreeFile& file : others)
        known[file.name] = file.Version();
    return std::ranges::all_of(files, [&](const base::TreeFile& file) {
        const auto found = known.find(file.name);
        return found != known.end() && found->second == file.Version();
    });
}

}  // namespace

Hindrance Delivery::DeliverAll(const base::TreeSnapshot& waiting) {
    for (const std::wstring& subFolder : ReceiveSubFolders(m_settings))
        DeliverFolder(subFolder, waiting);
    return m_noBackup;
}

void Delivery::DeliverFolder(const std::wstring& subFolder, const base::TreeSnapshot& waiting) {
    std::vector<base::TreeFile> files;
    LONG count = 0;
    const Hindrance notListed = Try(m_settings, [&] {
        count = List(subFolder, waiting, files);
        return true;
    });
    if (notListed) {
        for (const base::TreeFile& file : ReceivedIn(m_settings, subFolder))
            m_ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered, *notListed);
        return;
    }
    for (const base::TreeFile& file : files)
        m_ledger.NoteReceived(file);
    std::wstring reason = ReasonIn(m_settings);
    LetDecodersReplace(files, reason);
    const std::set<std::wstring> names = DeliverFiles(subFolder, count, reason);
    for (const base::TreeFile& file : files)
        Report(file, names, reason);
}

/// Has the library list a sub-folder that holds nothing but what may be delivered, and returns how many files
/// those are. The other side may send into the receive folder itself, and at any time.
LONG Delivery::List(const std::wstring& subFolder, const base::TreeSnapshot& waiting,
                    std::vector<base::TreeFile>& files) {
    for (int attempt = 0; attempt < kMostJudgements; ++attempt) {
        LONG count = 0;
        files = Judge(subFolder, waiting);
        if (!files.empty()) {
            FileSystem::CreateFolders(Path::Join(m_settings.inbox, subFolder));
            count = m_session.ResetReceived(subFolder);
        }
        if (AreAmong(files, ReceivedIn(m_settings, subFolder))) return count;
    }
    throw base::Error(E_FAIL, L"packets are still arriving beside it; the next run delivers them");
}

/// What of a sub-folder may be delivered; what may not is not among the files that the library lists next.
std::vector<base::TreeFile> Delivery::Judge(const std::wstring& subFolder,
                                            const base::TreeSnapshot& waiting) {
    return m_awaited.HoldBack(
        SetAsideRefusedFiles(ReceivedIn(m_settings, subFolder), m_settings, waiting, m_ledger), m_ledger);
}

/// Decoding deletes no read-only file, neither the one that the packet replaces nor the one that held it: it
/// would stay to be decoded once more, over what somebody has made of it meanwhile.
void Delivery::LetDecodersReplace(const std::vector<base::TreeFile>& files, std::wstring& reason) const {
    for (const base::TreeFile& file : files) {
        const base::TreeFile packet = m_ledger.PacketIn(file);
        if (packet.name == file.name) continue;
        const Hindrance isProtected = Try(m_settings, [&] {
            FileSystem::MakeWritable(Path::Join(m_settings.receive, file.RelativePath()));
            FileSystem::MakeWritable(Path::Join(m_settings.inbox, packet.RelativePath()));
            return true;
        });
        if (isProtected) reason = *isProtected;
    }
}

/// Returns the names of the files that arrived, in capitals. reason: becomes that of the last one that did
/// not.
std::set<std::wstring> Delivery::DeliverFiles(const std::wstring& subFolder, LONG count,
                                              std::wstring& reason) {
    const std::wstring destination = Path::Join(m_settings.inbox, subFolder);
    std::set<std::wstring> names;
    // An empty name also stands for a file that failed, so that only the count tells the end of the list.
    for (LONG i = 0; i < count && !Interrupt::Requested(); ++i) {
        const Hindrance notDelivered = Try(m_settings, [&] {
            const std::optional<std::wstring> delivered = m_session.DeliverNext(destination);
            if (!delivered) return false;
            const std::wstring name = Path::FileName(*delivered);
            names.insert(base::Upper(name));
            m_ledger.ReportDelivered(subFolder, name, WhyMoved(subFolder));
            return true;
        });
        if (notDelivered) reason = *notDelivered;
    }
    return names;
}

/// Reports a received file that no call handed out as delivered.
void Delivery::Report(const base::TreeFile& file, const std::set<std::wstring>& names,
                      const std::wstring& reason) {
    if (FileSystem::FileExists(Path::Join(m_settings.receive, file.RelativePath())))
        return m_ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered, reason);
    const base::TreeFile packet = m_ledger.PacketIn(file);
    if (names.contains(base::Upper(packet.name))) return NoteMissingBackup(file);
    // Delivered all the same: only the removal of its predecessor failed.
    if (IsInInbox(packet, file)) return m_ledger.ReportDelivered(packet.subFolder, packet.name, reason);
    m_ledger.ReportTravelling(Direction::In, file, PacketState::NotDelivered,
                              L"it is not in the receive folder any more: " + reason);
}

/// The library delivers also where the folder of the backups cannot be written.
void Delivery::NoteMissingBackup(const base::TreeFile& delivered) {
    if (!m_settings.backups) return;
    const std::wstring backup = Path::Join(BackupFolder(m_settings), delivered.RelativePath());
    if (FileSystem::VersionOf(backup) != delivered.Version())
        m_noBackup = L"there is no backup " + backup + L" of a packet that was delivered: " +
                     m_settings.LogReference();
}

/// A packet that travels as it is keeps size and time; an older one in its place has others.
bool Delivery::IsInInbox(const base::TreeFile& packet, const base::TreeFile& received) const {
    return FileSystem::VersionOf(Path::Join(m_settings.inbox, packet.RelativePath())) == received.Version();
}
