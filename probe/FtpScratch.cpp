// See FtpScratch.h.
#include "probe/FtpScratch.h"

#include <utility>

#include "base/Error.h"
#include "base/File.h"
#include "base/Path.h"
#include "base/Text.h"
#include "probe/Interview.h"

namespace probe {

namespace {

/// Whether a code stands for something that the server said.
bool HasReply(DWORD error) {
    return error == ERROR_INTERNET_EXTENDED_ERROR || error == ERROR_INTERNET_INCORRECT_USER_NAME ||
           error == ERROR_INTERNET_INCORRECT_PASSWORD || error == ERROR_INTERNET_LOGIN_FAILURE;
}

}  // namespace

InternetHandle NewSession() {
    InternetHandle session(
        ::InternetOpenA("windows-probe", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    Require(static_cast<bool>(session), "WinINet's session");
    return session;
}

bool Set(const InternetHandle& session, const TimeOut& timeOut) {
    DWORD milliseconds = timeOut.milliseconds;
    return ::InternetSetOptionA(session.Get(), timeOut.option, &milliseconds, sizeof milliseconds) != FALSE;
}

std::wstring LastReply() {
    std::wstring reply = LastResponse();
    while (reply.ends_with(L'\n') || reply.ends_with(L'\r'))
        reply.pop_back();
    return reply.substr(reply.rfind(L'\n') + 1);
}

std::wstring FtpErrorAnswer(DWORD error) {
    return ErrorAnswer(error) + (HasReply(error) ? L", reply " + LastReply() : L"");
}

std::wstring FtpOutcome(bool done) {
    const DWORD error = GetLastError();
    return done ? L"done" : FtpErrorAnswer(error);
}

void Require(bool done, const std::string& action) {
    const DWORD error = GetLastError();
    if (!done)
        throw base::Error(HRESULT_FROM_WIN32(error),
                          base::FromSystemCodePage(action) + L": " + FtpErrorAnswer(error));
}

FtpScratch::FtpScratch(FtpAccount account, std::wstring localFolder)
    : m_account(std::move(account)),
      m_localFolder(std::move(localFolder)),
      m_folder("windows-probe-" + std::to_string(GetCurrentProcessId())),
      m_session(NewSession()) {
    for (const TimeOut& timeOut : kFtpTimeOuts)
        Set(m_session, timeOut);
    Require(::FtpCreateDirectoryA(ConnectAbove().Get(), m_folder.c_str()), "create the folder " + m_folder);
    m_connection = ConnectAgain();
}

InternetHandle FtpScratch::TryConnect(const std::string& server, INTERNET_PORT port,
                                      const std::string& password) const {
    return InternetHandle(::InternetConnectA(m_session.Get(), server.c_str(), port, m_account.user.c_str(),
                                             password.c_str(), INTERNET_SERVICE_FTP, 0, 0));
}

InternetHandle FtpScratch::ConnectAbove() const {
    InternetHandle connection =
        TryConnect(m_account.server, INTERNET_INVALID_PORT_NUMBER, m_account.password);
    Require(static_cast<bool>(connection), "connect to " + m_account.server);
    if (!m_account.folder.empty())
        Require(::FtpSetCurrentDirectoryA(connection.Get(), m_account.folder.c_str()),
                "enter the folder " + m_account.folder);
    return connection;
}

InternetHandle FtpScratch::ConnectAgain() const {
    InternetHandle connection = ConnectAbove();
    Require(::FtpSetCurrentDirectoryA(connection.Get(), m_folder.c_str()), "enter the folder " + m_folder);
    return connection;
}

std::string FtpScratch::LocalPath(const std::string& name) const {
    return base::ToSystemCodePage(Path::Join(m_localFolder, base::FromSystemCodePage(name)));
}

std::string FtpScratch::LocalFile(const std::string& name, size_t size) const {
    std::string path = LocalPath(name);
    base::WriteNewFile(base::FromSystemCodePage(path), std::string(size, 'x'));
    return path;
}

void FtpScratch::Put(const std::string& name, size_t size) {
    static int number = 0;
    const std::string file = LocalFile("sent" + std::to_string(++number), size);
    m_files.insert(name);
    Require(::FtpPutFileA(Connection(), file.c_str(), name.c_str(), FTP_TRANSFER_TYPE_BINARY, 0),
            "send a file as " + name);
}

void FtpScratch::MakeFolder(const std::string& name) {
    Require(::FtpCreateDirectoryA(Connection(), name.c_str()), "create the folder " + name);
    m_folders.insert(name);
}

bool FtpScratch::Remove() noexcept try {
    if (m_removed) return true;
    m_connection.Reset();
    const InternetHandle connection = ConnectAbove();
    for (const std::string& name : m_files)
        ::FtpDeleteFileA(connection.Get(), (m_folder + "/" + name).c_str());
    for (const std::string& name : m_folders)
        ::FtpRemoveDirectoryA(connection.Get(), (m_folder + "/" + name).c_str());
    m_removed = ::FtpRemoveDirectoryA(connection.Get(), m_folder.c_str()) != FALSE;
    return m_removed;
} catch (const base::Error&) {
    return false;
}

}  // namespace probe
