// Backups of received packets: packet id to path of the copy, in the order in which they were entered.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

class BackupMap {
public:
    /// Forgets all entries and starts the list of ids again.
    void Clear();
    /// False when the id has an entry already, which stays.
    bool Add(const std::wstring& packetId, const std::wstring& path);
    std::optional<std::wstring> Find(const std::wstring& packetId) const;
    const std::vector<std::wstring>& Ids() const noexcept { return m_ids; }
    /// The next id of the list; nothing at its end.
    std::optional<std::wstring> NextId();

private:
    std::vector<std::wstring> m_ids;
    std::unordered_map<std::wstring, std::wstring> m_paths;
    size_t m_next = 0;
};
