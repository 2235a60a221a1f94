// See DavSender.h.
#include "webdav/DavSender.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <optional>

#include "base/Arrival.h"
#include "base/FolderTree.h"
#include "base/Path.h"
#include "base/Utf8.h"
#include "base/WriteBlock.h"
#include "cipher/Sha256.h"
#include "webdav/PacketDigests.h"

namespace {

// A list of the uploads and a note of their digests is one request each for so many packets; until then they
// are held, and would be uploaded again by the next run if this one ended.
constexpr std::size_t kMostFiles = 100;
constexpr std::uint64_t kMostBytes = 32 << 20;

std::vector<base::TreeFile> FilesToSend(const std::wstring& local) {
    std::vector<base::TreeFile> files = base::FilesBelow(local);
    std::erase_if(files, [](const base::TreeFile& file) { return FileSystem::IsArrival(file.name); });
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
          m_uploads(UploadsOf(m_remote)),
          m_installation(InstallationOf(local)) {}

    bool Run() {
        const std::vector<base::TreeFile> files = FilesToSend(m_local);
        if (files.empty()) return true;
        m_progress.SetRange(0, static_cast<LONG>(files.size()));
        m_folders.Provide(m_remote);
        m_folders.Provide(m_uploads);
        for (const base::TreeFile& file : files) {
            if (!ShowNext(m_progress, file.name, m_position++)) break;
            if (!Send(file)) return Publish() && false;
            if (m_batch.size() == kMostFiles || m_bytes >= kMostBytes) Publish();
        }
        return Publish() && m_isComplete;
    }

private:
    /// False where the server takes nothing more.
    bool Send(const base::TreeFile& file) {
        Upload& upload = m_batch.emplace_back(file, m_local);
        if (!upload.block.Holds()) {
            m_batch.pop_back();
            Stays(L"File " + file.name + L" is in use. It stays here for the next transfer.");
            return true;
        }
        DavReply reply;
        // One that cannot be read does not hold the others up.
        const bool isRead = Try(m_self, [&] {
            reply = Put(upload);
            return true;
        });
        if (!isRead) {
            m_isComplete = false;
            m_batch.pop_back();
            return true;
        }
        m_bytes += upload.digest.size;
        if (reply.Succeeded()) return true;
        Stays(Lines(L"Failed to transmit file " + file.name + L" to the server.", reply.failure));
        // A part takes room, which may be what is missing; and some servers cannot list it.
        if (reply.IsAnswered()) m_server.Delete(UploadPath(upload));
        m_batch.pop_back();
        return IsOfThisFile(reply);
    }

    DavReply Put(Upload& upload) const {
        Describe(upload);
        Sha256 sum;
        const auto watch = [&](base::Bytes bytes) { sum.Add(bytes); };
        DavReply reply = m_server.Put(UploadPath(upload), upload.block.Held(), watch);
        upload.digest.sha256 = sum.Finish();
        return reply;
    }

    /// Whether another file may fare better.
    static bool IsOfThisFile(const DavReply& reply) {
        constexpr DWORD kTooLarge = 413;
        return reply.status == kTooLarge;
    }

    void Describe(Upload& upload) const {
        const base::File& file = upload.block.Held();
        upload.digest.packet = RemotePath(upload.file.RelativePath());
        upload.digest.size = file.Size();
        upload.digest.lastWrite = file.ModificationTime();
        upload.digest.upload = m_installation + L"~" + VersionName(upload.digest);
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

    /// Lets what was uploaded take its names. False when something stays.
    bool Publish() {
        if (m_batch.empty()) return m_isComplete;
        const std::deque<Upload> batch = std::exchange(m_batch, {});
        m_bytes = 0;
        std::vector<const Upload*> whole = WholeOnes(batch);
        if (!whole.empty() && PutNote(whole))
            for (const Upload* upload : whole)
                Try(m_self, [&] { return TakeName(*upload); }) || (m_isComplete = false);
        return m_isComplete;
    }

    /// Of the batch those that the server tells to be there in full; what an earlier run left is removed.
    std::vector<const Upload*> WholeOnes(const std::deque<Upload>& batch) {
        const std::vector<DavEntry> listed = m_server.List(m_uploads).value_or(std::vector<DavEntry>());
        std::map<std::wstring, std::optional<std::uint64_t>> sizes;
        for (const DavEntry& entry : listed)
            sizes[entry.name] = entry.size;
        std::vector<const Upload*> whole;
        for (const Upload& upload : batch) {
            const auto found = sizes.find(upload.digest.upload);
            const bool isWhole = found != sizes.end() && found->second == upload.digest.size;
            if (isWhole)
                whole.push_back(&upload);
            else
                Stays(L"The server " + m_server.Name() + L" took file " + upload.file.name +
                      L", but does not "
                      L"list all of its " +
                      std::to_wstring(upload.digest.size) + L" bytes. It stays here for the next transfer.");
            if (found != sizes.end()) sizes.erase(found);
        }
        for (const auto& [name, size] : sizes)
            if (IsLeftover(name)) m_server.Delete(JoinRemote(m_uploads, name));
        return whole;
    }

    bool IsLeftover(const std::wstring& name) const {
        return name.starts_with(m_installation + L"~") && !name.ends_with(kNoteEnding);
    }

    /// Without it nobody could tell whether what arrives is what was sent.
    bool PutNote(const std::vector<const Upload*>& uploads) {
        std::vector<PacketDigest> digests;
        std::ranges::transform(uploads, std::back_inserter(digests), &Upload::digest);
        const std::string note = TextOf(digests);
        const std::wstring name = Sha256Of(base::BytesOf(note)) + std::wstring(kNoteEnding);
        const DavReply reply = m_server.Put(JoinRemote(m_uploads, name), note);
        if (!reply.Succeeded())
            Stays(Lines(L"Failed to transmit the digests of the packets.", reply.failure));
        return reply.Succeeded();
    }

    bool TakeName(const Upload& upload) {
        m_folders.Provide(JoinRemote(m_remote, RemotePath(upload.file.subFolder)));
        const std::wstring target = JoinRemote(m_remote, upload.digest.packet);
        const DavReply reply = m_server.Move(UploadPath(upload), target, DavServer::Other::IsReplaced);
        if (!reply.Succeeded() && !(reply.MayBeDone() && HasTakenName(upload, target)))
            return m_self.Fail(
                Lines(L"Failed to transmit file " + upload.file.name + L" to the server.", reply.failure));
        upload.block.Delete(FileSystem::ReadOnlyFiles::Delete);
        return true;
    }

    /// Where the answer got lost. Where the packet is not under its name, the other side may have taken it
    /// already; or it may not: it travels again.
    bool HasTakenName(const Upload& upload, const std::wstring& target) const {
        return !m_server.Exists(UploadPath(upload)) && m_server.Exists(target);
    }

    void Stays(const std::wstring& report) {
        m_isComplete = false;
        m_self.Fail(report);
    }

    const DavServer& m_server;
    const HostProgress& m_progress;
    const ShownProcedure m_self;
    const std::wstring& m_local;
    const std::wstring m_remote;
    const std::wstring m_uploads;
    const std::wstring m_installation;
    FolderProvider m_folders{m_server};
    std::deque<Upload> m_batch;  ///< that waits for its names
    std::uint64_t m_bytes = 0;   ///< of it
    LONG m_position = 0;
    bool m_isComplete = true;
};

bool DavSender::MoveFiles(const std::wstring& local, const std::wstring& remote) const {
    return Transfer(*this, local, remote).Run();
}
