// See DavSender.h.
#include "webdav/DavSender.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <optional>
#include <set>

#include "base/FolderTree.h"
#include "base/Path.h"
#include "base/Utf8.h"
#include "base/WriteBlock.h"
#include "cipher/Sha256.h"
#include "packets/GoneFile.h"
#include "packets/PassingFile.h"
#include "webdav/DavInstallation.h"
#include "webdav/PacketDigests.h"
#include "webdav/RemoteFiles.h"
#include "webdav/RemoteSpelling.h"

namespace {

// A list of the uploads and a note of their digests is one request each for so many packets; until then they
// are held, and would be uploaded again by the next run if this one ended.
constexpr std::size_t kMostFiles = 100;
constexpr std::uint64_t kMostBytes = 32 << 20;

constexpr std::size_t kManyNotes = 20;

constexpr std::uint64_t kLarge = 1 << 20;       // bytes
constexpr std::uint64_t kVeryLarge = 32 << 20;  // bytes

std::vector<base::TreeFile> FilesToSend(const std::wstring& local) {
    std::vector<base::TreeFile> files = base::FilesBelow(local);
    std::erase_if(files, [](const base::TreeFile& file) { return IsPassingFile(file.name); });
    return files;
}

/// A file that is on its way to the server, and held until it is there.
struct Upload {
    base::TreeFile file;
    std::wstring path;
    FileSystem::WriteBlock block;
    PacketDigest digest = {};
    bool isThere = false;  ///< in full, under the name of the upload

    Upload(base::TreeFile sent, const std::wstring& local)
        : file(std::move(sent)), path(Path::Join(local, file.RelativePath())), block(path) {}
};

}  // namespace

/// One call of MoveFiles.
class DavSender::Transfer {
public:
    Transfer(const DavSender& sender, const std::wstring& local, std::wstring remote)
        : m_server(sender.m_server),
          m_progress(sender.m_progress),
          m_self(L"clsHTTPSndRcv.cls.MoveFiles", m_progress),
          m_local(local),
          m_remote(std::move(remote)),
          m_installation(local) {}

    bool Run() {
        const std::vector<base::TreeFile> files = FilesToSend(m_local);
        if (files.empty()) return true;
        m_paths = base::PathsOf(files);
        m_progress.SetRange(0, static_cast<LONG>(files.size()));
        m_spelling.ReadFolder();
        m_folders.Provide(m_remote);
        UploadBeside({});
        for (const base::TreeFile& file : files) {
            if (!ShowNext(m_progress, file.name, m_position++) || !Send(file)) break;
            if (m_batch.size() == kMostFiles || m_bytes >= kMostBytes) Publish();
        }
        Publish();
        return !m_isUnavailable;
    }

private:
    /// The folder from which the packet is received, below the remote one. Who receives from a sub-folder
    /// alone makes the folder of its uploads, and looks nowhere else for notes.
    std::wstring ReceivedFolder(const base::TreeFile& file) {
        std::wstring folder = RemotePath(file.subFolder);
        while (!folder.empty() && !m_spelling.IsThere(UploadsOf(folder)))
            folder = FolderAbove(folder);
        return folder;
    }

    /// What is sent from now on travels through the uploads beside that folder.
    void UploadBeside(const std::wstring& folder) {
        const std::wstring path = m_spelling.PathOf(folder);
        const std::wstring uploads = UploadsOf(path);
        m_folders.Provide(uploads);
        m_received = folder;
        m_receivedPath = path;
        m_uploads = uploads;
        if (m_cleaned.insert(m_uploads).second) CleanUp();
    }

    void UploadBesideReceivedFolder(const base::TreeFile& file) {
        const std::wstring folder = ReceivedFolder(file);
        if (folder == m_received) return;
        Publish();
        UploadBeside(folder);
    }

    /// What nobody needs takes room, which may be what is missing.
    void CleanUp() {
        std::vector<std::wstring> notes;
        bool isForeign = false;
        for (const DavEntry& entry : m_server.List(m_uploads).value_or(std::vector<DavEntry>())) {
            if (entry.name.ends_with(kNoteEnding))
                notes.push_back(entry.name);
            else if (entry.name.starts_with(m_installation.Name() + L"~"))
                Remove(entry.name);  // of an earlier run
            else if (!entry.name.starts_with(kTestPrefix))
                isForeign = true;
        }
        if (notes.size() >= kManyNotes && !isForeign && NothingWaits())
            std::ranges::for_each(notes, [&](const std::wstring& note) { Remove(note); });
    }

