// See BackupMap.h.
#include "transport/BackupMap.h"

void BackupMap::Clear() { *this = {}; }

bool BackupMap::Add(const std::wstring& packetId, const std::wstring& path) {
    if (!m_paths.emplace(packetId, path).second) return false;
    m_ids.push_back(packetId);
    return true;
}

std::optional<std::wstring> BackupMap::Find(const std::wstring& packetId) const {
    const auto found = m_paths.find(packetId);
    return found == m_paths.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::wstring> BackupMap::NextId() {
    if (m_next >= m_ids.size()) return std::nullopt;
    return m_ids[m_next++];
}
