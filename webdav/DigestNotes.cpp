// See DigestNotes.h.
#include "webdav/DigestNotes.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/Text.h"
#include "cipher/Sha256.h"
#include "webdav/DavTransfer.h"

namespace {

constexpr std::size_t kLargestNote = 4 << 20;

/// The text of a note; empty where it does not come as it was sent, and nothing where there is none any more.
std::optional<std::string> TextOfNote(const DavServer& server, const std::wstring& folder,
                                      const std::wstring& name) {
    std::string text;
    const auto take = [&](base::Bytes bytes) {
        if (text.size() + bytes.size() <= kLargestNote) text.append(bytes.begin(), bytes.end());
    };
    const std::wstring path = JoinRemote(folder, name);
    const DavReply reply = server.Get(path, take);
    // Who may not read it may hear the same.
    if (reply.IsMissing() && !server.Exists(path)) return std::nullopt;
    const bool isWhole =
        reply.Succeeded() && name == Sha256Of(base::BytesOf(text)) + std::wstring(kNoteEnding);
    return isWhole ? text : std::string();
}

/// Those into which a packet may have been sent.
std::vector<std::wstring> FoldersOf(const std::wstring& packet) {
    std::vector<std::wstring> folders;
    std::wstring folder = packet;
    do {
        folder = FolderAbove(folder);
        folders.push_back(folder);
    } while (!folder.empty());
    return folders;
}

}  // namespace

std::wstring WayOutOfUnread(const std::wstring& note) {
    return L"If that happens again, the note " + note +
           L" is damaged, or of a newer program: have the packets sent anew, and delete it.";
}

void DigestNotes::Read(const std::wstring& subFolder) {
    if (m_subFolders.insert(subFolder).second) ReadFolder(subFolder, true);
}

void DigestNotes::ReadOf(const std::wstring& packet) {
    for (const std::wstring& folder : FoldersOf(packet))
        Read(folder);
}

void DigestNotes::ReadNewOf(const std::wstring& packet) {
    for (const std::wstring& folder : FoldersOf(packet))
        ReadNew(folder);
}

void DigestNotes::ReadFolder(const std::wstring& subFolder, bool isFirst) {
    const auto entries = m_server.List(UploadsOf(JoinRemote(m_remote, subFolder)));
    if (!entries) return;
    if (subFolder.empty()) m_haveFolder = true;
    for (const DavEntry& entry : *entries) {
        if (entry.name.ends_with(kNoteEnding)) {
            m_sent[JoinRemote(UploadsOf(JoinRemote(m_remote, subFolder)), entry.name)] = entry.modified;
            ReadNote(subFolder, entry.name, isFirst);
        } else
            m_waiting.insert(entry.name);
    }
}

void DigestNotes::ReadNote(const std::wstring& subFolder, const std::wstring& name, bool isFirst) {
    const std::wstring uploads = UploadsOf(JoinRemote(m_remote, subFolder));
    const std::wstring path = JoinRemote(uploads, name);
    if (m_read.contains(path)) return;
    const std::optional<std::string> text = TextOfNote(m_server, uploads, name);
    m_unread.erase(path);
    if (!text) return;
    auto note = DigestsIn(*text);
    if (!note) {
        m_unread.emplace(path, subFolder);
        return;
    }
    for (PacketDigest& digest : *note) {
        digest.packet = JoinRemote(subFolder, digest.packet);
        m_packets.emplace(base::Upper(digest.packet), Version{digest, path});
    }
    m_read.insert(path);
    if (isFirst) m_first.push_back({subFolder, path, *std::move(note)});
}

const PacketDigest* DigestNotes::Find(const std::wstring& packet, std::uint64_t size,
                                      const std::wstring& sha256) const {
    const auto [first, last] = m_packets.equal_range(base::Upper(packet));
    const auto found = std::find_if(first, last, [&](const auto& told) {
        return told.second.size == size && told.second.sha256 == sha256;
    });
    return found == last ? nullptr : &found->second;
}

std::optional<std::wstring> DigestNotes::UnreadOf(const std::wstring& packet) const {
    const std::vector<std::wstring> folders = FoldersOf(base::Upper(packet));
    const auto unread = std::ranges::find_if(m_unread, [&](const auto& note) {
        return std::ranges::find(folders, base::Upper(note.second)) != folders.end();
    });
    return unread == m_unread.end() ? std::nullopt : std::optional(unread->first);
}

std::size_t DigestNotes::VersionsOf(const std::wstring& packet) const {
    const auto [first, last] = m_packets.equal_range(base::Upper(packet));
    std::set<std::wstring> contents;
    std::for_each(first, last, [&](const auto& told) { contents.insert(told.second.sha256); });
    return contents.size();
}

bool DigestNotes::IsLatest(const std::wstring& packet, const std::wstring& sha256) const {
    const auto [first, last] = m_packets.equal_range(base::Upper(packet));
    std::optional<base::FileTime> sent;
    std::optional<base::FileTime> written;
    for (auto told = first; told != last; ++told) {
        if (told->second.sha256 != sha256) continue;
        sent = std::max(sent, SentAt(told->second));
        written = std::max(written, std::optional(told->second.lastWrite));
    }
    return std::all_of(first, last, [&](const auto& told) {
        const auto other = SentAt(told.second);
        return told.second.sha256 == sha256 || (other && other < sent && told.second.lastWrite < written);
    });
}

std::optional<base::FileTime> DigestNotes::SentAt(const Version& version) const {
    const auto found = m_sent.find(version.note);
    return found == m_sent.end() ? std::nullopt : found->second;
}

bool DigestNotes::Tell(const std::wstring& packet) const { return m_packets.contains(base::Upper(packet)); }

bool DigestNotes::IsDone(const DigestNote& note, const std::set<std::wstring>& upperPackets) const {
    return std::ranges::none_of(note.digests, [&](const PacketDigest& digest) {
        return m_waiting.contains(digest.upload) || upperPackets.contains(base::Upper(digest.packet));
    });
}

std::vector<DigestNote> DigestNotes::Done(const std::set<std::wstring>& packets) const {
    std::set<std::wstring> upperPackets;
    std::ranges::transform(packets, std::inserter(upperPackets, upperPackets.end()), &base::Upper);
    std::vector<DigestNote> done;
    std::ranges::copy_if(m_first, std::back_inserter(done),
                         [&](const DigestNote& note) { return IsDone(note, upperPackets); });
    return done;
}
