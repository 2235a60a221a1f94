// See Cycle.h.
#include "host/cycle/Cycle.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <set>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/WriteBlock.h"
#include "com/Object.h"
#include "host/console/ConsoleProgress.h"
#include "host/console/Interrupt.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/Delivery.h"
#include "host/cycle/Hindrance.h"
#include "host/cycle/KeptBackups.h"
#include "host/cycle/OutcomeWords.h"
#include "host/cycle/SendFolder.h"
#include "host/cycle/WaitingPackets.h"
#include "host/record/LogTail.h"
#include "host/record/RunReport.h"
#include "packets/GoneFile.h"

namespace {

class Cycle {
public:
    Cycle(Session& session, const Settings& settings, Telling telling)
        : m_session(session),
          m_settings(settings),
          m_telling(telling),
          m_ledger(settings),
          m_awaited(settings) {}

    CycleResult Run();

private:
    void Show(const std::wstring& failure);
    void AddOutbox();
    void AddFile(const base::TreeFile& file, const SendFolder& sendFolder);
    void LeaveOutbox(const base::TreeFile& file, const FileSystem::WriteBlock& block) const;
    std::chrono::seconds Patience() const;
    std::wstring Explained(const std::wstring& failure, const LogTail& log) const;
    Hindrance Transfer();
    void SeeWhatCanBeSent();
    bool WasTaken(const base::TreeFile& file) const;
    void ReportTaken(const base::TreeFile& file);
    void ReportGone();
    void ReportSending();
    void ReportReceiving(const std::vector<base::TreeFile>& offered);

