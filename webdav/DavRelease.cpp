// See DavRelease.h.
#include "webdav/DavRelease.h"

#include <algorithm>
#include <optional>
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

bool IsLatest(const DavServer& server, const std::wstring& packet, const std::wstring& claim,
              const DigestNotes& notes) {
    const std::optional<std::wstring> sha256 = Sha256At(server, claim);
    return sha256 && notes.IsLatest(packet, *sha256);
}

/// Of several versions others may have received a newer one already. The notes stay with the claim.
bool ReleaseLatest(const DavServer& server, const std::wstring& remote, const std::wstring& packet,
                   const std::wstring& claim, DigestNotes& notes, const ShownProcedure& self) {
    const std::wstring target = JoinRemote(remote, packet);
    notes.ReadOf(packet);
    if (!notes.AreAllRead())
        return self.Fail(L"The digests of the packets cannot be read from the server. File " + claim +
                         L" is not released.");
    if (notes.VersionsOf(packet) <= 1 || IsLatest(server, packet, claim, notes))
        return Release(server, claim, target, self);
    return self.Fail(L"File " + target + L" was sent in several versions, and " + claim +
                     L" is not known to be the latest. It stays on the server: look at it before you delete "
                     L"anything.");
}

/// Hears of claims that cannot be seen: isComplete becomes false.
Refuse Incompletely(const ShownProcedure& self, bool& isComplete) {
    return [&](const std::wstring& reason) { isComplete = self.Fail(reason); };
}

}  // namespace

bool ShowClaims(const DavServer& server, const std::wstring& remote, const ShownProcedure& self,
                const HostProgress& progress) {
    bool isComplete = true;
    const std::vector<ClaimHolder> holders = ClaimHolders(server, remote, Incompletely(self, isComplete));
    for (const ClaimHolder& holder : holders)
        progress.AddMessage(holder.installation + L" holds packets: " +
                                std::to_wstring(holder.packets.size()),
                            ZN_PROGRESS_INFORMATION);
    if (holders.empty() && isComplete) progress.AddMessage(L"Nobody holds packets.", ZN_PROGRESS_INFORMATION);
    return isComplete;
}

bool ReleaseClaims(const DavServer& server, const std::wstring& remote, const std::wstring& installation,
                   const ShownProcedure& self, const HostProgress& progress) {
    bool isComplete = true;
    const std::vector<ClaimHolder> holders = ClaimHolders(server, remote, Incompletely(self, isComplete));
    const auto holder = std::ranges::find_if(holders, [&](const ClaimHolder& other) {
        return base::EqualsIgnoringCase(other.installation, installation);
    });
    if (holder == holders.end())
        return self.Fail(L"No installation " + installation + L" holds packets on the server.");
    FolderProvider folders(server);
    DigestNotes notes(server, remote);
    LONG position = 0;
    progress.SetRange(0, static_cast<LONG>(holder->packets.size()));
    for (const std::wstring& packet : holder->packets) {
        if (!ShowNext(progress, packet, position++)) return false;
        const std::wstring claim = JoinRemote(ClaimsOf(remote, holder->installation), packet);
        const bool isReleased = Try(self, [&] {
            folders.Provide(JoinRemote(remote, FolderAbove(packet)));
            return ReleaseLatest(server, remote, packet, claim, notes, self);
        });
        isComplete = isReleased && isComplete;
    }
    return isComplete;
}
