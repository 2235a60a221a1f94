// See DavReceiver.h.
#include "webdav/DavReceiver.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Rights.h"
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

constexpr std::uint64_t kMuch = std::numeric_limits<std::uint64_t>::max();  // bytes

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
        // Who sends into a folder above tells by it that this one is received alone. Not every account may.
        if (!m_notes.HaveFolder()) m_folders.TryToProvide(UploadsOf(m_remote));
        ReceiveClaims();
        const std::vector<RemoteFile> waiting = Files(m_remote);
        const bool goesOn = ClaimAndReceive(waiting);
        if (goesOn && !m_gone.empty()) LookForGone();
        TellOfThoseWithoutRoom();
        if (goesOn) TellOfOtherClaims();
        if (goesOn) DeleteNotes(waiting);
        if (goesOn && m_stayed > 0) m_server.Check(m_remote);
        return goesOn;
    }

private:
    std::vector<RemoteFile> Files(const std::wstring& folder) {
        return FilesBelow(
            m_server, folder, m_subFolder,
            [&](const std::wstring& reason) {
                m_hasSeenAll = false;
                Stays(reason);
            },
            [&](const std::wstring& subFolder) { m_notes.Read(subFolder); });
    }

    /// Without a word of what was refused the first time.
    std::vector<RemoteFile> WaitingAgain() const {
        return FilesBelow(m_server, m_remote, m_subFolder, [](const std::wstring&) {});
    }

    /// Runs a step whose failure keeps a packet where it is. Throws where it stays because of the server:
    /// each other one would do so, and a server that is silent is waited for.
    template <class Step>
    bool Attempt(Step&& step) {
        const std::size_t before = m_stayed;
        bool done = false;
        bool isLocal = false;
        const bool ended = Try(m_self, [&] {
            done = WithLocalFailures(isLocal, step);
            return true;
        });
        if (!ended) ++m_stayed;
        if (m_stayed != before && !isLocal) m_server.Check(m_remote);
        return done;
    }

    template <class Step>
    static bool WithLocalFailures(bool& isLocal, Step&& step) try {
        return step();
    } catch (const base::SystemError&) {
        isLocal = true;
        throw;
    }

    bool Stays(const std::wstring& report) {
        ++m_stayed;
        return m_self.Fail(report);
    }

    // --- Claims
    // ---------------------------------------------------------------------------------------------

    /// False when nothing more can be received now.
    bool ClaimAndReceive(const std::vector<RemoteFile>& packets) {
        if (packets.empty()) return true;
        m_progress.SetRange(0, static_cast<LONG>(packets.size()));
        LONG position = 0;
        for (const RemoteFile& packet : packets) {
            if (!ShowNext(m_progress, packet.path, position++)) return false;
            if (Attempt([&] { return ClaimAndReceive(packet); })) m_received.insert(packet.path);
        }
        return true;
    }

    bool ClaimAndReceive(const RemoteFile& packet) {
        const std::wstring name = base::Upper(packet.path);
        const auto unfinished = m_unfinished.find(name);
        if (unfinished != m_unfinished.end() && !SetDamagedAside(unfinished->second)) return false;
        // First: what cannot be stored here is left to other receivers.
        if (!HasRoomFor(packet, 0)) return false;
        if (LacksDigest(packet.path)) return WaitsForDigests(packet.path);
        IncomingPacket incoming = Incoming(packet.path);
        // A part that is left here came of an earlier claim, which may have been another version.
        incoming.Forget();
        if (Claim(packet.path)) {
            m_unfinished.emplace(name, packet.path);
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
        if (reply.Succeeded()) return true;
        // Somebody who was faster shows in other ways, too, and the answer to a success can get lost.
        const std::optional<DavEntry> other = m_server.Look(claim);
        if (other && !other->isFolder) return true;
        if (other)
            return Stays(L"File " + packet + L" cannot be retrieved from the server: the folder " + claim +
                         L" has its name. Remove that folder there when it is empty.");
        if (m_server.Exists(source))
            return Stays(Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        m_gone.insert(packet);
        return false;
    }

    bool DeleteClaim(const std::wstring& packet) {
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Delete(claim);
        if (reply.Succeeded() && !reply.MayBeOfAnother()) return true;
        if (!m_server.Exists(claim)) return true;
        return Stays(
            Lines(L"Failed to delete the file " + packet + L" from the server. It will be received again.",
                  m_server.Explained(reply, L"DELETE", claim)));
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
        for (const RemoteFile& packet : WaitingAgain()) {
            if (m_gone.erase(packet.path) == 0) continue;
            if (Attempt([&] { return ClaimAndReceive(packet); })) m_received.insert(packet.path);
            if (m_gone.contains(packet.path) && m_server.Exists(JoinRemote(m_remote, packet.path)))
                Stays(L"Failed to retrieve file " + packet.path +
                      L" from the server: it is there, and cannot be claimed.");
        }
    }

    /// All of this installation, but for those that could not be received just now.
    void ReceiveClaims() {
        std::vector<RemoteFile> claimed = Files(m_claims);
        DeletePartsExceptOf(claimed);
        std::erase_if(claimed, [&](const RemoteFile& packet) {
            return m_unfinished.contains(base::Upper(packet.path));
        });
        std::ranges::for_each(claimed, [&](const RemoteFile& packet) { m_notes.ReadOf(packet.path); });
        std::ranges::for_each(claimed, [&](const RemoteFile& packet) { ReceiveClaimed(packet); });
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

    void ReceiveClaimed(const RemoteFile& packet) {
        const bool received = Attempt([&] {
            if (LacksDigest(packet.path)) return WaitsForDigests(packet.path);
            IncomingPacket incoming = Incoming(packet.path);
            return HasRoomFor(packet, incoming.Size()) && Receive(packet, incoming);
        });
        if (!received) m_unfinished.emplace(base::Upper(packet.path), packet.path);
    }

    /// What is too large keeps nothing smaller back. came: bytes of it that lie here already.
    bool HasRoomFor(const RemoteFile& packet, std::uint64_t came) {
        const std::optional<std::uint64_t> free = FileSystem::FreeSpace(m_installation.Folder());
        const std::uint64_t room = std::min(m_room, free ? *free + came : kMuch);
        // Where nobody tells how large it is, it has to be tried.
        if (packet.size.value_or(m_room == kMuch ? 0 : kMuch) <= room) return true;
        m_withoutRoom.push_back(packet);
        return false;
    }

    /// Once for all: on a full disk they may be many.
    void TellOfThoseWithoutRoom() {
        if (m_withoutRoom.empty()) return;
        const RemoteFile& first = m_withoutRoom.front();
        Stays(L"There is no room in " + m_installation.Folder() + L" for packets on the server: " +
              std::to_wstring(m_withoutRoom.size()) + L", such as " + first.path +
              (first.size ? L" with " + std::to_wstring(*first.size) + L" bytes" : L"") +
              L". They stay there. Make room.");
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
    bool Receive(const RemoteFile& packet, IncomingPacket& incoming) try {
        return Fetch(packet, incoming) && DeleteClaim(packet.path);
    } catch (const base::SystemError& error) {
        if (error.Code() == ERROR_DISK_FULL || error.Code() == ERROR_HANDLE_DISK_FULL) {
            // There was less of it than the system told.
            m_room = std::min(m_room, incoming.Size());
            incoming.Drop();
        }
        throw;
    }

    enum class Attempts { Two, One };

    /// Where it came in parts, one of them may be wrong: then all of it comes once more.
    bool Fetch(const RemoteFile& file, IncomingPacket& incoming, Attempts attempts = Attempts::Two) {
        const std::wstring& packet = file.path;
        // Without a digest nobody could tell what became of a part meanwhile.
        if (!m_notes.Tell(packet)) incoming.GoOnAt(0);
        bool isContinued = incoming.Size() > 0;
        const DavReply reply = Download(packet, incoming, isContinued);
        if (!reply.Succeeded() && !(isContinued && reply.status == DavServer::kNothingThere))
            return Stays(Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        const std::wstring sha256 = incoming.Finish();
        const PacketDigest* const digest = DigestOf(packet, incoming.Size(), sha256);
        if (!digest && m_notes.UnreadOf(packet)) return WaitsForDigests(packet);
        if (!digest && isContinued && attempts == Attempts::Two) {
            incoming.GoOnAt(0);
            return Fetch(file, incoming, Attempts::One);
        }
        if (!digest && m_notes.Tell(packet)) return IsDamaged(packet, incoming, sha256);
        if (!HasListedSize(file, incoming.Size())) return IsOfAnother(packet, incoming);
        if (digest) incoming.SetModificationTime(digest->lastWrite);
        incoming.TakePlace(m_rights);
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

    /// Before a packet travels: none tells of it that can be read, and one that cannot be read may.
    bool LacksDigest(const std::wstring& packet) {
        const auto lacks = [&] { return !m_notes.Tell(packet) && m_notes.UnreadOf(packet); };
        if (!lacks()) return false;
        m_notes.ReadNewOf(packet);
        return lacks();
    }

    bool WaitsForDigests(const std::wstring& packet) {
        return Stays(Lines(L"The digests of the packets cannot be read from the server. File " + packet +
                               L" waits for the next transfer.",
                           WayOutOfUnread(m_notes.UnreadOf(packet).value_or(std::wstring()))));
    }

    /// It may have been replaced between the list and the claim.
    bool HasListedSize(const RemoteFile& packet, std::uint64_t size) const {
        if (packet.size == size) return true;
        const std::optional<DavEntry> claim = m_server.Look(JoinRemote(m_claims, packet.path));
        return claim && claim->size.value_or(size) == size;
    }

    bool IsOfAnother(const std::wstring& packet, IncomingPacket& incoming) {
        incoming.Drop();
        return Stays(L"The server " + m_server.Name() + L" lists file " + packet +
                     L" with another length than the " + std::to_wstring(incoming.Size()) +
                     L" bytes that came. It stays there for the next transfer.");
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
    void DeletePartsExceptOf(const std::vector<RemoteFile>& claimed) const {
        if (!m_subFolder.empty()) return;
        std::set<std::wstring> parts;
        std::ranges::transform(claimed, std::inserter(parts, parts.end()),
                               [&](const RemoteFile& packet) { return PartOf(packet.path); });
        for (const FileSystem::FileEntry& file : FileSystem::List(m_installation.Folder()).files)
            if (file.name.ends_with(kPartEnding) && !parts.contains(file.name))
                FileSystem::TryDelete(Path::Join(m_installation.Folder(), file.name));
    }

    /// waiting: what did so after the notes were read.
    void DeleteNotes(const std::vector<RemoteFile>& waiting) {
        // Of one sub-folder alone nobody knows what waits in the others.
        if (!m_subFolder.empty() || !m_hasSeenAll) return;
        std::set<std::wstring> packets;
        for (const RemoteFile& packet : waiting)
            if (!m_received.contains(packet.path) && !m_gone.contains(packet.path))
                packets.insert(packet.path);
        const std::vector<DigestNote> candidates = m_notes.Done(packets);
        if (candidates.empty() || !AddThoseOnTheirWay(candidates, packets)) return;
        for (const DigestNote& note : m_notes.Done(packets))
            if (!m_server.Delete(note.path).Succeeded()) m_server.Check(m_remote);
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
            std::ranges::transform(FilesBelow(m_server, m_remote, subFolder, refuse),
                                   std::inserter(packets, packets.end()), &RemoteFile::path);
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
    FileSystem::RightsOfFolders m_rights;
    bool m_hasSeenAll = true;      ///< that waits
    std::uint64_t m_room = kMuch;  ///< bytes of the largest that may fit, by the errors of the local disk
    std::vector<RemoteFile> m_withoutRoom;
    std::size_t m_stayed = 0;  ///< reports of what does
};

bool DavReceiver::MoveFiles(const std::wstring& remote, const std::wstring& subFolder,
                            const std::wstring& local) const {
    return Transfer(*this, remote, subFolder, local).Run();
}
