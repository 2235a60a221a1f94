// See DigestNotes.h.
#include "webdav/DigestNotes.h"

#include <algorithm>
#include <utility>

#include "cipher/Sha256.h"
#include "webdav/DavTransfer.h"

namespace {

constexpr std::size_t kLargestNote = 4 << 20;

/// The text of a note; empty where it does not come as it was sent.
std::string TextOfNote(const DavServer& server, const std::wstring& folder, const std::wstring& name) {
    std::string text;
    const auto take = [&](base::Bytes bytes) {
        if (text.size() + bytes.size() <= kLargestNote) text.append(bytes.begin(), bytes.end());
    };
    const bool came = server.Get(JoinRemote(folder, name), take).Succeeded();
    const bool isWhole = came && name == Sha256Of(base::BytesOf(text)) + std::wstring(kNoteEnding);
    return isWhole ? text : std::string();
}

}  // namespace

void DigestNotes::Read() {
    const bool isFirst = std::exchange(m_isFirst, false);
    const auto entries = m_server.List(m_uploads);
    if (!entries) return;
    for (const DavEntry& entry : *entries) {
        if (entry.name.ends_with(kNoteEnding))
            ReadNote(entry.name, isFirst);
        else if (isFirst)
            m_waiting.insert(entry.name);
    }
}

void DigestNotes::ReadNote(const std::wstring& name, bool isFirst) {
    if (m_read.contains(name)) return;
    const auto digests = DigestsIn(TextOfNote(m_server, m_uploads, name));
    if (!digests) return;
    m_read.insert(name);
    if (isFirst) m_first[name] = *digests;
    for (const PacketDigest& digest : *digests)
        m_packets.emplace(digest.packet, digest);
}

const PacketDigest* DigestNotes::Find(const std::wstring& packet, std::uint64_t size,
                                      const std::wstring& sha256) const {
    const auto [first, last] = m_packets.equal_range(packet);
    const auto found = std::find_if(first, last, [&](const auto& told) {
        return told.second.size == size && told.second.sha256 == sha256;
    });
    return found == last ? nullptr : &found->second;
}

bool DigestNotes::IsDone(const std::vector<PacketDigest>& note, const std::set<std::wstring>& packets) const {
    return std::ranges::none_of(note, [&](const PacketDigest& digest) {
        return m_waiting.contains(digest.upload) || packets.contains(digest.packet);
    });
}

void DigestNotes::DeleteDone(const std::set<std::wstring>& packets) const {
    for (const auto& [name, digests] : m_first)
        if (IsDone(digests, packets)) m_server.Delete(JoinRemote(m_uploads, name));
}
