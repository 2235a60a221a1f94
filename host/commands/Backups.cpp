// The command backups.
#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/Console.h"
#include "base/Path.h"
#include "base/Text.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/CycleLock.h"
#include "host/cycle/KeptBackups.h"
#include "host/cycle/WaitingPackets.h"
#include "host/session/Session.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SideFolders.h"
#include "packets/PacketName.h"

namespace {

int ListAll(const std::vector<std::wstring>& packetIds) {
    for (const std::wstring& id : packetIds)
        Console::Line(id);
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

std::size_t CountBackups(const Settings& settings) {
    return base::FilesBelow(Path::Join(settings.receive, kBackupFolder)).size();
}

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

/// Paths of received files, by the ids of their packets in capitals.
std::map<std::wstring, std::wstring> ReceivedPackets(const Settings& settings) {
    std::map<std::wstring, std::wstring> paths;
    const auto add = [&](const std::wstring& folder, const std::vector<base::TreeFile>& files) {
        for (const base::TreeFile& file : files)
            paths[base::Upper(GetPacketId(file.name))] = Path::Join(folder, file.RelativePath());
    };
    add(settings.receive, ReceivedFiles(settings));
    add(kAwaitingOlder.Path(settings), AwaitingFiles(settings));
    return paths;
}

/// What was received since is newer: a backup would replace it, or follow it into the inbox.
int Restore(Session& session, std::vector<std::wstring> packetIds, const Settings& settings) {
    const std::map<std::wstring, std::wstring> received = ReceivedPackets(settings);
    const std::size_t refused = std::erase_if(packetIds, [&](const std::wstring& id) {
        const auto newer = received.find(base::Upper(id));
        if (newer == received.end()) return false;
        Console::ErrorLine(L"znhost: the backup of packet " + id +
                           L" stays: a version that was received since waits in " + newer->second +
                           L"; run first");
        return true;
    });
    const int code = Apply(kRestore, session, std::move(packetIds), settings);
    return refused > 0 ? kSomethingLeft : code;
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
    const auto& [action, packetId] = options.backup;
    if (action == BackupAction::List) return ListAll(packetIds);
    if (action == BackupAction::RestoreAll) return Restore(session, packetIds, settings);
    if (std::ranges::find(packetIds, packetId) == packetIds.end()) return Refuse(packetId);
    if (action == BackupAction::Restore) return Restore(session, {packetId}, settings);
    return Apply(kDestroy, session, {packetId}, settings);
}
