// See DavReceiver.h.
#include "webdav/DavReceiver.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <vector>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Sha256.h"
#include "com/MessagePump.h"
#include "common/modMain.h"
#include "http/HttpError.h"
#include "webdav/DavInstallation.h"
#include "webdav/DigestNotes.h"
#include "webdav/IncomingPacket.h"
#include "webdav/RemoteFiles.h"

namespace {

// A server whose line breaks again and again is left to the next transfer.
constexpr int kMostAttempts = 10;
// What brings less is left to it at once: it may have taken a minute.
constexpr std::uint64_t kWorthAnAttempt = 16 << 10;  // bytes

constexpr std::wstring_view kPartEnding = L".part";

}  // namespace

/// One call of MoveFiles.
class DavReceiver::Transfer {
public:
    Transfer(const DavReceiver& receiver, std::wstring remote, std::wstring subFolder,
             const std::wstring& local)
        : m_server(receiver.m_server),
          m_progress(receiver.m_progress),
          m_self(L"clsHTTPSndRcv.cls.MoveFiles", m_progress),
          m_remote(std::move(remote)),
          m_subFolder(std::move(subFolder)),
          m_local(local),
          m_installation(local),
          m_claims(ClaimsOf(m_remote, m_installation.Name())),
          m_notes(m_server, m_remote) {}

    bool Run() {
        // Before the packets: what is still an upload then is seen as one.
        m_notes.ReadOf(JoinRemote(m_subFolder, L"*"));
        ReceiveClaims();
        const std::vector<std::wstring> waiting = Files(m_remote);
        const bool goesOn = ClaimAndReceive(waiting);
        if (goesOn && !m_gone.empty()) LookForGone();
        if (goesOn) TellOfOtherClaims();
        if (goesOn) DeleteNotes(waiting);
        return goesOn && !m_isFull && StillReachesServer();
    }

private:
    std::vector<std::wstring> Files(const std::wstring& folder) {
        return FilesBelow(
            m_server, folder, m_subFolder,
            [&](const std::wstring& reason) {
                m_hasSeenAll = false;
                Stays(reason);
            },
            [&](const std::wstring& subFolder) { m_notes.Read(subFolder); });
    }

    /// Without a word of what was refused the first time.
    std::vector<std::wstring> WaitingAgain() const {
        return FilesBelow(m_server, m_remote, m_subFolder, [](const std::wstring&) {});
    }

    /// Runs a step whose failure keeps a packet where it is.
    template <class Step>
    bool Attempt(Step&& step) {
        bool done = false;
        const bool ended = Try(m_self, [&] {
            done = step();
            return true;
        });
        if (!ended) m_isComplete = false;
        return done;
    }

    /// What stays may do so because of the server, where any other packet would stay, too.
    bool StillReachesServer() const { return m_isComplete || m_server.IsThere(m_remote); }

    bool Stays(const std::wstring& report) {
        m_isComplete = false;
        return m_self.Fail(report);
    }

    // --- Claims
    // ---------------------------------------------------------------------------------------------

    /// False when nothing more can be received now.
    bool ClaimAndReceive(const std::vector<std::wstring>& packets) {
        if (packets.empty()) return true;
        m_progress.SetRange(0, static_cast<LONG>(packets.size()));
        LONG position = 0;
        for (const std::wstring& packet : packets) {
            if (m_isFull || !ShowNext(m_progress, packet, position++)) return false;
            if (Attempt([&] { return ClaimAndReceive(packet); })) m_received.insert(packet);
        }
        return true;
    }

    bool ClaimAndReceive(const std::wstring& packet) {
        const std::wstring name = base::Upper(packet);
        const auto unfinished = m_unfinished.find(name);
        if (unfinished != m_unfinished.end() && !SetDamagedAside(unfinished->second)) return false;
        // First: what cannot be stored here is left to other receivers.
        IncomingPacket incoming = Incoming(packet);
        if (Claim(packet)) {
            // A part that is left here came of an earlier claim, which may have been another version.
            incoming.GoOnAt(0);
            m_unfinished.emplace(name, packet);
            const bool received = Receive(packet, incoming);
            if (received) m_unfinished.erase(name);
            return received;
        }
        incoming.Drop();
        return false;
    }