    void Remove(const std::wstring& name) const {
        if (!m_server.Delete(JoinRemote(m_uploads, name)).Succeeded()) m_server.Check(m_uploads);
    }

    /// Who receives through the server removes the notes with their packets; others, who take packets from
    /// its disk, do not.
    bool NothingWaits() const try {
        bool isAllSeen = true;
        const Refuse refuse = [&](const std::wstring&) { isAllSeen = false; };
        const auto isEmpty = [&] { return FilesBelow(m_server, m_receivedPath, {}, refuse).empty(); };
        if (!isEmpty()) return false;
        // Others may receive from a folder above.
        for (std::wstring folder = m_receivedPath; !folder.empty(); folder = FolderAbove(folder))
            if (!ClaimedPackets(m_server, folder, refuse).empty()) return false;
        // Of these, one may have been given back at this moment.
        return isEmpty() && isAllSeen;
    } catch (const HttpError&) {
        throw;  // somebody wants an end
    } catch (const base::Error&) {
        return false;  // not everybody may look there
    }

    /// False where the server takes nothing more.
    bool Send(const base::TreeFile& file) {
        if (LiesInFolderOfTransport(file)) {
            m_self.Fail(L"The folder " + file.subFolder +
                        L" has a name that on a WebDAV server only the transport uses. Rename it.");
            return true;
        }
        if (m_paths.AreOne(file.RelativePath())) {
            m_self.Fail(base::TellOfTwin(file.RelativePath(), m_local, m_remote));
            return true;
        }
        if (!KeepsItsName(file.RelativePath())) {
            m_self.Fail(L"File " + file.RelativePath() +
                        L" has half of a character in its name, which no server can keep. Rename it.");
            return true;
        }
        const bool hasWay = Try(m_self, [&] {
            UploadBesideReceivedFolder(file);
            return true;
        });
        if (!hasWay) {
            m_server.Check(m_remote);
            return true;
        }
        Upload& upload = m_batch.emplace_back(file, m_local);
        if (!upload.block.Holds()) {
            m_self.Fail(HasGone(upload.path, m_local)
                            ? TellOfGone(upload.path)
                            : L"File " + file.name + L" is in use. It stays here for the next transfer.");
            m_batch.pop_back();
            return true;
        }
        DavReply reply;
        // One that cannot be read does not hold the others up.
        const bool isRead = Try(m_self, [&] {
            reply = Put(upload);
            return true;
        });
        if (!isRead) {
            m_batch.pop_back();
            return true;
        }
        m_bytes += upload.digest.size;
        if (reply.Succeeded()) {
            m_refused = 0;
            return true;
        }
        // A part takes room, which may be what is missing; and some servers cannot list it.
        const DavReply removal = m_server.Delete(UploadPath(upload));
        // A server that refuses a long body early leaves no status behind.
        const bool hasLostStatus =
            !reply.IsAnswered() && removal.IsAnswered() && upload.digest.size >= kLarge;
        constexpr DWORD kPatience = 10'000;  // milliseconds: little beside the transfer that was in vain
        if (hasLostStatus) reply = RefusalOf(upload, kPatience).value_or(reply);
        ReportRefusal(upload, reply);
        m_batch.pop_back();
        return MayTakeOthers(reply, removal);
    }

    void ReportRefusal(const Upload& upload, const DavReply& reply) const {
        const std::wstring reason =
            Lines(L"Failed to transmit file " + upload.file.name + L" to the server.", reply.failure);
        m_self.Fail(reply.IsAnswered() || upload.digest.size < kLarge
                        ? reason
                        : Lines(reason,
                                L"If that happens with each packet of its size, it is too large for the "
                                L"server: raise the server's limit for the body of a request."));
    }

    /// What is put to the server to see how it takes that. Not under the name of an upload, at which it may
    /// still be when that comes.
    std::wstring QuestionName() const { return m_installation.Name() + L"~question"; }
    std::wstring Question() const { return JoinRemote(m_uploads, QuestionName()); }

    /// Of a body of that length.
    std::optional<DavReply> RefusalOf(const Upload& upload, DWORD patience) const {
        return m_server.RefusalOf(Question(), upload.digest.size, patience);
    }

    DavReply Put(Upload& upload) {
        Describe(upload);
        // Before all of the time that it would take in vain.
        if (upload.digest.size > m_largest) {
            constexpr DWORD kPatience = 500;  // milliseconds: little beside what so long a body takes
            if (const auto refusal = RefusalOf(upload, kPatience)) return *refusal;
            m_largest = upload.digest.size;
        }
        Sha256 sum;
        std::uint64_t seen = 0;
        const auto watch = [&](base::Bytes bytes) {
            sum.Add(bytes);
            seen += bytes.size();
        };
        const DavReply reply = m_server.Put(UploadPath(upload), upload.block.Held(), watch);
        upload.digest.sha256 = sum.Finish();
        const bool isSeen = seen == upload.digest.size;
        return isSeen ? Cleared(reply, UploadPath(upload), upload.digest.size) : reply;
    }