    Session& m_session;
    const Settings& m_settings;
    const Telling m_telling;
    PacketLedger m_ledger;
    std::vector<base::TreeFile> m_added;
    std::vector<base::TreeFile> m_waiting;  // to be sent
    // Of these, before the transport began; nothing where it did not.
    std::optional<std::set<std::wstring>> m_taken;
    AwaitedForms m_awaited;
    std::vector<std::wstring> m_shownFailures;
};

CycleResult Cycle::Run() {
    const std::vector<base::TreeFile> offered = OfferedFiles(m_settings);
    AddOutbox();
    m_waiting = FilesToSend(m_session, m_settings);
    KeptBackups backups(m_settings);
    backups.Take();
    const base::TreeSnapshot waitingHere(m_settings.receive);
    Hindrance failure = Transfer();
    // For the transport a folder that is not there holds nothing.
    if (const Hindrance unseen = WhyNothingIsReceived(m_settings); unseen && !failure) failure = unseen;
    ReportGone();
    ReportSending();
    ReportReceiving(offered);
    const Hindrance notPutBack = Try(m_settings, [&] {
        m_awaited.PutBack(offered, m_ledger);
        backups.PutBack();
        return true;
    });
    // A version that waits unseen would follow what is delivered now, and new backups would lie where the
    // next run takes them for packets.
    if (notPutBack)
        failure = notPutBack;
    else if (const Hindrance noBackup =
                 Delivery(m_session, m_settings, m_awaited, m_ledger).DeliverAll(waitingHere))
        Show(*noBackup);
    return {m_ledger.Outcomes(), failure, m_shownFailures, Interrupt::Requested()};
}

/// As the progress object does.
void Cycle::Show(const std::wstring& failure) {
    m_shownFailures.push_back(failure);
    if (m_telling != Telling::Nothing) PrintFailure(failure);
}

// --- Sending ----------------------------------------------------------------------------------------

void Cycle::AddOutbox() {
    const SendFolder sendFolder(m_settings, m_ledger);
    const std::vector<base::TreeFile> files = OutboxFiles(m_settings, m_ledger);
    const OutboxObjections objections(files, m_settings, m_ledger);
    for (const base::TreeFile& file : files) {
        if (const Hindrance objection = objections.To(file))
            m_ledger.ReportInOutbox(file, PacketState::NotAdded, *objection);
        else
            AddFile(file, sendFolder);
    }
}

void Cycle::AddFile(const base::TreeFile& file, const SendFolder& sendFolder) {
    const std::wstring path = Path::Join(m_settings.outbox, file.RelativePath());
    // A version that somebody saves after this one was added would leave the outbox without being sent.
    const FileSystem::WriteBlock block(path);
    std::optional<SendFolder::OlderVersions> older;
    const Hindrance notAdded = Try(m_settings, [&] {
        if (Interrupt::Requested()) return false;
        block.Held();
        older.emplace(sendFolder, file);
        return m_session.Add(path, file.subFolder);
    });
    if (notAdded) return m_ledger.ReportInOutbox(file, PacketState::NotAdded, *notAdded);
    m_ledger.NoteAdded(file);
    m_added.push_back(file);
    const Hindrance notLeft = Try(m_settings, [&] {
        sendFolder.MakeRemovable(file);
        older->Replaced();
        LeaveOutbox(file, block);
        return true;
    });
    if (notLeft) m_ledger.ReportInOutbox(file, PacketState::InOutbox, *notLeft);
}

/// Among sent files it replaces an older one of its name.
void Cycle::LeaveOutbox(const base::TreeFile& file, const FileSystem::WriteBlock& block) const {
    const auto leaves = [&] {
        if (m_settings.sent.empty()) return block.Delete(FileSystem::ReadOnlyFiles::Delete);
        const std::wstring archived = Path::Join(m_settings.sent, file.RelativePath());
        FileSystem::CreateFolders(Path::ParentFolder(archived));
        return block.MoveReplacing(archived);
    };
    // Programs that save under another name first, and rename that, are not blocked.
    if (!leaves())
        throw base::Error(E_FAIL,
                          L"another version was saved while this one was added; the next run sends it");
}

/// Where a person may be asked something, only a person can tell how long that takes.
std::chrono::seconds Cycle::Patience() const {
    return std::chrono::seconds(m_settings.userInterface ? 0 : std::stoi(m_settings.patience));
}

/// With the first failure that was shown, or else reported: what keeps a connection from coming about is
/// shown nowhere.
std::wstring Cycle::Explained(const std::wstring& failure, const LogTail& log) const {
    const auto why = m_shownFailures.empty() ? log.FirstError() : std::optional(m_shownFailures.front());
    if (!why || why->empty()) return failure;
    return base::OnOneLine(*why) + L" (" + failure + L")";
}

Hindrance Cycle::Transfer() {
    const auto progress = com::Make<ConsoleProgress>(Patience(), m_telling, [this] { SeeWhatCanBeSent(); });
    const LogTail log(m_settings);
    Hindrance failure = Try(m_settings, [&] {
        return !Interrupt::Requested() && m_session.SendReceive(static_cast<IZNProgress*>(progress.Get()));
    });
    m_shownFailures = progress->Failures();
    if (failure && !Interrupt::Requested()) failure = Explained(*failure, log);
    // For the transport a cancelled login is no failure.
    if (!failure && m_session.LoginCancelled()) return L"the login was cancelled";
    return failure;
}

/// Somebody else can take packets while the transport connects.
void Cycle::SeeWhatCanBeSent() {
    std::set<std::wstring> there;
    const Hindrance unseen = Try(m_settings, [&] {
        for (const base::TreeFile& file : SendFiles(m_settings))
            there.insert(file.RelativePath());
        return FileSystem::FolderIsThere(m_settings.send);
    });
    m_taken.emplace();
    if (unseen) return;
    for (const base::TreeFile& file : m_waiting)
        if (!there.contains(file.RelativePath())) m_taken->insert(file.RelativePath());
}

/// Whether somebody else took what has left the send folder.
bool Cycle::WasTaken(const base::TreeFile& file) const {
    const std::wstring path = file.RelativePath();
    const std::wstring taken = TellOfGone(Path::Join(m_settings.send, path));
    return !m_taken || m_taken->contains(path) || std::ranges::count(m_shownFailures, taken) > 0;
}

/// Where the other side fetches from the send folder itself, it was quick.
void Cycle::ReportTaken(const base::TreeFile& file) {
    if (base::EqualsIgnoringCase(m_settings.send, m_settings.remoteSend))
        m_ledger.ReportTravelling(Direction::Out, file, PacketState::Sent);
    else
        m_ledger.ReportTravelling(Direction::Out, file, PacketState::Gone,
                                  L"somebody else took it from there before it was sent");
}

/// What was added and did not wait when the transfer began.
void Cycle::ReportGone() {
    std::set<std::wstring> seen;
    for (const base::TreeFile& file : m_waiting)
        seen.insert(base::Upper(m_ledger.PacketIn(file).RelativePath()));
    for (const base::TreeFile& packet : m_added)
        if (!seen.contains(base::Upper(packet.RelativePath()))) ReportTaken(packet);
}

void Cycle::ReportSending() {
    // With the folder that it lies in no packet has left.
    const bool isThere = FileSystem::FolderExists(m_settings.send);
    for (const base::TreeFile& file : m_waiting) {
        if (!isThere || FileSystem::FileExists(Path::Join(m_settings.send, file.RelativePath())))
            m_ledger.ReportTravelling(Direction::Out, file, PacketState::Waiting, ReasonIn(m_settings));
        else if (WasTaken(file))
            ReportTaken(file);
        else
            m_ledger.ReportTravelling(Direction::Out, file, PacketState::Sent);
    }
}

// --- Receiving --------------------------------------------------------------------------------------

/// What came while the others were received is for the next run. With the remote folder itself nothing has
/// left it but what has arrived here.
void Cycle::ReportReceiving(const std::vector<base::TreeFile>& offered) {
    if (offered.empty()) return;
    const bool isThere = FileSystem::FolderExists(m_settings.remoteReceive);
    std::set<std::wstring> left;
    for (const base::TreeFile& file : OfferedFiles(m_settings))
        left.insert(file.RelativePath());
    const auto arrived = [&](const base::TreeFile& file) {
        return FileSystem::FileExists(Path::Join(m_settings.receive, file.RelativePath()));
    };
    for (const base::TreeFile& file : offered)
        if (left.contains(file.RelativePath()) || (!isThere && !arrived(file)))
            m_ledger.ReportTravelling(Direction::In, file, PacketState::NotReceived, ReasonIn(m_settings));
}

}  // namespace

bool CycleResult::Complete() const {
    const bool nothingIsLeft = std::ranges::all_of(
        outcomes, [](const Outcome& outcome) { return WordsOf(outcome.state).account != Account::Left; });
    return nothingIsLeft && !transferFailure && shownFailures.empty() && !interrupted;
}

CycleResult RunCycle(Session& session, const Settings& settings, Telling telling) {
    return Cycle(session, settings, telling).Run();
}

std::vector<base::TreeFile> FilesToSend(Session& session, const Settings& settings) {
    std::vector<base::TreeFile> files;
    for (const std::wstring& subFolder : base::SubFolders(settings.send))
        for (const std::wstring& path : session.FilesToSend(subFolder))
            files.push_back({subFolder, Path::FileName(path), SizeOf(path)});
    return files;
}
