// What sending and receiving through a WebDAV server have in common: the folders beside that of the packets.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "http/HttpError.h"
#include "services/HostProgress.h"
#include "services/ShownProcedure.h"
#include "webdav/DavServer.h"

/// Where a packet waits until it takes its own name, and where notes of digests lie.
std::wstring UploadsOf(const std::wstring& folder);
/// The other way round; nothing where it is no such name.
std::optional<std::wstring> FolderOfUploads(const std::wstring& name);
/// Where installations keep the packets that they have taken and not yet delivered.
std::wstring AllClaimsOf(const std::wstring& folder);
std::wstring ClaimsOf(const std::wstring& folder, const std::wstring& installation);
/// Where packets are set aside that are not what was sent.
std::wstring DamagedOf(const std::wstring& folder);

/// Whether a folder is one of these, by its name. They lie among packets where a computer sends into a
/// sub-folder of what another one receives, and hold none.
bool IsOfTransport(std::wstring_view folderName);

/// What the name of an installation has before it in folders of transport where it tests the server: of a
/// test that was killed something may be left there. No name of a computer begins so.
inline constexpr std::wstring_view kTestPrefix = L"verify~";

/// Whether a path that somebody else chose is one of folders of packets below that of all packets, or that
/// itself. remotePath: without "/" around it.
bool IsBelowPackets(std::wstring_view remotePath);

/// The ending of the names of such notes. What stands before it is the check sum of the note.
inline constexpr std::wstring_view kNoteEnding = L".digests";

/// Paths on the server by their names, with "/"; a local one by "\".
std::wstring JoinRemote(const std::wstring& folder, const std::wstring& name);
/// The one that a file or folder lies in; empty where no other name stands before its own.
std::wstring FolderAbove(const std::wstring& path);
std::wstring RemoteName(const std::wstring& path);
std::wstring RemotePath(std::wstring localPath);
std::wstring LocalPath(std::wstring remotePath);

/// The SHA-256 of a file there; nothing where it does not come in full.
std::optional<std::wstring> Sha256At(const DavServer& server, const std::wstring& path);

/// Creates folders on the server where they are missing, and asks for each of them once.
class FolderProvider {
public:
    explicit FolderProvider(const DavServer& server) : m_server(server) {}

    /// With those above it. Throws a failure.
    void Provide(const std::wstring& folder);
    /// The same; the reply tells of a failure.
    DavReply TryToProvide(const std::wstring& folder);
    /// Nothing is asked for a folder that was seen to be there.
    void NoteThere(const std::wstring& folder) { m_provided.insert(folder); }

private:
    const DavServer& m_server;
    std::set<std::wstring> m_provided;
};

/// Runs a step, whose failure is reported and shown. That somebody wants an end is no failure of it, and
/// thrown.
template <class Step>
bool Try(const ShownProcedure& self, Step&& step) try {
    return step();
} catch (const HttpError& error) {
    if (error.IsCancelled()) throw;
    return self.Fail(error.failure().description);
} catch (const base::Error& error) {
    return self.Fail(error.failure().description);
}

/// Shows the host what is moved next, and lets it process its messages. False when it wants an end.
bool ShowNext(const HostProgress& progress, const std::wstring& name, LONG position);
