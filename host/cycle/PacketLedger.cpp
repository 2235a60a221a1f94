// See PacketLedger.h.
#include "host/cycle/PacketLedger.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "packets/EncodedName.h"

namespace {

std::optional<std::uint64_t> Find(const std::map<std::wstring, std::uint64_t>& sizes,
                                  const base::TreeFile& packet) {
    const auto found = sizes.find(base::Upper(packet.RelativePath()));
    return found == sizes.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

std::uint64_t SizeOf(const std::wstring& path) {
    const auto version = FileSystem::VersionOf(path);
    return version ? version->size : 0;
}

base::TreeFile PacketLedger::PacketIn(const base::TreeFile& file) const {
    return {file.subFolder,
            PacketOf(file.name, {m_settings.zip.outExtension, m_settings.xdelta.outExtension}), file.size};
}

void PacketLedger::NoteAdded(const base::TreeFile& file) {
    m_added[base::Upper(file.RelativePath())] = file.size;
}

void PacketLedger::NoteReceived(const base::TreeFile& file) {
    m_received[base::Upper(PacketIn(file).RelativePath())] = file.size;
}

void PacketLedger::ReportInOutbox(const base::TreeFile& file, PacketState state, const std::wstring& reason) {
    m_outcomes.push_back({Direction::Out, file.RelativePath(), file.size, {}, state, reason});
}

void PacketLedger::ReportTravelling(Direction direction, const base::TreeFile& file, PacketState state,
                                    const std::wstring& reason) {
    const base::TreeFile packet = PacketIn(file);
    const auto size = packet.name == file.name ? std::optional(file.size) : Find(m_added, packet);
    m_outcomes.push_back({direction, packet.RelativePath(), size, file.size, state, reason});
}

void PacketLedger::ReportDelivered(const std::wstring& subFolder, const std::wstring& name,
                                   const std::wstring& reason) {
    const base::TreeFile packet{subFolder, name, 0};
    const std::uint64_t size = SizeOf(Path::Join(m_settings.inbox, packet.RelativePath()));
    m_outcomes.push_back({Direction::In, packet.RelativePath(), size, Find(m_received, packet),
                          PacketState::Delivered, reason});
}
