// See DavTransfer.h.
#include "webdav/DavTransfer.h"

#include <algorithm>
#include <array>

#include "base/Path.h"
#include "base/Text.h"
#include "cipher/Sha256.h"
#include "com/MessagePump.h"

namespace {

constexpr std::wstring_view kUploads = L".uploads";
constexpr std::wstring_view kClaims = L".claims";
constexpr std::wstring_view kDamaged = L".damaged";

}  // namespace

std::wstring UploadsOf(const std::wstring& folder) { return folder + std::wstring(kUploads); }

std::optional<std::wstring> FolderOfUploads(const std::wstring& name) {
    if (!name.ends_with(kUploads)) return std::nullopt;
    return name.substr(0, name.size() - kUploads.size());
}

std::wstring AllClaimsOf(const std::wstring& folder) { return folder + std::wstring(kClaims); }

std::wstring ClaimsOf(const std::wstring& folder, const std::wstring& installation) {
    return JoinRemote(AllClaimsOf(folder), installation);
}

std::wstring DamagedOf(const std::wstring& folder) { return folder + std::wstring(kDamaged); }

bool IsOfTransport(std::wstring_view folderName) {
    return std::ranges::any_of(std::array{kUploads, kClaims, kDamaged}, [&](std::wstring_view ending) {
        return folderName.size() >= ending.size() &&
               base::EqualsIgnoringCase(folderName.substr(folderName.size() - ending.size()), ending);
    });
}

bool IsBelowPackets(std::wstring_view remotePath) {
    while (!remotePath.empty()) {
        const std::wstring_view name = remotePath.substr(0, remotePath.find(L'/'));
        if (!Path::IsPlainName(name) || IsOfTransport(name)) return false;
        remotePath.remove_prefix(std::min(name.size() + 1, remotePath.size()));
    }
    return true;
}

std::wstring JoinRemote(const std::wstring& folder, const std::wstring& name) {
    return folder.empty() || name.empty() ? folder + name : folder + L"/" + name;
}

std::wstring FolderAbove(const std::wstring& path) {
    const std::size_t separator = path.rfind(L'/');
    return path.substr(0, separator == std::wstring::npos ? 0 : separator);
}

std::wstring RemoteName(const std::wstring& path) { return path.substr(path.rfind(L'/') + 1); }

std::wstring RemotePath(std::wstring localPath) {
    std::ranges::replace(localPath, L'\\', L'/');
    return localPath;
}

std::wstring LocalPath(std::wstring remotePath) {
    std::ranges::replace(remotePath, L'/', L'\\');
    return remotePath;
}

std::optional<std::wstring> Sha256At(const DavServer& server, const std::wstring& path) {
    Sha256 sum;
    const DavReply reply = server.Get(path, [&](base::Bytes bytes) { sum.Add(bytes); });
    return reply.Succeeded() ? std::optional(sum.Finish()) : std::nullopt;
}

void FolderProvider::Provide(const std::wstring& folder) {
    const DavReply reply = TryToProvide(folder);
    if (!reply.Succeeded()) throw base::Error(E_FAIL, reply.failure);
}

/// An account may reach no more than folders of its own: those above are not asked for first, and that the
/// login is refused there tells nothing of it.
DavReply FolderProvider::TryToProvide(const std::wstring& folder) {
    if (folder.empty() || m_provided.contains(folder)) return {HTTP_STATUS_CREATED, {}};
    DavReply reply = m_server.ProvideFolder(folder);
    if (reply.MayLackFolder()) {
        const DavReply above = TryToProvide(FolderAbove(folder));
        if (above.IsDenied()) return reply;
        reply = above.Succeeded() ? m_server.ProvideFolder(folder) : above;
    }
    if (reply.Succeeded()) m_provided.insert(folder);
    return reply;
}

bool ShowNext(const HostProgress& progress, const std::wstring& name, LONG position) {
    progress.AddMessage(L"Move " + name, ZN_PROGRESS_INFORMATION);
    progress.Position(position);
    com::ProcessPendingMessages();
    return !progress.Cancelled();
}
