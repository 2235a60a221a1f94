// See DavRelease.h.
#include "webdav/DavRelease.h"

#include <algorithm>
#include <vector>

#include "base/Text.h"
#include "common/modMain.h"
#include "webdav/DavTransfer.h"
#include "webdav/DigestNotes.h"
#include "webdav/RemoteFiles.h"

namespace {

bool WasSentAnew(const std::wstring& claim, const std::wstring& target, const ShownProcedure& self) {
    return self.Fail(L"File " + target +
                     L" was sent anew meanwhile. The older version stays on the server: delete " + claim +
                     L" if nobody needs it.");
}

bool Release(const DavServer& server, const std::wstring& claim, const std::wstring& target,
             const ShownProcedure& self) {
    const DavReply reply = server.Move(claim, target, DavServer::Other::Stays);
    if (reply.Succeeded() || !server.Exists(claim)) return true;
    if (server.Exists(target)) return WasSentAnew(claim, target, self);
    return self.Fail(Lines(L"Failed to release the file " + claim + L" on the server.", reply.failure));
}

}  // namespace

void ShowClaims(const DavServer& server, const std::wstring& remote, const HostProgress& progress) {
    const std::vector<ClaimHolder> holders = ClaimHolders(server, remote);
    for (const ClaimHolder& holder : holders)
        progress.AddMessage(holder.installation + L" holds packets: " +
                                std::to_wstring(holder.packets.size()),
                            ZN_PROGRESS_INFORMATION);
    if (holders.empty()) progress.AddMessage(L"Nobody holds packets.", ZN_PROGRESS_INFORMATION);
}

bool ReleaseClaims(const DavServer& server, const std::wstring& remote, const std::wstring& installation,
                   const ShownProcedure& self, const HostProgress& progress) {
    const std::vector<ClaimHolder> holders = ClaimHolders(server, remote);
    const auto holder = std::ranges::find_if(holders, [&](const ClaimHolder& other) {
        return base::EqualsIgnoringCase(other.installation, installation);
    });
    if (holder == holders.end())
        return self.Fail(L"No installation " + installation + L" holds packets on the server.");
    FolderProvider folders(server);
    DigestNotes notes(server, remote);
    bool isComplete = true;
    LONG position = 0;
    progress.SetRange(0, static_cast<LONG>(holder->packets.size()));
    for (const std::wstring& packet : holder->packets) {
        if (!ShowNext(progress, packet, position++)) return false;
        const std::wstring target = JoinRemote(remote, packet);
        isComplete = Try(self,
                         [&] {
                             folders.Provide(FolderAbove(target));
                             const std::wstring claim =
                                 JoinRemote(ClaimsOf(remote, holder->installation), packet);
                             // Others may have received the newer version: the notes stay with the claim.
                             notes.ReadOf(packet);
                             return notes.VersionsOf(packet) > 1 ? WasSentAnew(claim, target, self)
                                                                 : Release(server, claim, target, self);
                         }) &&
                     isComplete;
    }
    return isComplete;
}
