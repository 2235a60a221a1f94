#include "host/Cycle.h"

#include <algorithm>
#include <set>

#include "com/Error.h"
#include "com/Text.h"
#include "host/Archive.h"
#include "host/Interrupt.h"
#include "host/Progress.h"

namespace {

/// One call to the transport: done, or why not.
struct Attempt {
    bool done = false;
    std::wstring reason;
};

class Cycle {
public:
    Cycle(Session& session, const Settings& settings) : m_session(session), m_settings(settings) {}

    CycleResult Run();

private:
    void AddOutbox();
    void AddFile(const Files::Entry& file);
    void Transfer();
    void ReportSending(const std::vector<Files::Entry>& waiting);
    void ReportReceiving(const std::vector<Files::Entry>& offered);
    std::vector<Files::Entry> OfferedFiles() const;
    void DeliverAll();
    void DeliverFolder(const std::wstring& subFolder);
    std::set<std::wstring> DeliverFiles(const std::wstring& subFolder, std::wstring& reason);
    void DeliverNext(const std::wstring& subFolder, const std::wstring& destination,
                     std::set<std::wstring>& names, std::wstring& reason);
    void ReportDelivery(const Files::Entry& file, const std::set<std::wstring>& names,
                        const std::wstring& reason);

    template <class Call>
    Attempt Try(Call&& call) const;
    std::wstring Reason() const;
    void Report(Direction direction, const Files::Entry& file, PacketState state,
                const std::wstring& reason = {});

    Session& m_session;
    const Settings& m_settings;
    CycleResult m_result;
};

CycleResult Cycle::Run() {
    const std::vector<Files::Entry> offered = OfferedFiles();
    AddOutbox();
    const std::vector<Files::Entry> waiting = FilesToSend(m_session, m_settings);
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
} catch (const com::Error& error) {
    return {false, error.failure().description};
}

std::wstring Cycle::Reason() const {
    return Interrupt::Requested() ? L"stopped before its turn" : LogReference(m_settings);
}

void Cycle::Report(Direction direction, const Files::Entry& file, PacketState state,
                   const std::wstring& reason) {
    m_result.outcomes.push_back({direction, file.Relative(), file.size, state, reason});
}

// --- Sending ----------------------------------------------------------------------------------------

void Cycle::AddOutbox() {
    for (const Files::Entry& file : Files::Tree(m_settings.outbox))
        AddFile(file);
}

void Cycle::AddFile(const Files::Entry& file) {
    const std::wstring path = Files::Join(m_settings.outbox, file.Relative());
    const Attempt added = Try([&] { return !Interrupt::Requested() && m_session.Add(path, file.subFolder); });
    if (!added.done) return Report(Direction::Out, file, PacketState::NotAdded, added.reason);
    const Attempt left = Try([&] {
        LeaveOutbox(m_settings.outbox, file, m_settings.sent);
        return true;
    });
    if (!left.done) Report(Direction::Out, file, PacketState::InOutbox, left.reason);
}

void Cycle::Transfer() {
    const Microsoft::WRL::ComPtr<ConsoleProgress> progress = com::Make<ConsoleProgress>();
    const Attempt transfer = Try([&] {
        return !Interrupt::Requested() && m_session.SendReceive(static_cast<IZNProgress*>(progress.Get()));
    });
    m_result.transferred = transfer.done;
    m_result.transferReason = transfer.reason;
}

void Cycle::ReportSending(const std::vector<Files::Entry>& waiting) {
    for (const Files::Entry& file : waiting) {
        if (Files::FileExists(Files::Join(m_settings.send, file.Relative())))
            Report(Direction::Out, file, PacketState::Waiting, Reason());
        else
            Report(Direction::Out, file, PacketState::Sent);
    }
}

// --- Receiving --------------------------------------------------------------------------------------

/// A remote side that cannot be listed now offers nothing; the transfer tells why.
std::vector<Files::Entry> Cycle::OfferedFiles() const try {
    return Files::Tree(m_settings.remoteReceive);
} catch (const com::Error&) {
    return {};
}

void Cycle::ReportReceiving(const std::vector<Files::Entry>& offered) {
    for (const Files::Entry& file : offered)
        if (Files::FileExists(Files::Join(m_settings.remoteReceive, file.Relative())))
            Report(Direction::In, file, PacketState::NotReceived, Reason());
    if (Files::FileExists(m_settings.remoteReceive)) {
        m_result.transferred = false;
        m_result.transferReason = m_settings.remoteReceive + L" is a file, not a folder";
    }
}

void Cycle::DeliverAll() {
    for (const std::wstring& subFolder : ReceiveSubFolders(m_settings))
        DeliverFolder(subFolder);
}

void Cycle::DeliverFolder(const std::wstring& subFolder) {
    const std::vector<Files::Entry> files = Files::FilesIn(m_settings.receive, subFolder);
    if (files.empty()) return;
    std::wstring reason = Reason();
    const std::set<std::wstring> names = DeliverFiles(subFolder, reason);
    for (const Files::Entry& file : files)
        ReportDelivery(file, names, reason);
}

/// Returns the names of the files that arrived, in capitals.
std::set<std::wstring> Cycle::DeliverFiles(const std::wstring& subFolder, std::wstring& reason) {
    const std::wstring destination = Files::Join(m_settings.inbox, subFolder);
    std::set<std::wstring> names;
    LONG count = 0;
    const Attempt ready = Try([&] {
        Files::CreateFolders(destination);
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
        const std::wstring name = Files::FileName(received.path);
        names.insert(com::Upper(name));
        Report(Direction::In, {subFolder, name, Files::Size(Files::Join(destination, name))},
               PacketState::Delivered);
        return true;
    });
    if (!attempt.done) reason = attempt.reason;
}

/// Reports a received file that no call handed out as delivered.
void Cycle::ReportDelivery(const Files::Entry& file, const std::set<std::wstring>& names,
                           const std::wstring& reason) {
    if (Files::FileExists(Files::Join(m_settings.receive, file.Relative())))
        return Report(Direction::In, file, PacketState::NotDelivered, reason);
    // Delivered all the same: only the removal of its predecessor failed.
    if (!names.contains(com::Upper(file.name)) &&
        Files::FileExists(Files::Join(m_settings.inbox, file.Relative())))
        Report(Direction::In, file, PacketState::Delivered, reason);
}

}  // namespace

bool CycleResult::Complete() const {
    return transferred && !interrupted && std::ranges::all_of(outcomes, [](const Outcome& outcome) {
               return outcome.state == PacketState::Sent || outcome.state == PacketState::Delivered;
           });
}

CycleResult RunCycle(Session& session, const Settings& settings) { return Cycle(session, settings).Run(); }

std::wstring LogReference(const Settings& settings) {
    return settings.logFile.empty() ? L"see the event log" : L"see " + settings.logFile;
}

std::vector<Files::Entry> FilesToSend(Session& session, const Settings& settings) {
    std::vector<Files::Entry> files;
    for (const std::wstring& subFolder : Files::SubFolders(settings.send))
        for (const std::wstring& path : session.FilesToSend(subFolder))
            files.push_back({subFolder, Files::FileName(path), Files::Size(path)});
    return files;
}

std::vector<std::wstring> ReceiveSubFolders(const Settings& settings) {
    const auto isBackup = [](const std::wstring& subFolder) {
        return com::EqualsIgnoringCase(subFolder.substr(0, subFolder.find(L'\\')), L"Backup");
    };
    std::vector<std::wstring> subFolders = Files::SubFolders(settings.receive);
    std::erase_if(subFolders, isBackup);
    return subFolders;
}
