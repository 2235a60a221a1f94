// See FtpConnection.h.
#include "ftp/FtpConnection.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/Path.h"
#include "base/Text.h"
#include "common/FtpReply.h"
#include "common/modMain.h"

using base::ToSystemCodePage;
using FileSystem::FileEntry;

namespace {

/// Text as a part of a command to the server, where the end of a line in it would begin another command.
std::string CommandText(const std::wstring& text) {
    if (base::HasControlCharacter(text))
        throw base::Error(E_INVALIDARG, text + L": a control character, such as a tab or the end of a line, "
                                               L"cannot be sent to an FTP server; use another name.");
    return ToSystemCodePage(text);
}

/// What a folder is called for programs that know eight characters and an extension; empty where the file
/// system keeps no such names.
std::wstring ShortName(const std::wstring& folder) {
    const std::wstring path = FileSystem::Extended(folder);
    std::wstring name(GetShortPathNameW(path.c_str(), nullptr, 0), L'\0');
    name.resize(GetShortPathNameW(path.c_str(), name.data(), static_cast<DWORD>(name.size())));
    return name;
}

/// Whether a path is short enough for the system's 8-bit functions.
bool IsShort(const std::wstring& path) { return path.size() < MAX_PATH; }

/// The path of a local file, which need not exist. Its folder may have characters that no server sees, and a
/// length, that only its short name can do without.
std::string LocalPath(const std::wstring& file) {
    const std::wstring folder = Path::ParentFolder(file);
    if (base::FitsSystemCodePage(folder) && IsShort(file)) return ToSystemCodePage(file);
    const std::wstring name = ShortName(folder);
    const bool stands = !name.empty() && base::FitsSystemCodePage(name);
    const std::wstring path = stands ? Path::Join(name, Path::FileName(file)) : file;
    if (IsShort(path)) return ToSystemCodePage(path);
    throw base::Error(HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE),
                      L"The path " + file + L" has " + std::to_wstring(file.size()) +
                          L" characters, but a file for FTP may have " + std::to_wstring(MAX_PATH - 1) +
                          L". Use a folder with a shorter path.");
}

/// What keeps a file from being seen, replaced or deleted here.
constexpr DWORD kProtecting = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

/// The usual failure would carry the password into logs and message boxes.
std::string PasswordText(const std::wstring& password) try {
    return CommandText(password);
} catch (const base::Error& error) {
    throw base::Error(error.failure().number,
                      L"The FTP password has a character that is not in the system's 8-bit code page, or a "
                      L"control character; use another password.");
}

/// A pattern that a name fits. It may travel to the server, to whose list command a blank ends the name,
/// brackets and braces stand for several, and a dash or tilde at the beginning means an option or a home.
std::wstring PatternFor(std::wstring name) {
    constexpr std::wstring_view kSpecial = L" []{}";
    std::ranges::replace_if(
        name, [&](wchar_t letter) { return kSpecial.find(letter) != std::wstring_view::npos; }, L'?');
    if (name.starts_with(L'-') || name.starts_with(L'~')) name.front() = L'?';
    return name;
}

/// Of a list such as "http=a:80;ftp=b:21", or "c:8080" for every protocol.
std::wstring ProxyForFtp(std::wstring_view list) {
    constexpr std::wstring_view kSeparators = L" ;";
    constexpr std::wstring_view kProtocol = L"ftp=";
    while (!list.empty()) {
        const std::wstring_view entry = list.substr(0, list.find_first_of(kSeparators));
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
        if (base::EqualsIgnoringCase(entry.substr(0, kProtocol.size()), kProtocol))
            return std::wstring(entry.substr(kProtocol.size()));
        if (!entry.empty() && entry.find(L'=') == std::wstring_view::npos) return std::wstring(entry);
    }
    return {};
}

std::uint64_t Joined(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

FileEntry EntryOf(const WIN32_FIND_DATAA& found) {
    return {base::FromSystemCodePage(found.cFileName), Joined(found.nFileSizeHigh, found.nFileSizeLow),
            found.dwFileAttributes,
            Joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime)};
}

void CloseKeepingError(InternetHandle& search) {
    const DWORD error = GetLastError();
    search.Reset();
    SetLastError(error);
}

