// The letters that names have on a WebDAV server.
#pragma once

#include <map>
#include <string>

#include "webdav/DavTransfer.h"

/// Some servers tell names apart that differ only in the case of letters, and are one packet, or one folder,
/// for whoever receives them: what is sent takes the name that lies there, as a newer version does.
class RemoteSpelling {
public:
    /// folder: of the packets. A folder that was seen to be there is provided.
    RemoteSpelling(const DavServer& server, std::wstring folder, FolderProvider& provider)
        : m_server(server), m_folder(std::move(folder)), m_provider(provider) {}

    /// Lists the folder itself now; any other one when it is needed, once. Throws, as PathOf does, where the
    /// server does not tell.
    void ReadFolder() { NamesIn(m_folder); }
    /// The path of a packet, or of the folder itself, by its path below that.
    std::wstring PathOf(const std::wstring& packet);
    /// Whether something of that path is listed, in whatever letters.
    bool IsThere(const std::wstring& path);

private:
    /// The names in a folder, by their capitals.
    using Names = std::multimap<std::wstring, std::wstring>;

    const Names& NamesIn(const std::wstring& folder);
    Names List(const std::wstring& folder) const;

    const DavServer& m_server;
    const std::wstring m_folder;
    FolderProvider& m_provider;
    std::map<std::wstring, Names> m_names;
};