    /// Where the answer to an upload got lost, or may be of something else, what is there tells what became
    /// of it.
    DavReply Cleared(const DavReply& reply, const std::wstring& path, std::uint64_t size) const {
        if (!reply.IsUnclear() && !reply.MayBeOfAnother()) return reply;
        if (IsStored(path, size)) return {HTTP_STATUS_CREATED, {}};
        return {reply.status, m_server.Explained(reply, L"PUT", path)};
    }

    bool IsStored(const std::wstring& path, std::uint64_t size) const try {
        const std::optional<DavEntry> entry = m_server.Look(path);
        return entry && entry->size == size;
    } catch (const HttpError&) {
        throw;  // somebody wants an end
    } catch (const base::Error&) {
        return false;
    }

    /// Whether another file may fare better than one that was refused: by itself, or by all that stands
    /// before the server. removal: the reply to the request after it; where a body is refused before it was
    /// sent, the answer may get lost.
    bool MayTakeOthers(const DavReply& reply, const DavReply& removal) {
        constexpr int kMostRefused = 3;  // in a row
        if (reply.IsTooLarge()) return true;
        m_isUnavailable = reply.IsUnavailable() || !removal.IsAnswered();
        if (m_isUnavailable || reply.IsOutOfSpace()) return false;
        if (++m_refused < kMostRefused) return true;
        m_refused = 0;
        // No answer takes its time, and each of the others might take as long.
        return !reply.IsUnclear() && TakesAnything();
    }

    /// Whether it is these packets that the server refuses, and not whatever is sent there.
    bool TakesAnything() const {
        constexpr std::string_view kText = "?";
        const DavReply reply = Cleared(m_server.Put(Question(), kText), Question(), kText.size());
        m_server.Delete(Question());
        return reply.Succeeded();
    }

    static bool LiesInFolderOfTransport(const base::TreeFile& file) {
        for (std::wstring folder = file.subFolder; !folder.empty(); folder = Path::ParentFolder(folder))
            if (IsOfTransport(Path::FileName(folder))) return true;
        return false;
    }

    void Describe(Upload& upload) const {
        const base::File& file = upload.block.Held();
        upload.digest.packet = RemotePath(upload.file.RelativePath());
        if (!m_received.empty()) upload.digest.packet.erase(0, m_received.size() + 1);
        upload.digest.size = file.Size();
        upload.digest.lastWrite = file.ModificationTime();
        upload.digest.upload = m_installation.Name() + L"~" + VersionName(upload.digest);
    }

    /// The same for the same version of the same packet: a second attempt replaces the first.
    static std::wstring VersionName(const PacketDigest& digest) {
        const std::string version = base::ToUtf8(digest.packet) + " " + std::to_string(digest.size) + " " +
                                    std::to_string(digest.lastWrite.time_since_epoch().count());
        return Sha256Of(base::BytesOf(version)).substr(0, 32);
    }

    std::wstring UploadPath(const Upload& upload) const {
        return JoinRemote(m_uploads, upload.digest.upload);
    }

    /// Lets what was uploaded take its names.
    void Publish() {
        if (m_batch.empty()) return;
        const std::deque<Upload> batch = std::exchange(m_batch, {});
        m_bytes = 0;
        const Note note = PutNote(batch);
        for (const Upload* upload : WholeOnes(batch, note))
            // A server that is silent is waited for, which each of the others would do, too.
            if (!Try(m_self, [&] { return TakeName(*upload); })) m_server.Check(m_uploads);
    }

    /// Of the digests of a batch.
    struct Note {
        std::wstring name;
        std::uint64_t size = 0;
        std::wstring failure;  ///< why, where it is not there
    };

    /// Without it nobody could tell whether what arrives is what was sent.
    Note PutNote(const std::deque<Upload>& batch) const {
        std::vector<PacketDigest> digests;
        std::ranges::transform(batch, std::back_inserter(digests), &Upload::digest);
        const std::string text = TextOf(digests);
        const std::wstring name = Sha256Of(base::BytesOf(text)) + std::wstring(kNoteEnding);
        const std::wstring path = JoinRemote(m_uploads, name);
        const DavReply reply = m_server.Put(path, text);
        const bool isTaken = reply.Succeeded() && !reply.MayBeOfAnother();
        return {name, text.size(),
                isTaken ? L"The server " + m_server.Name() + L" took them, but does not list all of their " +
                              std::to_wstring(text.size()) + L" bytes."
                        : m_server.Explained(reply, L"PUT", path)};
    }