/// What the connection calls itself, which no FTP server hears: a brand in another script must not keep it
/// from coming about.
std::string AgentName() {
    std::wstring name = ToolName();
    for (wchar_t& letter : name)
        if (!base::FitsSystemCodePage({letter})) letter = L'?';
    return ToSystemCodePage(name);
}

/// From a path to where it was entered, for servers that do not tell where that is; empty when there is no
/// way.
std::wstring WayBack(const std::wstring& path) {
    std::wstring way = path.starts_with(L'/') ? L"" : L".";
    for (size_t start = 0; start < path.size() && !way.empty();) {
        const size_t end = std::min(path.find(L'/', start), path.size());
        const std::wstring name = path.substr(start, end - start);
        if (name == L"..")
            way.clear();
        else if (!name.empty() && name != L".")
            way += L"/..";
        start = end + 1;
    }
    return way;
}

}  // namespace

bool IsUnanswered(DWORD error) {
    switch (error) {
    case ERROR_INTERNET_TIMEOUT:
    case ERROR_INTERNET_CONNECTION_ABORTED:
    case ERROR_INTERNET_CONNECTION_RESET:
    case ERROR_FTP_DROPPED:
        return true;
    default:
        return false;
    }
}

bool FtpConnection::OpenSession() {
    m_internet = InternetHandle(
        WinInet().InternetOpenA(AgentName().c_str(), INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!m_internet) return false;
    LimitWaiting();
    return true;
}

/// A server that says nothing more would be waited for without end. A limit that the system does not know
/// stays its own.
void FtpConnection::LimitWaiting() const {
    for (const TimeOut& limit : kFtpTimeOuts) {
        DWORD milliseconds = limit.milliseconds;
        WinInet().InternetSetOptionA(m_internet.Get(), limit.option, &milliseconds, sizeof milliseconds);
    }
}

bool FtpConnection::Connect(const FtpSite& site) {
    m_connection = InternetHandle(
        WinInet().InternetConnectA(m_internet.Get(), CommandText(site.server).c_str(),
                                   INTERNET_INVALID_PORT_NUMBER, CommandText(site.user).c_str(),
                                   PasswordText(site.password).c_str(), INTERNET_SERVICE_FTP, kFlags, 0));
    return IsConnected();
}

std::wstring FtpConnection::Proxy() const {
    const auto query = [&](INTERNET_PROXY_INFO* info, DWORD size) {
        const bool done =
            WinInet().InternetQueryOptionW(m_internet.Get(), INTERNET_OPTION_PROXY, info, &size) != FALSE;
        return std::pair(done, size);
    };
    // The texts follow the structure.
    std::vector<INTERNET_PROXY_INFO> info(query(nullptr, 0).second / sizeof(INTERNET_PROXY_INFO) + 1);
    if (!query(info.data(), static_cast<DWORD>(info.size() * sizeof info.front())).first) return {};
    const INTERNET_PROXY_INFO& proxy = info.front();
    const bool isNamed = proxy.dwAccessType == INTERNET_OPEN_TYPE_PROXY && proxy.lpszProxy;
    return isNamed ? ProxyForFtp(proxy.lpszProxy) : std::wstring();
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

bool FtpConnection::Enter(const std::wstring& folder) const { return SetCurrentFolder(CommandText(folder)); }

FtpConnection::Entry FtpConnection::EnterOrCreate(const std::wstring& folder) const {
    if (Enter(folder)) return Entry::Entered;
    if (IsUnanswered(GetLastError())) return Entry::Unanswered;
    if (!WinInet().FtpCreateDirectoryA(m_connection.Get(), CommandText(folder).c_str()))
        return Entry::NotCreated;
    return Enter(folder) ? Entry::Entered : Entry::NotEntered;
}

std::string FtpConnection::CurrentFolder(DWORD longest) const {
    std::array<char, 260> folder{};
    WinInet().FtpGetCurrentDirectoryA(m_connection.Get(), folder.data(), &longest);
    return folder.data();
}

bool FtpConnection::ReturnTo(const std::string& folder, const std::wstring& entered) const {
    // Some servers take an empty path for the user's home.
    if (!folder.empty() && SetCurrentFolder(folder)) return true;
    if (folder.empty()) SetLastError(ERROR_PATH_NOT_FOUND);
    const std::wstring way = WayBack(entered);
    return !way.empty() && Enter(way);
}

InternetHandle FtpConnection::Find(const std::wstring& pattern, FileEntry& found) const {
    WIN32_FIND_DATAA data{};
    InternetHandle search(
        WinInet().FindFirst(m_connection.Get(), CommandText(pattern).c_str(), data, kFresh));
    if (search) found = EntryOf(data);
    return search;
}

bool FtpConnection::FindNext(const InternetHandle& search, FileEntry& found) {
    WIN32_FIND_DATAA data{};
    if (!WinInet().InternetFindNextFileA(search.Get(), &data)) return false;
    found = EntryOf(data);
    return true;
}

std::vector<FileEntry> FtpConnection::List() const {
    std::vector<FileEntry> entries;
    FileEntry found;
    InternetHandle search = Find(L"*.*", found);
    for (auto isFound = static_cast<bool>(search); isFound; isFound = FindNext(search, found))
        entries.push_back(found);
    CloseKeepingError(search);
    return entries;
}

/// Some proxies and servers end a search for one file without handle and without error although the file
/// is there: only an error says that it is not. The size of another name tells nothing; where the pattern
/// fits others, too, another name does not even tell that the file is there.
bool FtpConnection::FindFile(const std::wstring& name, FileEntry& found) const {
    const std::wstring pattern = PatternFor(name);
    found = {name};
    FileEntry entry;
    InternetHandle search = Find(pattern, entry);
    if (!search) return GetLastError() == ERROR_SUCCESS;
    bool isFound = pattern == name;
    do
        if (entry.name == name || (base::EqualsIgnoringCase(entry.name, name) && found.size == 0)) {
            found = entry;
            isFound = true;
        }
    while (entry.name != name && FindNext(search, entry));
    CloseKeepingError(search);
    return isFound;
}

/// Sends a command that moves no data.
bool FtpConnection::Command(const std::wstring& text) const {
    HINTERNET noData = nullptr;
    return WinInet().FtpCommandA(m_connection.Get(), FALSE, FTP_TRANSFER_TYPE_BINARY,
                                 CommandText(text).c_str(), 0, &noData) != FALSE;
}

/// What a server answers to a command that asks for one property of a file.
std::wstring FtpConnection::FileStatus(const wchar_t* command, const std::wstring& name) const {
    if (!Command(std::wstring(command).append(L" ").append(name))) return {};
    std::wstring status = FileStatusIn(LastResponse());
    SetLastError(ERROR_INVALID_DATA);  // for who cannot read it
    return status;
}

std::optional<std::uint64_t> FtpConnection::SizeOf(const std::wstring& name) const {
    return SizeIn(FileStatus(L"SIZE", name));
}

std::wstring FtpConnection::LastWriteOf(const std::wstring& name) const { return FileStatus(L"MDTM", name); }

bool FtpConnection::Put(const std::wstring& localFile, const std::wstring& name, DWORD flags) const {
    const std::string remoteName = CommandText(name);
    return WinInet().FtpPutFileA(m_connection.Get(), LocalPath(localFile).c_str(), remoteName.c_str(), flags,
                                 0) != FALSE;
}

bool FtpConnection::Get(const std::wstring& name, const std::wstring& localFile, DWORD attributes) const {
    const std::string remoteName = CommandText(name);
    return WinInet().FtpGetFileA(m_connection.Get(), remoteName.c_str(), LocalPath(localFile).c_str(), FALSE,
                                 attributes & ~kProtecting, kFlags | kFresh, 0) != FALSE;
}

bool FtpConnection::Delete(const std::wstring& name) const {
    return WinInet().FtpDeleteFileA(m_connection.Get(), CommandText(name).c_str()) != FALSE;
}

bool FtpConnection::Rename(const std::wstring& name, const std::wstring& newName) const {
    return WinInet().FtpRenameFileA(m_connection.Get(), CommandText(name).c_str(),
                                    CommandText(newName).c_str()) != FALSE;
}
