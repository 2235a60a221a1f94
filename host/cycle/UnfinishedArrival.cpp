// See UnfinishedArrival.h.
#include "host/cycle/UnfinishedArrival.h"

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "host/settings/SideFolders.h"

namespace {

/// Units of 100 ns, as in FILETIME; nothing when there is no such file.
std::optional<std::uint64_t> LastWrite(const std::wstring& path) {
    const auto version = FileSystem::VersionOf(path);
    return version ? std::optional(version->lastWrite) : std::nullopt;
}

/// Some file systems keep times in steps of two seconds.
constexpr std::uint64_t kCoarsestTime = 20'000'000;

}  // namespace

// Both beside the receive folder, whose files are packets.
UnfinishedArrival::UnfinishedArrival(const Settings& settings)
    : m_receive(settings.receive),
      m_source(settings.transport == Transport::Folder ? settings.remoteReceive : L""),
      m_aside(kUnfinished.Path(settings)),
      m_mark(settings.receive + L".receiving") {
    if (FileSystem::FileExists(m_mark)) TakeRecent();
}

/// What somebody else holds is not what the run that ended was receiving, or can wait for the next run.
/// Packets may have times of their own, so that the last one written need not be the last one received.
void UnfinishedArrival::TakeRecent() const {
    const std::uint64_t since = LastWrite(m_mark).value_or(0) - kCoarsestTime;
    for (const base::TreeFile& file : base::FilesBelow(m_receive)) {
        const std::wstring path = Path::Join(m_receive, file.RelativePath());
        if (LastWrite(path).value_or(0) >= since)
            base::TryMoveIntoTree(path, Path::Join(m_aside, file.RelativePath()));
    }
    FileSystem::TryDelete(m_mark);
}

/// Beside a folder where nothing can be created, packets are received all the same.
void UnfinishedArrival::Begin() const try {
    base::File::Open(m_mark, GENERIC_WRITE, 0, CREATE_ALWAYS);
} catch (const base::Error&) {
    return;
}

void UnfinishedArrival::End(bool received, PacketLedger& ledger) const {
    FileSystem::TryDelete(m_mark);
    for (const base::TreeFile& file : base::FilesBelow(m_aside)) {
        if (received && !IsOffered(file))
            PutBack(file);
        else
            ledger.ReportTravelling(
                Direction::In, file, PacketState::NotDelivered,
                L"a run ended while it was received; whether it is whole is known when the "
                L"remote side can be reached and gives it away");
    }
    base::RemoveEmptyFolders(m_aside);
}

/// A transfer that reached the remote side leaves what is in use there.
bool UnfinishedArrival::IsOffered(const base::TreeFile& file) const {
    return !m_source.empty() && FileSystem::FileExists(Path::Join(m_source, file.RelativePath()));
}

void UnfinishedArrival::PutBack(const base::TreeFile& file) const {
    const std::wstring aside = Path::Join(m_aside, file.RelativePath());
    const std::wstring place = Path::Join(m_receive, file.RelativePath());
    if (FileSystem::FileExists(place))
        FileSystem::TryDelete(aside);
    else
        base::TryMoveIntoTree(aside, place);
}