    /// Of the batch those that the server tells to be there in full; none without their note.
    std::vector<const Upload*> WholeOnes(const std::deque<Upload>& batch, const Note& note) const {
        const std::vector<DavEntry> listed = m_server.List(m_uploads).value_or(std::vector<DavEntry>());
        std::map<std::wstring, std::optional<std::uint64_t>> sizes;
        for (const DavEntry& entry : listed)
            sizes[entry.name] = entry.size;
        // Some servers keep what was not even begun.
        if (sizes.contains(QuestionName())) m_server.Delete(Question());
        const auto isWhole = [&](const std::wstring& name, std::uint64_t size) {
            const auto found = sizes.find(name);
            return found != sizes.end() && found->second == size;
        };
        if (!isWhole(note.name, note.size)) {
            m_self.Fail(Lines(L"Failed to transmit the digests of the packets.", note.failure));
            return {};
        }
        std::vector<const Upload*> whole;
        for (const Upload& upload : batch)
            if (isWhole(upload.digest.upload, upload.digest.size))
                whole.push_back(&upload);
            else
                m_self.Fail(L"The server " + m_server.Name() + L" took file " + upload.file.name +
                            L", but does not list all of its " + std::to_wstring(upload.digest.size) +
                            L" bytes. It stays here for the next transfer.");
        return whole;
    }

    bool TakeName(const Upload& upload) {
        const std::wstring target = m_spelling.PathOf(RemotePath(upload.file.RelativePath()));
        m_folders.Provide(FolderAbove(target));
        const DavReply reply = MoveTo(target, upload);
        if (!reply.Succeeded() && !HasTakenName(upload, target))
            return m_self.Fail(
                Lines(L"Failed to transmit file " + upload.file.name + L" to the server.", reply.failure));
        upload.block.Delete(FileSystem::ReadOnlyFiles::Delete);
        return true;
    }

    /// Over nothing, or else over an older version: who replaces a folder loses all that waits in it.
    DavReply MoveTo(const std::wstring& target, const Upload& upload) const {
        using Other = DavServer::Other;
        const std::wstring source = UploadPath(upload);
        DavReply reply = m_server.Move(source, target, Other::Stays);
        if (reply.Succeeded() || !m_server.Exists(source)) return reply;
        const std::optional<DavEntry> other = m_server.Look(target);
        // A receiver can have claimed meanwhile what was there.
        if (!other) return reply.IsTaken() ? m_server.Move(source, target, Other::Stays) : reply;
        if (!other->isFolder) return m_server.Move(source, target, Other::IsReplaced);
        reply.failure = L"On the server a folder has the name of file " + upload.file.name +
                        L". Rename the file, or remove the folder there when it is empty.";
        return reply;
    }

    /// Where an answer got lost, or a request was carried twice. An older version may have the same size, and
    /// the content alone tells. Where the packet is not under its name, the other side may have taken it
    /// already; or it may not: it travels again.
    bool HasTakenName(const Upload& upload, const std::wstring& target) const {
        return !m_server.Exists(UploadPath(upload)) && Sha256At(m_server, target) == upload.digest.sha256;
    }

    const DavServer& m_server;
    const HostProgress& m_progress;
    const ShownProcedure m_self;
    const std::wstring& m_local;
    const std::wstring m_remote;
    const DavInstallation m_installation;
    FolderProvider m_folders{m_server};
    RemoteSpelling m_spelling{m_server, m_remote, m_folders};
    base::LocalNames m_paths;              ///< of all that is to be sent
    std::wstring m_received;               ///< the folder that packets are received from, below m_remote
    std::wstring m_receivedPath;           ///< its path on the server
    std::wstring m_uploads;                ///< beside it
    std::set<std::wstring> m_cleaned;      ///< folders of uploads
    std::deque<Upload> m_batch;            ///< that waits for its names
    std::uint64_t m_bytes = 0;             ///< of it
    std::uint64_t m_largest = kVeryLarge;  ///< that needs no question
    LONG m_position = 0;
    int m_refused = 0;             ///< uploads, since one was taken
    bool m_isUnavailable = false;  ///< the server, whatever it is asked for
};

bool DavSender::MoveFiles(const std::wstring& local, const std::wstring& remote) const {
    return Transfer(*this, local, remote).Run();
}
