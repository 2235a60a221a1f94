// The command demo.
#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "base/Console.h"
#include "base/Environment.h"
#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "cipher/Sha256.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/console/Table.h"
#include "host/demo/DemoPackets.h"
#include "host/record/RunInProgress.h"
#include "host/record/RunReport.h"
#include "host/settings/Installation.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsFile.h"

namespace {

/// Packets that are to cross from one outbox to the other side's inbox.
struct Crossing {
    std::wstring title;
    std::wstring inbox;                           ///< where they are to arrive
    std::map<std::wstring, std::wstring> hashes;  ///< of the sources, by path relative to the outbox
};

struct Score {
    size_t delivered = 0;
    size_t lost = 0;
};

std::wstring NewScratchFolder() {
    return Path::Join(base::TemporaryFolder(), L"znhost-demo-" + std::to_wstring(GetCurrentProcessId()));
}

void RefuseExisting(const std::wstring& folder) {
    if (FileSystem::FolderExists(folder) || FileSystem::FileExists(folder))
        throw SettingsError({folder + L" exists already; name a folder that does not."});
}

std::map<std::wstring, std::wstring> Hashes(const std::wstring& outbox,
                                            const std::vector<std::wstring>& packets) {
    std::map<std::wstring, std::wstring> hashes;
    for (const std::wstring& packet : packets)
        hashes[packet] = Sha256OfFile(Path::Join(outbox, packet));
    return hashes;
}

Crossing Prepare(const std::wstring& title, const Settings& from, const Settings& to, unsigned seed) {
    return {title, to.inbox, Hashes(from.outbox, WriteDemoPackets(from.outbox, to.inbox, seed))};
}

void RunSide(const std::wstring& title, const Settings& settings) {
    if (Interrupt::Requested()) return;
    Console::Line(L"");
    Console::Line(title);
    Session session(settings);
    RunRecord record = BeginRecord(settings.file);
    EndRecord(record, RunCycle(session, settings));
    PrintReport(record, ReportForm::Table);
}

std::wstring Verdict(const std::wstring& file, const std::wstring& hash) {
    if (!FileSystem::FileExists(file)) return L"LOST";
    return Sha256OfFile(file) == hash ? L"equal" : L"DIFFERENT";
}

Score Compare(const Crossing& crossing) {
    Score score;
    Table table(
        {{L"Packet"}, {L"Size", Table::Align::Right}, {L"SHA-256 of the source"}, {L"Delivered file"}});
    for (const auto& [packet, hash] : crossing.hashes) {
        const std::wstring file = Path::Join(crossing.inbox, packet);
        const std::wstring verdict = Verdict(file, hash);
        const bool delivered = verdict == L"equal";
        ++(delivered ? score.delivered : score.lost);
        table.Add(
            {packet, delivered ? Grouped(FileSystem::FileSize(file)) : L"", hash.substr(0, 16), verdict});
    }
    Console::Line(L"");
    Console::Line(crossing.title);
    table.Print();
    return score;
}

Score operator+(const Score& left, const Score& right) {
    return {left.delivered + right.delivered, left.lost + right.lost};
}

/// Both directions, packets compressed.
Score ExchangeZipped(const Settings& field, const Settings& enterprise) {
    const Crossing up = Prepare(L"Field computer -> enterprise", field, enterprise, 1);
    const Crossing down = Prepare(L"Enterprise -> field computer", enterprise, field, 1001);
    RunSide(L"The field computer sends, zipped", field);
    RunSide(L"The enterprise receives and sends, zipped", enterprise);
    RunSide(L"The field computer receives", field);
    const Score sent = Compare(up);
    return sent + Compare(down);
}

/// Keeps a packet that a side has as its reference for differences.
Settings WithReference(Settings settings, const std::wstring& packet, const std::wstring& folder) {
    const std::wstring reference = Path::Join(folder, L"survey-1.AXR");
    FileSystem::CreateFolders(folder);
    FileSystem::CopyReplacing(packet, reference);
    settings.encoder = EncoderKind::XDelta;
    settings.xdelta.referencePath = reference;
    return settings;
}

/// The survey again, changed: only its difference against the one that both sides hold travels.
Score SendDifference(const Settings& field, const Settings& enterprise, const std::wstring& folder) {
    const wchar_t* const name = L"survey.mdb";
    const std::wstring packet = Path::Join(field.outbox, name);
    const std::wstring sentBefore = Path::Join(field.sent, name);
    const std::wstring receivedBefore = Path::Join(enterprise.inbox, name);
    if (Interrupt::Requested() || !FileSystem::FileExists(sentBefore) ||
        !FileSystem::FileExists(receivedBefore))
        return {};
    FileSystem::CopyReplacing(sentBefore, packet);
    ChangeDatabase(packet, 2);
    const Crossing up{L"Field computer -> enterprise", enterprise.inbox, Hashes(field.outbox, {name})};
    RunSide(L"The field computer sends what changed in survey.mdb",
            WithReference(field, sentBefore, Path::Join(folder, L"field\\references")));
    RunSide(L"The enterprise receives it",
            WithReference(enterprise, receivedBefore, Path::Join(folder, L"enterprise\\references")));
    return Compare(up);
}

/// A server between the sides, and how packets reach it.
struct Server {
    const wchar_t* kind;
    Transport transport;
    const ServerAccount& account;
    unsigned seed;  ///< of the packets

