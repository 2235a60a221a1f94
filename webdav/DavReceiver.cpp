// See DavReceiver.h.
#include "webdav/DavReceiver.h"

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include "base/FileSystem.h"
#include "base/LocalNames.h"
#include "base/Path.h"
#include "base/StagedFile.h"
#include "cipher/Sha256.h"
#include "common/modMain.h"
#include "webdav/DigestNotes.h"

namespace {

constexpr int kDeepest = 32;

/// Files below a remote folder, by their paths relative to it.
using RemoteFiles = std::vector<std::wstring>;

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
          m_claims(ClaimsOf(m_remote, InstallationOf(local))),
          m_local(local),
          m_notes(m_server, UploadsOf(m_remote)) {}

    bool Run() {
        // Before the packets: what is still an upload then is seen as one.
        m_notes.Read();
        const RemoteFiles claimed = FilesBelow(m_claims);
        for (const std::wstring& packet : claimed)
            if (!Receive(packet)) m_unfinished.insert(packet);
        const RemoteFiles waiting = FilesBelow(m_remote);
        const bool goesOn = waiting.empty() || ClaimAndReceive(waiting);
        // Of one sub-folder alone nobody knows what waits in the others.
        if (goesOn && m_subFolder.empty()) m_notes.DeleteDone(Remaining(waiting));
        return goesOn && m_isComplete;
    }

private:
    // --- What lies there
    // ------------------------------------------------------------------------------------

    RemoteFiles FilesBelow(const std::wstring& folder) {
        RemoteFiles files;
        Walk(folder, m_subFolder, 0, files);
        return files;
    }

    void Walk(const std::wstring& folder, const std::wstring& subFolder, int depth, RemoteFiles& files) {
        const auto entries = m_server.List(JoinRemote(folder, subFolder));
        if (!entries) return;
        base::LocalNames names;
        for (const DavEntry& entry : *entries) {
            const std::wstring path = JoinRemote(subFolder, entry.name);
            if (!Path::IsPlainName(entry.name))
                Stays(L"The server " + m_server.Name() + L" lists the name " + path +
                      L", which cannot be the name of a file in the local folder. Rename or remove it on the "
                      L"server.");
            else if (!names.Add(entry.name))
                Stays(L"The server " + m_server.Name() + L" lists the name " + path +
                      L" and another one that differs only in the case of letters. Both would be one local "
                      L"file. It stays there; rename or remove it.");
            else if (!entry.isFolder)
                files.push_back(path);
            else if (depth == kDeepest)
                Stays(L"The folder " + path + L" lies more than " + std::to_wstring(kDeepest) +
                      L" folders deep. Move it up.");
            else
                Walk(folder, path, depth + 1, files);
        }
    }

    std::set<std::wstring> Remaining(const RemoteFiles& waiting) const {
        std::set<std::wstring> packets(waiting.begin(), waiting.end());
        for (const std::wstring& packet : m_received)
            packets.erase(packet);
        packets.insert(m_unfinished.begin(), m_unfinished.end());
        return packets;
    }

    // --- Moving
    // ---------------------------------------------------------------------------------------------

    /// False when the host wants an end.
    bool ClaimAndReceive(const RemoteFiles& packets) {
        m_progress.SetRange(0, static_cast<LONG>(packets.size()));
        LONG position = 0;
        for (const std::wstring& packet : packets) {
            if (!ShowNext(m_progress, packet, position++)) return false;
            if (Claim(packet) && Receive(packet)) m_received.insert(packet);
        }
        return true;
    }

    /// False where it is somebody else's, or an older version is still here, and where it fails.
    bool Claim(const std::wstring& packet) {
        if (m_unfinished.contains(packet)) return false;
        m_folders.Provide(JoinRemote(m_claims, RemotePath(Path::ParentFolder(LocalPath(packet)))));
        const std::wstring source = JoinRemote(m_remote, packet);
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Move(source, claim, DavServer::Other::Stays);
        // Somebody who was faster shows in many ways, and the answer to a success can get lost.
        if (reply.Succeeded() || m_server.Exists(claim)) return true;
        if (!m_server.Exists(source)) return false;
        Stays(Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        return false;
    }

    /// Of what is claimed.
    bool Receive(const std::wstring& packet) {
        return Try(m_self, [&] { return Fetch(packet) && DeleteClaim(packet); }) || (m_isComplete = false);
    }

    bool Fetch(const std::wstring& packet) {
        const std::wstring target = Path::Join(m_local, LocalPath(packet));
        FileSystem::CreateFolders(Path::ParentFolder(target));
        base::StagedFile file(target);
        Sha256 sum;
        const auto take = [&](base::Bytes bytes) {
            sum.Add(bytes);
            file.Write(bytes);
        };
        const DavReply reply = m_server.Get(JoinRemote(m_claims, packet), take);
        if (!reply.Succeeded())
            return m_self.Fail(
                Lines(L"Failed to retrieve file " + packet + L" from the server.", reply.failure));
        const std::wstring sha256 = sum.Finish();
        const PacketDigest* const digest = DigestOf(packet, file.Size(), sha256);
        if (!digest && m_notes.Tell(packet))
            return m_self.Fail(
                L"What came of file " + packet + L" from the server " + m_server.Name() +
                L" is not what was sent: " + std::to_wstring(file.Size()) + L" bytes with the SHA-256 " +
                sha256 +
                L". The next transfer tries again, and newer versions wait until then. If that happens "
                L"again, it was damaged there: delete " +
                JoinRemote(m_claims, packet) + L" on the server, and send it anew.");
        if (digest) file.SetModificationTime(digest->lastWrite);
        file.Commit();
        return true;
    }

    /// A version that was sent since the notes were read is told of by a new one.
    const PacketDigest* DigestOf(const std::wstring& packet, std::uint64_t size, const std::wstring& sha256) {
        if (const PacketDigest* const digest = m_notes.Find(packet, size, sha256)) return digest;
        m_notes.Read();
        return m_notes.Find(packet, size, sha256);
    }

    bool DeleteClaim(const std::wstring& packet) const {
        const std::wstring claim = JoinRemote(m_claims, packet);
        const DavReply reply = m_server.Delete(claim);
        if (reply.Succeeded() || !m_server.Exists(claim)) return true;
        return m_self.Fail(
            Lines(L"Failed to delete the file " + packet + L" from the server. It will be received again.",
                  reply.failure));
    }

    void Stays(const std::wstring& report) {
        m_isComplete = false;
        m_self.Fail(report);
    }

    const DavServer& m_server;
    const HostProgress& m_progress;
    const ShownProcedure m_self;
    const std::wstring m_remote;
    const std::wstring m_subFolder;  ///< that alone is received; empty for all
    const std::wstring m_claims;
    const std::wstring& m_local;
    DigestNotes m_notes;
    std::set<std::wstring> m_unfinished;  ///< claims of earlier transfers that could not be received again
    std::set<std::wstring> m_received;
    FolderProvider m_folders{m_server};
    bool m_isComplete = true;
};

bool DavReceiver::MoveFiles(const std::wstring& remote, const std::wstring& subFolder,
                            const std::wstring& local) const {
    return Transfer(*this, remote, subFolder, local).Run();
}
