// See RemoteSpelling.h.
#include "webdav/RemoteSpelling.h"

#include <algorithm>

#include "base/Text.h"
#include "http/HttpError.h"

std::wstring RemoteSpelling::PathOf(const std::wstring& packet) {
    if (packet.empty()) return m_folder;
    const std::wstring folder = PathOf(FolderAbove(packet));
    const std::wstring name = packet.substr(packet.rfind(L'/') + 1);
    const Names& names = NamesIn(folder);
    const auto [first, last] = names.equal_range(base::Upper(name));
    const bool isThere = std::any_of(first, last, [&](const auto& there) { return there.second == name; });
    return JoinRemote(folder, isThere || first == last ? name : first->second);
}

const RemoteSpelling::Names& RemoteSpelling::NamesIn(const std::wstring& folder) {
    const auto found = m_names.find(folder);
    return found != m_names.end() ? found->second : m_names.emplace(folder, List(folder)).first->second;
}

/// Not everybody may look there.
RemoteSpelling::Names RemoteSpelling::List(const std::wstring& folder) const try {
    const auto entries = m_server.List(folder);
    if (!entries) return {};
    m_provider.NoteThere(folder);
    Names names;
    for (const DavEntry& entry : *entries)
        names.emplace(base::Upper(entry.name), entry.name);
    return names;
} catch (const HttpError&) {
    throw;  // somebody wants an end
} catch (const base::Error&) {
    return {};
}
