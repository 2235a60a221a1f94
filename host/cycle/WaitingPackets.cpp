// See WaitingPackets.h.
#include "host/cycle/WaitingPackets.h"

#include <algorithm>
#include <iterator>

#include "base/Arrival.h"
#include "base/Error.h"
#include "base/Path.h"
#include "host/cycle/KeptBackups.h"
#include "host/settings/SideFolders.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"
#include "packets/PassingFile.h"

namespace {

/// What is being copied there is none yet, and what the folder is tested with never is.
std::vector<base::TreeFile> PacketsOf(std::vector<base::TreeFile> files) {
    std::erase_if(files, [](const base::TreeFile& file) { return IsPassingFile(file.name); });
    return files;
}

/// A copy that is still being made has a name of its own until it is whole.
std::vector<base::TreeFile> WithoutArriving(const std::wstring& folder, std::vector<base::TreeFile> files) {
    std::erase_if(files, [&](const base::TreeFile& file) {
        return FileSystem::IsArrival(file.name) &&
               !FileSystem::IsAbandonedArrival(Path::Join(folder, file.RelativePath()));
    });
    return files;
}

std::vector<base::TreeFile> OutboxPackets(const Settings& settings, std::vector<base::TreeFile> files) {
    std::erase_if(files, [](const base::TreeFile& file) { return IsCompanionFile(file.name); });
    return WithoutArriving(settings.outbox, std::move(files));
}

}  // namespace

std::vector<base::TreeFile> OutboxFiles(const Settings& settings) {
    return OutboxPackets(settings, base::FilesBelow(settings.outbox));
}

std::vector<base::TreeFile> OutboxFiles(const Settings& settings, PacketLedger& ledger) {
    const auto unlisted = [&](const std::wstring& subFolder, const std::wstring& reason) {
        ledger.ReportInOutbox({subFolder, L"", 0}, PacketState::NotAdded, reason);
    };
    return OutboxPackets(settings, base::FilesBelow(settings.outbox, unlisted));
}

std::vector<base::TreeFile> SendFiles(const Settings& settings) {
    return PacketsOf(base::FilesBelow(settings.send));
}

std::vector<base::TreeFile> OlderFiles(const Settings& settings) {
    return base::FilesBelow(kOlderVersions.Path(settings));
}

std::vector<std::wstring> ReceiveSubFolders(const Settings& settings) {
    std::vector<std::wstring> subFolders = base::SubFolders(settings.receive, base::Links::Followed);
    std::erase_if(subFolders, [](const std::wstring& subFolder) { return IsBackupPath(subFolder); });
    return subFolders;
}

std::vector<base::TreeFile> ReceivedIn(const Settings& settings, const std::wstring& subFolder) {
    return WithoutArriving(settings.receive, base::FilesIn(settings.receive, subFolder));
}

std::vector<base::TreeFile> ReceivedFiles(const Settings& settings) {
    std::vector<base::TreeFile> files;
    for (const std::wstring& subFolder : ReceiveSubFolders(settings))
        std::ranges::move(ReceivedIn(settings, subFolder), std::back_inserter(files));
    return files;
}

std::vector<base::TreeFile> OfferedFiles(const Settings& settings) {
    if (settings.HasServer()) return {};
    return PacketsOf(base::FilesBelow(settings.remoteReceive, [](const auto&, const auto&) {}));
}

std::optional<std::vector<base::TreeFile>> OfferedIn(const Settings& settings,
                                                     const std::wstring& subFolder) try {
    if (settings.HasServer()) return std::nullopt;
    std::vector<base::TreeFile> files = PacketsOf(base::FilesIn(settings.remoteReceive, subFolder));
    // A share that is gone looks like a folder that was never made.
    if (!FileSystem::FolderExists(settings.remoteReceive)) return std::nullopt;
    return files;
} catch (const base::Error&) {
    return std::nullopt;
}

std::wstring Unseen(const Settings& settings) {
    return L"The remote folder " + settings.remoteReceive + L" is not there, or cannot be seen.";
}

std::optional<std::wstring> WhyNothingIsReceived(const Settings& settings) {
    const std::wstring& folder = settings.remoteReceive;
    if (settings.HasServer() || FileSystem::FolderExists(folder)) return std::nullopt;
    if (FileSystem::FileExists(folder)) return folder + L" is a file, not a folder";
    if (FileSystem::FolderExists(Path::ParentFolder(folder))) return std::nullopt;
    return Unseen(settings);
}

OutboxObjections::OutboxObjections(const std::vector<base::TreeFile>& files, const Settings& settings,
                                   const PacketLedger& ledger)
    : m_settings(settings), m_ledger(ledger), m_paths(base::PathsOf(files)) {}

std::optional<std::wstring> OutboxObjections::To(const base::TreeFile& file) const {
    // A share can tell such names apart; in the send folder the second one would replace the first.
    if (m_paths.AreOne(file.RelativePath()))
        return L"another packet has the same path but for the case of letters; rename or remove one of them";
    if (IsBackupPath(file.RelativePath()))
        return L"the receive folder keeps backups in the sub-folder Backup; use another name";
    if (IsFolderTestFile(file.name))
        return L"it has the name of the file with which folders are tested; use another name";
    if (FileSystem::IsArrival(file.name))
        return L"it has the name of a file that is being copied; use another name";
    if (IsTakenForEncoded(file.name, m_settings.zip.outExtension) ||
        IsTakenForEncoded(file.name, m_settings.xdelta.outExtension) ||
        m_ledger.PacketIn(file).name != file.name)
        return L"the extension is that of an encoded packet; use another name";
    if (IsKeptCopy(file.name))
        return L"the name is that of a copy that is kept of a replaced file; use another name";
    const EncoderSettings* const encoder = m_settings.ChosenEncoder();
    if (file.size == 0 && encoder && HasExtension(file.name, encoder->inExtension))
        return L"it is empty, and encoded packets must not be";
    return std::nullopt;
}
