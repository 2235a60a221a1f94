#include "host/Cycle.h"

#include <algorithm>
#include <map>
#include <set>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Path.h"
#include "base/Text.h"
#include "com/Object.h"
#include "host/Archive.h"
#include "host/Interrupt.h"
#include "host/Progress.h"
#include "host/TravelName.h"

namespace {

using Sizes = std::map<std::wstring, std::uint64_t>;  // by packet, in capitals

std::optional<std::uint64_t> Find(const Sizes& sizes, const std::wstring& packet) {
    const auto found = sizes.find(base::Upper(packet));
    return found == sizes.end() ? std::nullopt : std::optional(found->second);
}

/// One call to the transport: done, or why not.
struct Attempt {
    bool done = false;
    std::wstring reason;
};

/// Bytes; 0 when whoever waits for a packet has taken it already.
std::uint64_t SizeOf(const std::wstring& path) {
    const auto version = FileSystem::VersionOf(path);
    return version ? version->size : 0;
}

/// The top folder to which the transport copies received packets, in whose place no packet may arrive.
bool IsBackupFolder(const std::wstring& subFolder) {
    return base::EqualsIgnoringCase(subFolder.substr(0, subFolder.find(L'\\')), L"Backup");
}

class Cycle {
public:
    Cycle(Session& session, const Settings& settings) : m_session(session), m_settings(settings) {}

    CycleResult Run();

private:
    void AddOutbox();
    void AddFile(const base::TreeFile& file);
    std::wstring Refusal(const base::TreeFile& file) const;
    void Transfer();
    void ReportSending(const std::vector<base::TreeFile>& waiting);
    void ReportReceiving(const std::vector<base::TreeFile>& offered);
    std::vector<base::TreeFile> OfferedFiles() const;
    void DeliverAll();
    void DeliverFolder(const std::wstring& subFolder);
    std::set<std::wstring> DeliverFiles(const std::wstring& subFolder, std::wstring& reason);
    void DeliverNext(const std::wstring& subFolder, const std::wstring& destination,
                     std::set<std::wstring>& names, std::wstring& reason);
    void ReportDelivered(const std::wstring& subFolder, const std::wstring& name,
                         const std::wstring& reason = {});
    void ReportDelivery(const base::TreeFile& file, const std::set<std::wstring>& names,
                        const std::wstring& reason);

    template <class Call>
    Attempt Try(Call&& call) const;
    std::wstring Reason() const;
    void ReportOut(const base::TreeFile& file, PacketState state, const std::wstring& reason = {});
    void ReportTravelling(Direction direction, const base::TreeFile& file, PacketState state,
                          const std::wstring& reason = {});
    base::TreeFile PacketIn(const base::TreeFile& file) const;

