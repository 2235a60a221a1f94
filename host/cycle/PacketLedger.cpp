// See PacketLedger.h.
#include "host/cycle/PacketLedger.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/cycle/TravelName.h"

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
    return {file.subFolder, PacketOf(m_settings, file.name), file.size};
}

void PacketLedger::NoteAdded(const base::TreeFile& file) {
    m_added[base::Upper(file.RelativePath())] = file.size;
}

void PacketLedger::NoteReceived(const base::TreeFile& file) {
    m_received[base::Upper(PacketIn(file).RelativePath())] = file.size;
}

void PacketLedger::ReportInOutbox(const base::TreeFile& file, PacketState state, const std::wstring& reason) {
    m_outcomes.push_back({.direction = Direction::Out,
                          .packet = file.RelativePath(),
                          .size = file.size,
                          .travelSize = {},
                          .state = state,
                          .reason = reason});
}

void PacketLedger::ReportTravelling(Direction direction, const base::TreeFile& file, PacketState state,
                                    const std::wstring& reason) {
    const base::TreeFile packet = PacketIn(file);
    m_outcomes.push_back({.direction = direction,
                          .packet = packet.RelativePath(),
                          .size = packet.name == file.name ? std::optional(file.size) : Find(m_added, packet),
                          .travelSize = file.size,
                          .state = state,
                          .reason = reason});
}

void PacketLedger::ReportDelivered(const std::wstring& subFolder, const std::wstring& name,
                                   const std::wstring& reason) {
    const base::TreeFile packet{subFolder, name, 0};
    m_outcomes.push_back({.direction = Direction::In,
                          .packet = packet.RelativePath(),
                          .size = SizeOf(Path::Join(m_settings.inbox, packet.RelativePath())),
                          .travelSize = Find(m_received, packet),
                          .state = PacketState::Delivered,
                          .reason = reason});
}
