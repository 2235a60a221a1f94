// The files that lie below a folder of a WebDAV server.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "webdav/DavServer.h"

/// Hears of what cannot lie in a local folder, in words that tell the way out.
using Refuse = std::function<void(const std::wstring& reason)>;

/// Hears of each sub-folder that somebody sends into, by its relative path, before what is in it is listed.
using SentInto = std::function<void(const std::wstring& folder)>;

struct RemoteFile {
    std::wstring path;                  ///< relative to the folder
    std::optional<std::uint64_t> size;  ///< bytes, where the server tells them
};

/// All below a folder, without what the transport keeps there. subFolder: the one below it that is looked
/// into, with "/"; empty for all. A folder that is missing holds none. Throws when one cannot be listed, and
/// when the server goes away.
std::vector<RemoteFile> FilesBelow(const DavServer& server, const std::wstring& folder,
                                   const std::wstring& subFolder, const Refuse& refuse,
                                   const SentInto& sentInto = {});

/// What an installation has claimed and not yet delivered.
struct ClaimHolder {
    std::wstring installation;
    std::vector<std::wstring> packets;  ///< by their paths in the remote folder
};
/// Of a remote folder those who hold any. refuse: hears of claims that cannot be seen.
std::vector<ClaimHolder> ClaimHolders(const DavServer& server, const std::wstring& remote,
                                      const Refuse& refuse);
/// The packets of a remote folder that any of them holds.
std::set<std::wstring> ClaimedPackets(const DavServer& server, const std::wstring& remote,
                                      const Refuse& refuse);
