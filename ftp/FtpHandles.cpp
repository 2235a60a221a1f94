#include "ftp/FtpHandles.h"

#include <array>

#include "base/Error.h"
#include "base/Text.h"
#include "common/Apartment.h"

using base::ToSystemCodePage;

namespace {

/// The usual failure would carry the password into logs and message boxes.
std::string PasswordBytes(const std::wstring& password) try {
    return ToSystemCodePage(password);
} catch (const base::Error& error) {
    throw base::Error(error.failure().number,
                      L"The FTP password has a character that is not in the system's 8-bit code page; "
                      L"use another password.");
}

}  // namespace

bool FtpHandles::Open() {
    m_internet = WinInet().InternetOpenA(ToSystemCodePage(ThisApartment().gk_sToolName).c_str(),
                                         INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
    return m_internet != nullptr;
}

bool FtpHandles::Connect(const FtpLogin& login) {
    m_connection =
        WinInet().InternetConnectA(m_internet, ToSystemCodePage(login.server).c_str(),
                                   INTERNET_INVALID_PORT_NUMBER, ToSystemCodePage(login.user).c_str(),
                                   PasswordBytes(login.password).c_str(), INTERNET_SERVICE_FTP, kFlags, 0);
    return m_connection != nullptr;
}

void FtpHandles::Close() {
    if (m_connection) WinInet().InternetCloseHandle(m_connection);
    m_connection = nullptr;
    WinInet().InternetCloseHandle(m_internet);
    m_internet = nullptr;
}

bool FtpHandles::SetCurrentFolder(const std::string& folder) const {
    return WinInet().FtpSetCurrentDirectoryA(m_connection, folder.c_str()) != FALSE;
}

bool FtpHandles::Enter(const std::wstring& folder) const {
    return SetCurrentFolder(ToSystemCodePage(folder));
}

FtpHandles::Entry FtpHandles::EnterOrCreate(const std::wstring& folder) const {
    if (Enter(folder)) return Entry::Entered;
    if (!WinInet().FtpCreateDirectoryA(m_connection, ToSystemCodePage(folder).c_str()))
        return Entry::NotCreated;
    return Enter(folder) ? Entry::Entered : Entry::NotEntered;
}

std::string FtpHandles::CurrentFolder() const {
    std::array<char, 260> folder{};
    DWORD length = folder.size() - 1;
    WinInet().FtpGetCurrentDirectoryA(m_connection, folder.data(), &length);
    return folder.data();
}

bool FtpHandles::ReturnTo(const std::string& folder) const {
    if (!folder.empty()) return SetCurrentFolder(folder);
    // Some servers take an empty path for the user's home.
    SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
}