    /// False where it is somebody else's, and where it fails.
    bool Claim(const std::wstring& packet) {
        m_folders.Provide(JoinRemote(m_claims, FolderAbove(packet)));
        const std::wstring source = JoinRemote(m_remote, packet);
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Move(source, claim, DavServer::Other::Stays);
        // As a rule somebody was faster; one look at all of them in the end tells what was otherwise.
        if (reply.IsMissing()) {
            m_gone.insert(packet);
            return false;
        }
        // Somebody who was faster shows in other ways, too, and the answer to a success can get lost.
        if (reply.Succeeded() || m_server.HasFile(claim)) return true;
        if (m_server.Exists(source))
            return Stays(Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        m_gone.insert(packet);
        return false;
    }

    bool DeleteClaim(const std::wstring& packet) {
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Delete(claim);
        if (reply.Succeeded() || !m_server.Exists(claim)) return true;
        return Stays(
            Lines(L"Failed to delete the file " + packet + L" from the server. It will be received again.",
                  reply.failure));
    }

    /// What waits now was sent later, and takes the place of one that did not come as it was sent. False
    /// where it is unfinished for another reason.
    bool SetDamagedAside(const std::wstring& packet) {
        const auto damaged = m_damaged.find(packet);
        if (damaged == m_damaged.end()) return false;
        const std::wstring aside = JoinRemote(DamagedOf(m_remote), packet + L"~" + damaged->second);
        m_folders.Provide(FolderAbove(aside));
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Move(claim, aside, DavServer::Other::IsReplaced);
        return reply.Succeeded() || !m_server.Exists(claim) ||
               Stays(Lines(L"Failed to set the damaged file " + packet + L" aside on the server.",
                           reply.failure));
    }

    // --- Content
    // --------------------------------------------------------------------------------------------

    /// What carries a request may do so twice, and what seems to be gone may be there all the same.
    void LookForGone() {
        ReceiveClaims();
        for (const std::wstring& packet : WaitingAgain()) {
            if (m_gone.erase(packet) == 0) continue;
            if (Attempt([&] { return ClaimAndReceive(packet); })) m_received.insert(packet);
            if (m_gone.contains(packet) && m_server.Exists(JoinRemote(m_remote, packet)))
                Stays(L"Failed to retrieve file " + packet +
                      L" from the server: it is there, and cannot be claimed.");
        }
    }

    /// All of this installation, but for those that could not be received just now.
    void ReceiveClaims() {
        std::vector<std::wstring> claimed = Files(m_claims);
        DeletePartsExceptOf(claimed);
        std::erase_if(claimed,
                      [&](const std::wstring& packet) { return m_unfinished.contains(base::Upper(packet)); });
        std::ranges::for_each(claimed, [&](const std::wstring& packet) { m_notes.ReadOf(packet); });
        std::ranges::for_each(claimed, [&](const std::wstring& packet) { ReceiveClaimed(packet); });
    }

    /// What was claimed under a name that this installation had: it may be another one's, which receives it
    /// just now.
    void TellOfOtherClaims() {
        for (const std::wstring& name : m_installation.OtherNames()) {
            const std::size_t count = Files(ClaimsOf(m_remote, name)).size();
            if (count == 0) continue;
            Stays(L"Packets on the server are claimed as " + name + L": " + std::to_wstring(count) +
                  L". The folder " + m_local +
                  L" had that name before the computer was renamed or the folder moved, or is a copy of one "
                  L"that "
                  L"has it still. If nobody receives under that name any more, release them.");
        }
    }

    void ReceiveClaimed(const std::wstring& packet) {
        const bool received = Attempt([&] {
            IncomingPacket incoming = Incoming(packet);
            return Receive(packet, incoming);
        });
        if (!received) m_unfinished.emplace(base::Upper(packet), packet);
    }

    IncomingPacket Incoming(const std::wstring& packet) const {
        const std::wstring target = Path::Join(m_local, LocalPath(packet));
        FileSystem::CreateFolders(Path::ParentFolder(target));
        return {target, Path::Join(m_installation.Folder(), PartOf(packet)), [this] {
                    com::ProcessPendingMessages();
                    if (m_progress.Cancelled()) throw HttpError(ERROR_CANCELLED, m_server.Name());
                }};
    }

    /// Of what is claimed.
    bool Receive(const std::wstring& packet, IncomingPacket& incoming) try {
        return Fetch(packet, incoming) && DeleteClaim(packet);
    } catch (const base::SystemError& error) {
        if (error.Code() == ERROR_DISK_FULL || error.Code() == ERROR_HANDLE_DISK_FULL) {
            m_isFull = true;
            incoming.Drop();
        }
        throw;
    }

    enum class Attempts { Two, One };

    /// Where it came in parts, one of them may be wrong: then all of it comes once more.
    bool Fetch(const std::wstring& packet, IncomingPacket& incoming, Attempts attempts = Attempts::Two) {
        // Without a digest nobody could tell what became of a part meanwhile.
        if (!m_notes.Tell(packet)) incoming.GoOnAt(0);
        bool isContinued = incoming.Size() > 0;
        const DavReply reply = Download(packet, incoming, isContinued);
        if (!reply.Succeeded() && !(isContinued && reply.status == DavServer::kNothingThere))
            return Stays(Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        const std::wstring sha256 = incoming.Finish();
        const PacketDigest* const digest = DigestOf(packet, incoming.Size(), sha256);
        if (!digest && !m_notes.AreAllRead())
            return Stays(L"The digests of the packets cannot be read from the server. File " + packet +
                         L" waits for the next transfer.");
        if (!digest && isContinued && attempts == Attempts::Two) {
            incoming.GoOnAt(0);
            return Fetch(packet, incoming, Attempts::One);
        }
        if (!digest && m_notes.Tell(packet)) return IsDamaged(packet, incoming, sha256);
        if (digest) incoming.SetModificationTime(digest->lastWrite);
        incoming.TakePlace();
        return true;
    }

    /// Goes on after a line that broke, as long as each attempt brings more of it, where a digest proves the
    /// whole.
    DavReply Download(const std::wstring& packet, IncomingPacket& incoming, bool& isContinued) const {
        const auto begin = [&](std::uint64_t offset) {
            if (offset != incoming.Size()) incoming.GoOnAt(offset);
        };
        const auto take = [&](base::Bytes bytes) { incoming.Write(bytes); };
        for (int attempt = 1;; ++attempt) {
            const std::uint64_t before = incoming.Size();
            DavReply reply = m_server.Get(JoinRemote(m_claims, packet), before, begin, take);
            const bool mayGoOn =
                !reply.IsAnswered() && incoming.Size() >= before + kWorthAnAttempt && m_notes.Tell(packet);
            if (!mayGoOn || attempt == kMostAttempts) return reply;
            isContinued = true;
        }
    }

    /// A version that was sent since the notes were read is told of by a new one, perhaps the first in its
    /// folder.
    const PacketDigest* DigestOf(const std::wstring& packet, std::uint64_t size, const std::wstring& sha256) {
        if (const PacketDigest* const digest = m_notes.Find(packet, size, sha256)) return digest;
        m_notes.ReadNewOf(packet);
        return m_notes.Find(packet, size, sha256);
    }

    bool IsDamaged(const std::wstring& packet, IncomingPacket& incoming, const std::wstring& sha256) {
        constexpr std::size_t kDigits = 8;
        m_damaged[packet] = sha256.substr(0, kDigits);
        incoming.Drop();
        return Stays(L"What came of file " + packet + L" from the server " + m_server.Name() +
                     L" is not what was sent: " + std::to_wstring(incoming.Size()) +
                     L" bytes with the SHA-256 " + sha256 +
                     L". The next transfer tries again. If that happens again, it was damaged there: send it "
                     L"anew, then the damaged one goes to " +
                     DamagedOf(m_remote) + L" on the server.");
    }

    // --- Leftovers
    // ------------------------------------------------------------------------------------------

    /// The name of the file with what came of a packet. Another installation in the same folder has claims
    /// of its own.
    std::wstring PartOf(const std::wstring& packet) const {
        constexpr std::size_t kDigits = 32;
        const std::string claim = base::ToUtf8(m_installation.Name() + L"/" + packet);
        return Sha256Of(base::BytesOf(claim)).substr(0, kDigits).append(kPartEnding);
    }

    /// A part belongs to a claim: what is claimed later under its name may be another version.
    void DeletePartsExceptOf(const std::vector<std::wstring>& claimed) const {
        if (!m_subFolder.empty()) return;
        std::set<std::wstring> parts;
        std::ranges::transform(claimed, std::inserter(parts, parts.end()),
                               [&](const std::wstring& packet) { return PartOf(packet); });
        for (const FileSystem::FileEntry& file : FileSystem::List(m_installation.Folder()).files)
            if (file.name.ends_with(kPartEnding) && !parts.contains(file.name))
                FileSystem::TryDelete(Path::Join(m_installation.Folder(), file.name));
    }

    /// waiting: what did so after the notes were read.
    void DeleteNotes(const std::vector<std::wstring>& waiting) {
        // Of one sub-folder alone nobody knows what waits in the others.
        if (!m_subFolder.empty() || !m_hasSeenAll) return;
        std::set<std::wstring> packets;
        std::ranges::copy_if(waiting, std::inserter(packets, packets.end()), [&](const std::wstring& packet) {
            return !m_received.contains(packet) && !m_gone.contains(packet);
        });
        const std::vector<DigestNote> candidates = m_notes.Done(packets);
        if (candidates.empty() || !AddThoseOnTheirWay(candidates, packets)) return;
        for (const DigestNote& note : m_notes.Done(packets))
            m_server.Delete(note.path);
    }

    /// Meanwhile packets of a note were sent again, under the same note, and claims were given back. Looked
    /// for in the order of their way, and of the way back, so that none is overlooked which goes on at this
    /// moment. False when some could not be seen.
    bool AddThoseOnTheirWay(const std::vector<DigestNote>& notes, std::set<std::wstring>& packets) {
        std::set<std::wstring> subFolders;
        std::ranges::transform(notes, std::inserter(subFolders, subFolders.end()), &DigestNote::subFolder);
        bool isAllSeen = true;
        const Refuse refuse = [&](const std::wstring&) { isAllSeen = false; };
        const auto addWaiting = [&](const std::wstring& subFolder) {
            const std::vector<std::wstring> waiting = FilesBelow(m_server, m_remote, subFolder, refuse);
            packets.insert(waiting.begin(), waiting.end());
        };
        std::ranges::for_each(subFolders, [&](const std::wstring& folder) { m_notes.ReadNew(folder); });
        std::ranges::for_each(subFolders, addWaiting);
        packets.merge(ClaimedPackets(m_server, m_remote, refuse));
        std::ranges::for_each(subFolders, addWaiting);
        return isAllSeen;
    }

    const DavServer& m_server;
    const HostProgress& m_progress;
    const ShownProcedure m_self;
    const std::wstring m_remote;
    const std::wstring m_subFolder;  ///< that alone is received; empty for all
    const std::wstring& m_local;
    const DavInstallation m_installation;
    const std::wstring m_claims;
    DigestNotes m_notes;
    /// Claims that could not be received, by their names here, where the case of letters is nothing.
    std::map<std::wstring, std::wstring> m_unfinished;
    std::map<std::wstring, std::wstring> m_damaged;  ///< of these, with the SHA-256 that came instead
    std::set<std::wstring> m_received;
    std::set<std::wstring> m_gone;  ///< that waited, and did so no more when it should be claimed
    FolderProvider m_folders{m_server};
    bool m_hasSeenAll = true;  ///< that waits
    bool m_isFull = false;     ///< the local disk
    bool m_isComplete = true;
};

bool DavReceiver::MoveFiles(const std::wstring& remote, const std::wstring& subFolder,
                            const std::wstring& local) const {
    return Transfer(*this, remote, subFolder, local).Run();
}
