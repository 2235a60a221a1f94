// The command backups.
#include <algorithm>
#include <string>
#include <vector>

#include "base/Console.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/cycle/CycleLock.h"
#include "host/cycle/KeptBackups.h"
#include "host/session/Session.h"
#include "host/settings/SettingsChecks.h"

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

int Restore(Session& session, const std::wstring& packetId) {
    if (!session.RestoreBackup(packetId)) return Fail(packetId, L"moved into the receive folder");
    Console::Line(L"Packet " + packetId + L" is in the receive folder again; the next run delivers it.");
    return kAllDelivered;
}

int RestoreAll(Session& session, const std::vector<std::wstring>& packetIds) {
    int code = kAllDelivered;
    for (const std::wstring& id : packetIds)
        if (Restore(session, id) != kAllDelivered) code = kSomethingLeft;
    return code;
}

int Destroy(Session& session, const std::wstring& packetId) {
    if (!session.DestroyBackup(packetId)) return Fail(packetId, L"deleted");
    Console::Line(L"The backup of packet " + packetId + L" is deleted.");
    return kAllDelivered;
}

}  // namespace

int commands::Backups(const Options& options) {
    const Settings settings = ReadSettings(options.AbsolutePath(), {&CheckFolders, &CheckLogFile});
    const CycleLock lock(settings.file);
    KeptBackups(settings).PutBack();  // of a run that was ended
    const ComApartment apartment;
    Session session(settings);
    const std::vector<std::wstring> packetIds = session.PacketsWithBackup();
    const auto& [action, packetId] = options.backup;
    if (action == BackupAction::List) return ListAll(packetIds);
    if (action == BackupAction::RestoreAll) return RestoreAll(session, packetIds);
    if (std::ranges::find(packetIds, packetId) == packetIds.end()) return Refuse(packetId);
    return action == BackupAction::Restore ? Restore(session, packetId) : Destroy(session, packetId);
}
