// WinINet, and the texts of its error codes and the system's.
#pragma once

#include <windows.h>
#include <wininet.h>

#include <array>
#include <string>

#include "base/Handle.h"

/// How long a call of a session waits. Every connection of the session has the session's limits.
struct TimeOut {
    const wchar_t* name;
    DWORD option;
    DWORD milliseconds;
};
/// Of the connection for commands, and of those for data. Wine ignores all of these.
inline constexpr std::array kFtpTimeOuts =
    std::to_array<TimeOut>({{L"CONNECT_TIMEOUT", INTERNET_OPTION_CONNECT_TIMEOUT, 30'000},
                            {L"CONTROL_SEND_TIMEOUT", INTERNET_OPTION_CONTROL_SEND_TIMEOUT, 60'000},
                            {L"CONTROL_RECEIVE_TIMEOUT", INTERNET_OPTION_CONTROL_RECEIVE_TIMEOUT, 120'000},
                            {L"DATA_SEND_TIMEOUT", INTERNET_OPTION_DATA_SEND_TIMEOUT, 120'000},
                            {L"DATA_RECEIVE_TIMEOUT", INTERNET_OPTION_DATA_RECEIVE_TIMEOUT, 120'000}});

/// Listings and files come from the server, not from the system's cache: what it held a moment ago tells
/// nothing about what may be deleted now. Nor do packets stay among the user's internet files.
inline constexpr DWORD kFresh = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;

/// The system's text for an error code, followed by the code in decimal and hexadecimal.
std::wstring ErrorText(DWORD Code);

/// The WinINet functions that the FTP components call, all through this table, so that answers that
/// no server gives on demand can be scripted.
struct WinInetFunctions {
    decltype(&::InternetOpenA) InternetOpenA;
    decltype(&::InternetSetOptionA) InternetSetOptionA;
    decltype(&::InternetQueryOptionW) InternetQueryOptionW;
    decltype(&::InternetConnectA) InternetConnectA;
    decltype(&::InternetCloseHandle) InternetCloseHandle;
    decltype(&::InternetFindNextFileA) InternetFindNextFileA;
    decltype(&::InternetGetLastResponseInfoA) InternetGetLastResponseInfoA;
    decltype(&::FtpSetCurrentDirectoryA) FtpSetCurrentDirectoryA;
    decltype(&::FtpGetCurrentDirectoryA) FtpGetCurrentDirectoryA;
    decltype(&::FtpCreateDirectoryA) FtpCreateDirectoryA;
    decltype(&::FtpFindFirstFileA) FtpFindFirstFileA;
    decltype(&::FtpGetFileA) FtpGetFileA;
    decltype(&::FtpPutFileA) FtpPutFileA;
    decltype(&::FtpDeleteFileA) FtpDeleteFileA;
    decltype(&::FtpRenameFileA) FtpRenameFileA;
    decltype(&::FtpCommandA) FtpCommandA;

    /// FtpFindFirstFileA, but a search that finds nothing ends with ERROR_NO_MORE_FILES wherever it runs, and
    /// whatever the server replies to it.
    HINTERNET FindFirst(HINTERNET connection, LPCSTR pattern, WIN32_FIND_DATAA& found, DWORD flags) const;
};

/// The table in use; the system's functions until a test replaces them.
WinInetFunctions& WinInet();

/// Sessions, connections and searches.
struct InternetHandleTraits {
    using Value = HINTERNET;
    static Value None() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { WinInet().InternetCloseHandle(handle); }
};
using InternetHandle = base::UniqueHandle<InternetHandleTraits>;

/// The server's last reply to this thread, such as the one that made a call fail.
std::wstring LastResponse();
/// The same of a call that failed with an error; empty where that is not the server's.
std::wstring ReplyOf(DWORD error);