    Settings Between(Settings settings, const wchar_t* sendTo, const wchar_t* receiveFrom) const;
};

Settings Server::Between(Settings settings, const wchar_t* sendTo, const wchar_t* receiveFrom) const {
    settings.transport = transport;
    settings.ftpServer = settings.httpsServer = account.server;
    settings.ftpUser = settings.httpsUser = account.user;
    settings.ftpPassword.plain = settings.httpsPassword.plain = account.password;
    settings.remoteSend = account.folder + L"/" + sendTo;
    settings.remoteReceive = account.folder + L"/" + receiveFrom;
    return settings;
}

/// Both directions once more.
Score ExchangeThrough(const Server& server, const Settings& field, const Settings& enterprise) {
    if (server.account.server.empty() || Interrupt::Requested()) return {};
    const std::wstring kind = server.kind;
    const Crossing up{L"Field computer -> " + kind + L" server -> enterprise", enterprise.inbox,
                      Hashes(field.outbox, WriteServerDemoPackets(field.outbox, server.seed))};
    const Crossing down{
        L"Enterprise -> " + kind + L" server -> field computer", field.inbox,
        Hashes(enterprise.outbox, WriteServerDemoPackets(enterprise.outbox, 1000 + server.seed))};
    const Settings fieldSide = server.Between(field, L"up", L"down");
    RunSide(L"The field computer sends to the " + kind + L" server " + server.account.server, fieldSide);
    RunSide(L"The enterprise receives from it and sends", server.Between(enterprise, L"down", L"up"));
    RunSide(L"The field computer receives", fieldSide);
    const Score sent = Compare(up);
    return sent + Compare(down);
}

Score Exchange(const std::wstring& folder, const Options& options) {
    const Installation made = CreateInstallation(folder);
    const Settings field = ReadSettings(made.fieldSettings, {&CheckPrograms});
    const Settings enterprise = ReadSettings(made.enterpriseSettings);
    const ComApartment apartment;
    const Score zipped = ExchangeZipped(field, enterprise);
    const Score difference = SendDifference(field, enterprise, folder);
    const Score ftp = ExchangeThrough({L"FTP", Transport::Ftp, options.ftp, 3}, field, enterprise);
    return zipped + difference + ftp +
           ExchangeThrough({L"WebDAV", Transport::Https, options.https, 4}, field, enterprise);
}

}  // namespace

int commands::Demo(const Options& options) {
    const std::wstring scratch = options.path.empty() ? NewScratchFolder() : options.AbsolutePath();
    RefuseExisting(scratch);
    Console::Line(L"This is the " ZN_BITS L"-bit build. Two installations exchange packets in " + scratch);
    const Interrupt interrupt;
    const Score score = Exchange(scratch, options);
    Console::Line(L"");
    const bool stopped = Interrupt::Requested();
    if (options.keep || (score.lost != 0 && !stopped))
        Console::Line(L"The files are in " + scratch);
    else
        FileSystem::DeleteTree(scratch);
    if (stopped) {
        Console::Line(L"demo: stopped by the user");
        return kSomethingLeft;
    }
    Console::Line(L"demo: " + std::to_wstring(score.delivered) + L" packets delivered, " +
                  std::to_wstring(score.lost) + L" lost");
    return score.lost == 0 ? kAllDelivered : kSomethingLeft;
}
