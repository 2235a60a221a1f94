// See RemoteFiles.h.
#include "webdav/RemoteFiles.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <iterator>
#include <utility>

#include "base/Arrival.h"
#include "base/Error.h"
#include "base/LocalNames.h"
#include "base/Path.h"
#include "packets/PacketName.h"
#include "webdav/DavTransfer.h"

namespace {

constexpr int kDeepest = 32;
// Links that lead back make folders without end.
constexpr std::size_t kMostFolders = 5'000;
constexpr std::size_t kMostFiles = 200'000;

/// One walk through a folder and those below it: level by level, so that links hide none of those beside
/// them.
class Walk {
public:
    Walk(const DavServer& server, const std::wstring& root, const Refuse& refuse, const SentInto& sentInto)
        : m_server(server), m_root(root), m_refuse(refuse), m_sentInto(sentInto) {}

    void Through(const std::wstring& folder) {
        LookInto({folder, 0});
        for (; !m_folders.empty() && m_files.size() < kMostFiles; m_folders.pop_front())
            TryToLookInto(m_folders.front());
        if (!m_folders.empty())
            m_refuse(L"Below the folder " + JoinRemote(m_root, folder) + L" lie more than " +
                     std::to_wstring(kMostFiles) + L" files. The others wait for the next transfer.");
    }

    std::vector<RemoteFile> Files() && { return std::move(m_files); }

private:
    struct Folder {
        std::wstring path;
        int depth = 0;
    };

    void LookInto(const Folder& looked) {
        const auto& [folder, depth] = looked;
        const auto entries = m_server.List(JoinRemote(m_root, folder));
        if (!entries) return;
        TellWhoSends(folder, *entries);
        const base::LocalNames names = NamesOf(*entries);
        for (const DavEntry& entry : *entries) {
            // What somebody copies there now has no name yet; what he tests the folder with is no packet.
            if (FileSystem::IsArrival(entry.name)) continue;
            if (!entry.isFolder && IsFolderTestFile(entry.name)) continue;
            const std::wstring path = JoinRemote(folder, entry.name);
            if (!Path::IsPlainName(entry.name))
                m_refuse(L"The server " + m_server.Name() + L" lists the name " + path +
                         L", which cannot be the name of a file in the local folder. Rename or remove it on "
                         L"the server.");
            else if (names.AreOne(entry.name))
                m_refuse(
                    L"The server " + m_server.Name() + L" lists the name " + path +
                    L" and another one that differs only in the case of letters. Both would be one local "
                    L"file. It stays there; rename or remove it.");
            else if (!entry.isFolder)
                m_files.push_back({path, entry.size});
            else if (depth == kDeepest)
                m_refuse(L"The folder " + path + L" lies more than " + std::to_wstring(kDeepest) +
                         L" folders deep. Move it up.");
            else if (!IsOfTransport(entry.name))
                Note({path, depth + 1});
        }
    }

    void Note(Folder folder) {
        if (++m_noted <= kMostFolders)
            m_folders.push_back(std::move(folder));
        else if (m_noted == kMostFolders + 1)
            m_refuse(L"Below the folder " + m_root + L" lie more than " + std::to_wstring(kMostFolders) +
                     L" folders, such as " + folder.path +
                     L". Packets in the others stay there. Perhaps a link leads back: remove it.");
    }

    /// One folder that cannot be listed does not hide the others.
    void TryToLookInto(const Folder& folder) try { LookInto(folder); } catch (const HttpError&) {
        throw;  // somebody wants an end
    } catch (const base::Error& error) {
        m_refuse(error.failure().description);
        // A server that is gone hides them all.
        m_server.Check(JoinRemote(m_root, FolderAbove(folder.path)));
    }

    static base::LocalNames NamesOf(const std::vector<DavEntry>& entries) {
        base::LocalNames names;
        for (const DavEntry& entry : entries)
            names.Add(entry.name);
        return names;
    }

    void TellWhoSends(const std::wstring& folder, const std::vector<DavEntry>& entries) const {
        if (!m_sentInto) return;
        for (const DavEntry& entry : entries) {
            if (!entry.isFolder) continue;
            if (const auto packets = FolderOfUploads(entry.name)) m_sentInto(JoinRemote(folder, *packets));
        }
    }

    const DavServer& m_server;
    const std::wstring& m_root;
    const Refuse& m_refuse;
    const SentInto& m_sentInto;
    std::vector<RemoteFile> m_files;
    std::deque<Folder> m_folders;  ///< that are still to be looked into
    std::size_t m_noted = 0;       ///< folders in all
};

}  // namespace

std::vector<RemoteFile> FilesBelow(const DavServer& server, const std::wstring& folder,
                                   const std::wstring& subFolder, const Refuse& refuse,
                                   const SentInto& sentInto) {
    Walk walk(server, folder, refuse, sentInto);
    walk.Through(subFolder);
    return std::move(walk).Files();
}

std::vector<ClaimHolder> ClaimHolders(const DavServer& server, const std::wstring& remote,
                                      const Refuse& refuse) {
    std::vector<ClaimHolder> holders;
    for (const DavEntry& entry : server.List(AllClaimsOf(remote)).value_or(std::vector<DavEntry>())) {
        if (!entry.isFolder || entry.name.starts_with(kTestPrefix)) continue;
        std::vector<std::wstring> packets;
        std::ranges::transform(FilesBelow(server, ClaimsOf(remote, entry.name), {}, refuse),
                               std::back_inserter(packets), &RemoteFile::path);
        if (!packets.empty()) holders.push_back({entry.name, std::move(packets)});
    }
    return holders;
}

std::set<std::wstring> ClaimedPackets(const DavServer& server, const std::wstring& remote,
                                      const Refuse& refuse) {
    std::set<std::wstring> packets;
    for (const ClaimHolder& holder : ClaimHolders(server, remote, refuse))
        packets.insert(holder.packets.begin(), holder.packets.end());
    return packets;
}
