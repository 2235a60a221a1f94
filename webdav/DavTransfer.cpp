// See DavTransfer.h.
#include "webdav/DavTransfer.h"

#include <windows.h>

#include <algorithm>

#include "base/FileSystem.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Sha256.h"
#include "com/MessagePump.h"

namespace {

std::wstring ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(name, &length)) base::ThrowWin32(GetLastError(), L"name of the computer");
    return {name, length};
}

}  // namespace

std::wstring InstallationOf(const std::wstring& localFolder) {
    constexpr std::size_t kDigits = 8;
    const std::string path = base::ToUtf8(base::Upper(FileSystem::FullPath(localFolder)));
    return ComputerName() + L"-" + Sha256Of(base::BytesOf(path)).substr(0, kDigits);
}

std::wstring UploadsOf(const std::wstring& folder) { return folder + L".uploads"; }

std::wstring ClaimsOf(const std::wstring& folder, const std::wstring& installation) {
    return folder + L".claims/" + installation;
}

std::wstring JoinRemote(const std::wstring& folder, const std::wstring& name) {
    return folder.empty() || name.empty() ? folder + name : folder + L"/" + name;
}

std::wstring RemotePath(std::wstring localPath) {
    std::ranges::replace(localPath, L'\\', L'/');
    return localPath;
}

std::wstring LocalPath(std::wstring remotePath) {
    std::ranges::replace(remotePath, L'/', L'\\');
    return remotePath;
}

void FolderProvider::Provide(const std::wstring& folder) {
    if (folder.empty() || m_provided.contains(folder)) return;
    const std::size_t separator = folder.rfind(L'/');
    if (separator != std::wstring::npos) Provide(folder.substr(0, separator));
    m_server.ProvideFolder(folder);
    m_provided.insert(folder);
}

bool ShowNext(const HostProgress& progress, const std::wstring& name, LONG position) {
    progress.AddMessage(L"Move " + name, ZN_PROGRESS_INFORMATION);
    progress.Position(position);
    com::ProcessPendingMessages();
    return !progress.Cancelled();
}
