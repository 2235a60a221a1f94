#include "host/Backups.h"

#include <algorithm>

#include "base/Console.h"
#include "host/ExitCode.h"
#include "host/Table.h"

namespace {

int List(const std::vector<std::wstring>& packetIds) {
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

int HandleBackups(Session& session, const BackupRequest& request) {
    const std::vector<std::wstring> packetIds = session.PacketsWithBackup();
    const bool namesPacket =
        request.action == BackupAction::Restore || request.action == BackupAction::Destroy;
    if (namesPacket && std::ranges::find(packetIds, request.packetId) == packetIds.end())
        return Refuse(request.packetId);
    switch (request.action) {
    case BackupAction::List:
        return List(packetIds);
    case BackupAction::Restore:
        return Restore(session, request.packetId);
    case BackupAction::RestoreAll:
        return RestoreAll(session, packetIds);
    case BackupAction::Destroy:
        return Destroy(session, request.packetId);
    }
    return kBadUsage;
}
