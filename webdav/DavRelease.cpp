// See DavRelease.h.
#include "webdav/DavRelease.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "common/modMain.h"
#include "webdav/DavTransfer.h"
#include "webdav/DigestNotes.h"
#include "webdav/RemoteFiles.h"

namespace {

/// Gives one claim back. Of several versions others may have received a newer one already, and that also
/// while this looks for it. The notes stay with the claim.
class Release {
public:
    Release(const DavServer& server, DigestNotes& notes, const ShownProcedure& self,
            const std::wstring& packet, const std::wstring& claim, std::wstring target)
        : m_server(server),
          m_notes(notes),
          m_self(self),
          m_packet(packet),
          m_claim(claim),
          m_target(std::move(target)) {}

    bool Run() {
        m_notes.ReadOf(m_packet);
        m_notes.ReadNewOf(m_packet);
        if (HasVersions()) LookAtContent();
        if (const auto note = m_notes.UnreadOf(m_packet))
            return m_self.Fail(Lines(L"The digests of the packets cannot be read from the server. File " +
                                         m_claim + L" is not released.",
                                     WayOutOfUnread(*note)));
        if (!IsLatest()) return IsOutdated();
        const DavReply reply = m_server.Move(m_claim, m_target, DavServer::Other::Stays);
        if (!reply.Succeeded() && m_server.Exists(m_claim)) return Stays(reply);
        return IsStillLatest() || TakeBack();
    }

private:
    bool HasVersions() const { return m_notes.VersionsOf(m_packet) > 1; }
    bool IsLatest() const { return !HasVersions() || (m_sha256 && m_notes.IsLatest(m_packet, *m_sha256)); }
    /// Which takes its time.
    void LookAtContent() {
        m_sha256 = Sha256At(m_server, m_claim);
        m_notes.ReadNewOf(m_packet);
    }

    /// What cannot be seen may be newer.
    bool IsStillLatest() try {
        m_notes.ReadNewOf(m_packet);
        return !m_notes.UnreadOf(m_packet) && IsLatest();
    } catch (const base::Error&) {
        return false;
    }

    /// What has the name now may be the newer version already.
    bool TakeBack() {
        const DavReply reply = m_server.Move(m_target, m_claim, DavServer::Other::Stays);
        if (reply.Succeeded() || m_server.Exists(m_claim)) {
            // Of two that take a name at one moment, a server may have let the older one replace the newer.
            m_self.Fail(L"File " + m_target +
                        L" may have been sent anew while an older version was released, which was taken "
                        L"back. Look whether the newer one is received, and otherwise have it sent anew.");
            Run();
            return false;
        }
        return m_self.Fail(Lines(L"File " + m_target +
                                     L" may have been sent anew while an older version was released, which "
                                     L"cannot be taken back. Look at what is received.",
                                 reply.failure));
    }
    bool IsOutdated() const {
        return m_self.Fail(L"File " + m_target + L" was sent in several versions, and " + m_claim +
                           L" is not known to be the latest. It stays on the server: look at it before you "
                           L"delete anything.");
    }
    bool Stays(const DavReply& reply) const {
        if (m_server.Exists(m_target))
            return m_self.Fail(L"File " + m_target +
                               L" was sent anew meanwhile. The older version stays on the server: delete " +
                               m_claim + L" if nobody needs it.");
        return m_self.Fail(
            Lines(L"Failed to release the file " + m_claim + L" on the server.", reply.failure));
    }

    const DavServer& m_server;
    DigestNotes& m_notes;
    const ShownProcedure& m_self;
    const std::wstring& m_packet;
    const std::wstring& m_claim;
    const std::wstring m_target;
    std::optional<std::wstring> m_sha256;  ///< of the claim; nothing where it was not looked at
};

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
            return Release(server, notes, self, packet, claim, JoinRemote(remote, packet)).Run();
        });
        isComplete = isReleased && isComplete;
        if (!isReleased) server.Check(remote);
    }
    return isComplete;
}
