// The command backups.
#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/Console.h"
#include "base/FileSystem.h"
#include "base/LocalTime.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/WindowsTime.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/CycleLock.h"
#include "host/cycle/KeptBackups.h"
#include "host/cycle/PacketLedger.h"
#include "host/cycle/References.h"
#include "host/cycle/WaitingPackets.h"
#include "host/session/Session.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SideFolders.h"
#include "packets/PacketName.h"

namespace {

/// What is done with an id is done with each of its files.
int ListAll(const std::vector<std::wstring>& packetIds, const Settings& settings) {
    Table table({{L"Id"}, {L"Backup"}, {L"Size", Table::Align::Right}, {L"Time"}});
    for (const base::TreeFile& file : base::FilesBelow(BackupFolder(settings)))
        table.Add({GetPacketId(file.name), file.RelativePath(), Grouped(file.size),
                   base::LocalTime(base::FromWindowsTime(file.lastWrite))});
    if (!table.IsEmpty()) table.Print();
    Console::Line(Counted(packetIds.size(), L"packet") + L" with a backup");
    return kAllDelivered;
}

int Refuse(const std::wstring& packetId) {
    Console::ErrorLine(L"znhost: there is no backup of packet " + packetId +
                       L"; \"znhost backups SETTINGS\" lists those that there are");
    return kSomethingLeft;
}

int Fail(const std::wstring& packetId, const std::wstring& what) {
    Console::ErrorLine(L"znhost: the backup of packet " + packetId + L" cannot be " + what +
                       L" and stays; another program may use it, or the disk may be full or write-protected");
    return kSomethingLeft;
}

/// What is done with backups.
struct Use {
    bool (Session::*one)(const std::wstring& packetId);
    const wchar_t* goal;  ///< of the backup, as a failure tells it
    std::wstring (*success)(const std::wstring& packetId);
};

constexpr Use kRestore{
    &Session::RestoreBackup, L"moved into the receive folder", [](const std::wstring& packetId) {
        return L"Packet " + packetId + L" is in the receive folder again; the next run delivers it.";
    }};
constexpr Use kDestroy{&Session::DestroyBackup, L"deleted", [](const std::wstring& packetId) {
                           return L"The backup of packet " + packetId + L" is deleted.";
                       }};

std::size_t CountBackups(const Settings& settings) { return base::FilesBelow(BackupFolder(settings)).size(); }

/// Packets of several folders can have one id, of which the library knows one backup at a time.
int Apply(const Use& use, Session& session, std::vector<std::wstring> packetIds, const Settings& settings) {
    int code = kAllDelivered;
    for (std::size_t backups = CountBackups(settings); !packetIds.empty();) {
        std::erase_if(packetIds, [&](const std::wstring& id) {
            if ((session.*use.one)(id)) return false;
            code = Fail(id, use.goal);
            return true;
        });
        const std::vector<std::wstring> left = session.PacketsWithBackup();
        std::erase_if(packetIds, [&](const std::wstring& id) {
            if (std::ranges::find(left, id) != left.end()) return false;
            Console::Line(use.success(id));
            return true;
        });
        // A deleted file keeps its name until the last program that has it open closes it.
        if (std::exchange(backups, CountBackups(settings)) == backups)
            for (const std::wstring& id : std::exchange(packetIds, {}))
                code = Fail(id, use.goal);
    }
    return code;
}

/// Why backups stay, by the ids of their packets in capitals.
using Objections = std::map<std::wstring, std::wstring>;

void AddReceived(Objections& objections, const std::wstring& folder,
                 const std::vector<base::TreeFile>& files) {
    for (const base::TreeFile& file : files)
        objections.emplace(base::Upper(GetPacketId(file.name)),
                           L"a version that was received since waits in " +
                               Path::Join(folder, file.RelativePath()) + L"; run first");
}

/// What is there since would be replaced. No time tells whether a file of the inbox still is the packet of
/// the backup: one that was made of a difference has the time of its delivery.
Objections ObjectionsToRestoring(const Settings& settings, bool isOver) {
    Objections objections;
    AddReceived(objections, settings.receive, ReceivedFiles(settings));
    AddReceived(objections, kAwaitingOlder.Path(settings), AwaitingFiles(settings));
    const PacketLedger ledger(settings);
    const std::wstring folder = BackupFolder(settings);
    for (const base::TreeFile& file : base::FilesBelow(folder)) {
        const std::wstring id = base::Upper(GetPacketId(file.name));
        const std::wstring backup = Path::Join(folder, file.RelativePath());
        const std::wstring reference = MissingReference(file.name, settings);
        if (!reference.empty())
            objections.emplace(id, backup + L" needs the reference file " + reference +
                                       L"; get that from the other side, under the same name");
        const std::wstring delivered = Path::Join(settings.inbox, ledger.PacketIn(file).RelativePath());
        if (!isOver && FileSystem::FileIsThere(delivered))
            objections.emplace(id, backup + L" would replace " + delivered +
                                       L"; take that away first, or add --over");
    }
    return objections;
}

int Restore(Session& session, std::vector<std::wstring> packetIds, const Settings& settings, bool isOver) {
    const Objections objections = ObjectionsToRestoring(settings, isOver);
    const std::size_t refused = std::erase_if(packetIds, [&](const std::wstring& id) {
        const auto objection = objections.find(base::Upper(id));
        if (objection == objections.end()) return false;
        Console::ErrorLine(L"znhost: the backup of packet " + id + L" stays: " + objection->second);
        return true;
    });
    const int code = Apply(kRestore, session, std::move(packetIds), settings);
    return refused > 0 ? kSomethingLeft : code;
}

/// By ids nobody reaches them. Returns whether there are any.
bool TellOfBackupsWithoutId(const Settings& settings) {
    const std::wstring folder = BackupFolder(settings);
    std::vector<base::TreeFile> files = base::FilesBelow(folder);
    std::erase_if(files, [](const base::TreeFile& file) { return !GetPacketId(file.name).empty(); });
    for (const base::TreeFile& file : files)
        Console::ErrorLine(L"znhost: the backup " + Path::Join(folder, file.RelativePath()) +
                           L" stays: its name holds no id. While no run works, move it to " +
                           Path::Join(settings.receive, file.RelativePath()) +
                           L"; the next run delivers it from there");
    return !files.empty();
}

int RestoreAll(Session& session, const std::vector<std::wstring>& packetIds, const Settings& settings,
               bool isOver) {
    const int code = Restore(session, packetIds, settings, isOver);
    return TellOfBackupsWithoutId(settings) ? kSomethingLeft : code;
}

}  // namespace

int commands::Backups(const Options& options) {
    const Settings settings =
        ReadSettingsWithoutPasswords(options.AbsolutePath(), {&CheckFolders, &CheckLogFile});
    const CycleLock lock(settings);
    // Of a run that was ended.
    KeptBackups(settings).PutBack();
    const ComApartment apartment;
    Session session(settings);
    const std::vector<std::wstring> packetIds = session.PacketsWithBackup();
    const auto& [action, packetId, isOver] = options.backup;
    if (action == BackupAction::List) return ListAll(packetIds, settings);
    if (action == BackupAction::RestoreAll) return RestoreAll(session, packetIds, settings, isOver);
    if (std::ranges::find(packetIds, packetId) == packetIds.end()) return Refuse(packetId);
    if (action == BackupAction::Restore) return Restore(session, {packetId}, settings, isOver);
    return Apply(kDestroy, session, {packetId}, settings);
}
