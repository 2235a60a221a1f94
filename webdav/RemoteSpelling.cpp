// See RemoteSpelling.h.
#include "webdav/RemoteSpelling.h"

#include <algorithm>

#include "base/Text.h"

std::wstring RemoteSpelling::PathOf(const std::wstring& packet) {
    if (packet.empty()) return m_folder;
    const std::wstring folder = PathOf(FolderAbove(packet));
    const std::wstring name = RemoteName(packet);
    const Names& names = NamesIn(folder);
    const auto [first, last] = names.equal_range(base::Upper(name));
    const bool isThere = std::any_of(first, last, [&](const auto& there) { return there.second == name; });
    return JoinRemote(folder, isThere || first == last ? name : first->second);
}

bool RemoteSpelling::IsThere(const std::wstring& path) {
    return NamesIn(PathOf(FolderAbove(path))).contains(base::Upper(RemoteName(path)));
}

const RemoteSpelling::Names& RemoteSpelling::NamesIn(const std::wstring& folder) {
    const auto found = m_names.find(folder);
    return found != m_names.end() ? found->second : m_names.emplace(folder, List(folder)).first->second;
}

/// Not everybody may look there. Any other failure tells nothing of what is there: a second name for it would
/// stay beside the first one, and neither be received.
RemoteSpelling::Names RemoteSpelling::List(const std::wstring& folder) const {
    const auto entries = m_server.ListWhereAllowed(folder);
    if (!entries) return {};
    m_provider.NoteThere(folder);
    Names names;
    for (const DavEntry& entry : *entries)
        names.emplace(base::Upper(entry.name), entry.name);
    return names;
}
