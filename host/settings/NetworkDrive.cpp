// See NetworkDrive.h.
#include "host/settings/NetworkDrive.h"

#include <windows.h>
#include <winnetwk.h>

#include <array>

namespace {

/// What a path on such a drive is for everybody, \\server\share\...; empty where the system does not tell.
std::optional<std::wstring> SharedForm(const std::wstring& path) {
    if (path.size() < 3 || path.compare(1, 2, L":\\") != 0) return std::nullopt;
    const std::wstring drive = path.substr(0, 2);
    std::array<wchar_t, 1024> share{};
    DWORD length = share.size();
    const DWORD result = WNetGetConnectionW(drive.c_str(), share.data(), &length);
    // A console of an administrator does not have the drives of its user, but knows which he wants to have.
    if (result == NO_ERROR || result == ERROR_CONNECTION_UNAVAIL) return share.data() + path.substr(2);
    if (GetDriveTypeW((drive + L"\\").c_str()) == DRIVE_REMOTE) return std::wstring();
    return std::nullopt;
}

}  // namespace

std::optional<std::wstring> NetworkDriveAdvice(const std::wstring& path) {
    const std::optional<std::wstring> shared = SharedForm(path);
    if (!shared) return std::nullopt;
    return L"a service does not have the network drives of a user; there it must be " +
           (shared->empty() ? L"\\\\server\\share and the path on that" : *shared);
}
