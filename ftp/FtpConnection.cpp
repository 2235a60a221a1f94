// See FtpConnection.h.
#include "ftp/FtpConnection.h"

#include <array>

#include "base/Error.h"
#include "base/Text.h"
#include "common/Apartment.h"

using base::ToSystemCodePage;
using FileSystem::FileEntry;

namespace {

/// The usual failure would carry the password into logs and message boxes.
std::string PasswordBytes(const std::wstring& password) try {
    return ToSystemCodePage(password);
} catch (const base::Error& error) {
    throw base::Error(error.failure().number,
                      L"The FTP password has a character that is not in the system's 8-bit code page; "
                      L"use another password.");
}

FileEntry EntryOf(const WIN32_FIND_DATAA& found) {
    return {base::FromSystemCodePage(found.cFileName),
            (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow, found.dwFileAttributes};
}

}  // namespace

bool FtpConnection::OpenSession() {
    m_internet =
        InternetHandle(WinInet().InternetOpenA(ToSystemCodePage(ThisApartment().gk_sToolName).c_str(),
                                               INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    return static_cast<bool>(m_internet);
}

bool FtpConnection::Connect(const FtpSite& site) {
    m_connection = InternetHandle(
        WinInet().InternetConnectA(m_internet.Get(), ToSystemCodePage(site.server).c_str(),
                                   INTERNET_INVALID_PORT_NUMBER, ToSystemCodePage(site.user).c_str(),
                                   PasswordBytes(site.password).c_str(), INTERNET_SERVICE_FTP, kFlags, 0));
    return IsConnected();
}

void FtpConnection::Close() noexcept {
    m_connection.Reset();
    m_internet.Reset();
}

void FtpConnection::Abandon() noexcept {
    m_connection.Release();
    m_internet.Release();
}

bool FtpConnection::SetCurrentFolder(const std::string& folder) const {
    return WinInet().FtpSetCurrentDirectoryA(m_connection.Get(), folder.c_str()) != FALSE;
}

bool FtpConnection::Enter(const std::wstring& folder) const {
    return SetCurrentFolder(ToSystemCodePage(folder));
}

FtpConnection::Entry FtpConnection::EnterOrCreate(const std::wstring& folder) const {
    if (Enter(folder)) return Entry::Entered;
    if (!WinInet().FtpCreateDirectoryA(m_connection.Get(), ToSystemCodePage(folder).c_str()))
        return Entry::NotCreated;
    return Enter(folder) ? Entry::Entered : Entry::NotEntered;
}

std::string FtpConnection::CurrentFolder() const {
    std::array<char, 260> folder{};
    DWORD length = folder.size() - 1;
    WinInet().FtpGetCurrentDirectoryA(m_connection.Get(), folder.data(), &length);
    return folder.data();
}

bool FtpConnection::ReturnTo(const std::string& folder) const {
    if (!folder.empty()) return SetCurrentFolder(folder);
    // Some servers take an empty path for the user's home.
    SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
}

InternetHandle FtpConnection::Find(const std::wstring& pattern, FileEntry& found) const {
    WIN32_FIND_DATAA data{};
    InternetHandle search(
        WinInet().FtpFindFirstFileA(m_connection.Get(), ToSystemCodePage(pattern).c_str(), &data, 0, 0));
    if (search) found = EntryOf(data);
    return search;
}

bool FtpConnection::FindNext(const InternetHandle& search, FileEntry& found) {
    WIN32_FIND_DATAA data{};
    if (!WinInet().InternetFindNextFileA(search.Get(), &data)) return false;
    found = EntryOf(data);
    return true;
}

bool FtpConnection::Put(const std::wstring& localFile, const std::wstring& name, DWORD flags) const {
    return WinInet().FtpPutFileA(m_connection.Get(), ToSystemCodePage(localFile).c_str(),
                                 ToSystemCodePage(name).c_str(), flags, 0) != FALSE;
}

bool FtpConnection::Get(const std::wstring& name, const std::wstring& localFile, DWORD attributes) const {
    return WinInet().FtpGetFileA(m_connection.Get(), ToSystemCodePage(name).c_str(),
                                 ToSystemCodePage(localFile).c_str(), FALSE, attributes, kFlags, 0) != FALSE;
}

bool FtpConnection::Delete(const std::wstring& name) const {
    return WinInet().FtpDeleteFileA(m_connection.Get(), ToSystemCodePage(name).c_str()) != FALSE;
}