    Session& m_session;
    const Settings& m_settings;
    Sizes m_added;     // of the packets that left the outbox
    Sizes m_received;  // of the files that hold them
    CycleResult m_result;
};

CycleResult Cycle::Run() {
    const std::vector<base::TreeFile> offered = OfferedFiles();
    AddOutbox();
    const std::vector<base::TreeFile> waiting = FilesToSend(m_session, m_settings);
    Transfer();
    ReportSending(waiting);
    ReportReceiving(offered);
    DeliverAll();
    m_result.interrupted = Interrupt::Requested();
    return std::move(m_result);
}

template <class Call>
Attempt Cycle::Try(Call&& call) const try {
    if (call()) return {true, {}};
    return {false, Reason()};
} catch (const base::Error& error) {
    return {false, error.failure().description};
}

std::wstring Cycle::Reason() const {
    return Interrupt::Requested() ? L"stopped before its turn" : LogReference(m_settings);
}

/// Reports a packet that is still what it was in the outbox.
void Cycle::ReportOut(const base::TreeFile& file, PacketState state, const std::wstring& reason) {
    m_result.outcomes.push_back({.direction = Direction::Out,
                                 .packet = file.RelativePath(),
                                 .size = file.size,
                                 .travelSize = {},
                                 .state = state,
                                 .reason = reason});
}

/// Reports a packet by the file that holds it on its way.
void Cycle::ReportTravelling(Direction direction, const base::TreeFile& file, PacketState state,
                             const std::wstring& reason) {
    const base::TreeFile packet = PacketIn(file);
    const auto size =
        packet.name == file.name ? std::optional(file.size) : Find(m_added, packet.RelativePath());
    m_result.outcomes.push_back({.direction = direction,
                                 .packet = packet.RelativePath(),
                                 .size = size,
                                 .travelSize = file.size,
                                 .state = state,
                                 .reason = reason});
}

base::TreeFile Cycle::PacketIn(const base::TreeFile& file) const {
    return {file.subFolder, PacketOf(m_settings, file.name), file.size};
}

// --- Sending ----------------------------------------------------------------------------------------

void Cycle::AddOutbox() {
    for (const base::TreeFile& file : base::FilesBelow(m_settings.outbox))
        AddFile(file);
}

void Cycle::AddFile(const base::TreeFile& file) {
    if (const std::wstring refusal = Refusal(file); !refusal.empty())
        return ReportOut(file, PacketState::NotAdded, refusal);
    const std::wstring path = Path::Join(m_settings.outbox, file.RelativePath());
    // A version that somebody saves after this one was added would leave the outbox without being sent.
    const FileSystem::WriteBlock block(path);
    const Attempt added = Try([&] {
        if (Interrupt::Requested()) return false;
        block.Check();
        return m_session.Add(path, file.subFolder);
    });
    if (!added.done) return ReportOut(file, PacketState::NotAdded, added.reason);
    m_added[base::Upper(file.RelativePath())] = file.size;
    const Attempt left = Try([&] {
        LeaveOutbox(m_settings.outbox, file, m_settings.sent);
        return true;
    });
    if (!left.done) ReportOut(file, PacketState::InOutbox, left.reason);
}

/// Why a file would not reach the other side as the packet that it is; empty when it would.
std::wstring Cycle::Refusal(const base::TreeFile& file) const {
    if (IsBackupFolder(file.subFolder))
        return L"the receive folder keeps backups in the sub-folder Backup; use another name";
    if (PacketOf(m_settings, file.name) != file.name)
        return L"the extension is that of an encoded packet; use another name";
    if (file.size == 0 && IsEncoded(m_settings, file.name))
        return L"it is empty, and encoded packets must not be";
    return {};
}

void Cycle::Transfer() {
    const Microsoft::WRL::ComPtr<ConsoleProgress> progress = com::Make<ConsoleProgress>();
    const Attempt transfer = Try([&] {
        return !Interrupt::Requested() && m_session.SendReceive(static_cast<IZNProgress*>(progress.Get()));
    });
    // For the transport a cancelled login is no failure.
    const bool cancelled = transfer.done && m_session.LoginCancelled();
    m_result.transferred = transfer.done && !cancelled;
    m_result.transferReason = cancelled ? L"the login was cancelled" : transfer.reason;
}

void Cycle::ReportSending(const std::vector<base::TreeFile>& waiting) {
    for (const base::TreeFile& file : waiting) {
        if (FileSystem::FileExists(Path::Join(m_settings.send, file.RelativePath())))
            ReportTravelling(Direction::Out, file, PacketState::Waiting, Reason());
        else
            ReportTravelling(Direction::Out, file, PacketState::Sent);
    }
}

// --- Receiving --------------------------------------------------------------------------------------

/// A remote side that cannot be listed here or now offers nothing; the transfer tells why.
std::vector<base::TreeFile> Cycle::OfferedFiles() const try {
    if (m_settings.transport == Transport::Ftp) return {};
    return base::FilesBelow(m_settings.remoteReceive);
} catch (const base::Error&) {
    return {};
}

void Cycle::ReportReceiving(const std::vector<base::TreeFile>& offered) {
    for (const base::TreeFile& file : offered)
        if (FileSystem::FileExists(Path::Join(m_settings.remoteReceive, file.RelativePath())))
            ReportTravelling(Direction::In, file, PacketState::NotReceived, Reason());
    if (m_settings.transport == Transport::Folder && FileSystem::FileExists(m_settings.remoteReceive)) {
        m_result.transferred = false;
        m_result.transferReason = m_settings.remoteReceive + L" is a file, not a folder";
    }
}

void Cycle::DeliverAll() {
    for (const std::wstring& subFolder : ReceiveSubFolders(m_settings))
        DeliverFolder(subFolder);
}

void Cycle::DeliverFolder(const std::wstring& subFolder) {
    const std::vector<base::TreeFile> files = base::FilesIn(m_settings.receive, subFolder);
    if (files.empty()) return;
    for (const base::TreeFile& file : files)
        m_received[base::Upper(PacketIn(file).RelativePath())] = file.size;
    std::wstring reason = Reason();
    const std::set<std::wstring> names = DeliverFiles(subFolder, reason);
    for (const base::TreeFile& file : files)
        ReportDelivery(file, names, reason);
}

/// Returns the names of the files that arrived, in capitals.
std::set<std::wstring> Cycle::DeliverFiles(const std::wstring& subFolder, std::wstring& reason) {
    const std::wstring destination = Path::Join(m_settings.inbox, subFolder);
    std::set<std::wstring> names;
    LONG count = 0;
    const Attempt ready = Try([&] {
        FileSystem::CreateFolders(destination);
        count = m_session.ResetReceived(subFolder);
        return true;
    });
    if (!ready.done) reason = ready.reason;
    // An empty name also stands for a file that failed, so that only the count tells the end of the list.
    for (LONG i = 0; i < count && !Interrupt::Requested(); ++i)
        DeliverNext(subFolder, destination, names, reason);
    return names;
}

void Cycle::DeliverNext(const std::wstring& subFolder, const std::wstring& destination,
                        std::set<std::wstring>& names, std::wstring& reason) {
    const Attempt attempt = Try([&] {
        const Received received = m_session.DeliverNext(destination);
        if (!received.delivered) return false;
        const std::wstring name = Path::FileName(received.path);
        names.insert(base::Upper(name));
        ReportDelivered(subFolder, name);
        return true;
    });
    if (!attempt.done) reason = attempt.reason;
}

void Cycle::ReportDelivered(const std::wstring& subFolder, const std::wstring& name,
                            const std::wstring& reason) {
    const base::TreeFile packet{subFolder, name, 0};
    m_result.outcomes.push_back({.direction = Direction::In,
                                 .packet = packet.RelativePath(),
                                 .size = SizeOf(Path::Join(m_settings.inbox, packet.RelativePath())),
                                 .travelSize = Find(m_received, packet.RelativePath()),
                                 .state = PacketState::Delivered,
                                 .reason = reason});
}

/// Reports a received file that no call handed out as delivered.
void Cycle::ReportDelivery(const base::TreeFile& file, const std::set<std::wstring>& names,
                           const std::wstring& reason) {
    if (FileSystem::FileExists(Path::Join(m_settings.receive, file.RelativePath())))
        return ReportTravelling(Direction::In, file, PacketState::NotDelivered, reason);
    // Delivered all the same: only the removal of its predecessor failed.
    const base::TreeFile packet = PacketIn(file);
    if (!names.contains(base::Upper(packet.name)) &&
        FileSystem::FileExists(Path::Join(m_settings.inbox, packet.RelativePath())))
        ReportDelivered(packet.subFolder, packet.name, reason);
}

}  // namespace

bool CycleResult::Complete() const {
    return transferred && !interrupted && std::ranges::all_of(outcomes, [](const Outcome& outcome) {
               return outcome.state == PacketState::Sent || outcome.state == PacketState::Delivered;
           });
}

CycleResult RunCycle(Session& session, const Settings& settings) { return Cycle(session, settings).Run(); }

std::vector<base::TreeFile> FilesToSend(Session& session, const Settings& settings) {
    std::vector<base::TreeFile> files;
    for (const std::wstring& subFolder : base::SubFolders(settings.send))
        for (const std::wstring& path : session.FilesToSend(subFolder))
            files.push_back({subFolder, Path::FileName(path), SizeOf(path)});
    return files;
}

std::vector<std::wstring> ReceiveSubFolders(const Settings& settings) {
    std::vector<std::wstring> subFolders = base::SubFolders(settings.receive);
    std::erase_if(subFolders, IsBackupFolder);
    return subFolders;
}
