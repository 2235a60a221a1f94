#include "sendrecv/FtpSession.h"

#include "common/Report.h"
#include "common/modZNStartup.h"

namespace {

/// What is known about a failed connection; empty where the failure goes unreported.
std::wstring ConnectFailure(DWORD error, const FtpLogin& login) {
    const std::wstring text = L"Could not connect to the FTP server: ";
    switch (error) {
    case ERROR_SUCCESS:
        return text + ErrorText(error) + L"\r\nServer name: " + login.server + L"\r\nUser name: " +
               login.user;
    case ERROR_INTERNET_NAME_NOT_RESOLVED:
        return text + L"Check server name";
    case ERROR_INTERNET_INCORRECT_PASSWORD:
        return text + L"Check user or password";
    default:
        return {};
    }
}

}  // namespace

void ReportFailure(std::wstring_view source, const std::wstring& message, const Progress& progress) noexcept
    try {
    Report(std::wstring(source).append(kCrLf).append(message));
    progress.AddMessage(message, ZN_PROGRESS_FAILURE);
} catch (...) {
    // There is nobody left to tell; the operation that failed returns False all the same.
    return;
}

bool FtpSession::DoConnection(const FtpLogin& login, const Progress& progress) try {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.DoConnection";
    if (!Open()) {
        const DWORD error = GetLastError();
        ReportFailure(kSource, L"Could not Initialize Internet connection: " + ErrorText(error), progress);
        return false;
    }
    if (Connect(login)) return true;
    const std::wstring failure = ConnectFailure(GetLastError(), login);
    if (!failure.empty()) ReportFailure(kSource, failure, progress);
    CloseConnection();
    return false;
} catch (...) {
    CloseConnection();
    return StandardHandler(L"clsFTPSndRcv.cls.DoConnection", false);
}

bool FtpSession::SetRemoteFolder(bool mustExist, const std::wstring& path, const Progress& progress) const
    try {
    return Enter(path) || (!mustExist && CreateRemoteFolders(path, progress));
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.SetRemoteFolder", false);
}

bool FtpSession::CreateRemoteFolders(const std::wstring& path, const Progress& progress) const {
    const size_t separator = path.find(L'/');
    if (!EnterOrCreate(path.substr(0, separator), progress)) return false;
    const bool isLast = separator == std::wstring::npos || separator + 1 == path.size();
    return isLast || CreateRemoteFolders(path.substr(separator + 1), progress);
}

bool FtpSession::EnterOrCreate(const std::wstring& folder, const Progress& progress) const {
    constexpr std::wstring_view kSource = L"clsFTPSndRcv.cls.CreateRemoteFolders";
    const Entry entry = FtpHandles::EnterOrCreate(folder);
    const DWORD error = GetLastError();
    if (entry == Entry::NotCreated)
        ReportFailure(kSource,
                      L"Could not create FTP directory: " + ErrorText(error) + L"\r\nFolder: " + folder,
                      progress);
    if (entry == Entry::NotEntered)
        ReportFailure(kSource, L"Could not set current directory(" + folder + L"): " + ErrorText(error),
                      progress);
    return entry == Entry::Entered;
}
