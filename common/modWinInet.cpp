// See modWinInet.h.
#include "common/modWinInet.h"

#include <array>
#include <cwchar>
#include <string_view>

#include "base/Text.h"
#include "common/FtpReply.h"

namespace {

std::wstring CodeHeader(DWORD code) {
    std::array<wchar_t, 48> header;
    const int length =
        swprintf(header.data(), header.size(), L"Dec: %ld\tHex: %lX", static_cast<LONG>(code), code);
    return {header.data(), static_cast<size_t>(length)};
}

bool RunsUnderWine() {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return system && GetProcAddress(system, "wine_get_version");
}

/// Wine's search gives no handle and no error where Windows gives ERROR_NO_MORE_FILES.
HINTERNET WINAPI FindFirstUnderWine(HINTERNET connection, LPCSTR pattern, LPWIN32_FIND_DATAA found,
                                    DWORD flags, DWORD_PTR context) {
    SetLastError(ERROR_SUCCESS);
    const HINTERNET find = ::FtpFindFirstFileA(connection, pattern, found, flags, context);
    if (!find && GetLastError() == ERROR_SUCCESS) SetLastError(ERROR_NO_MORE_FILES);
    return find;
}

}  // namespace

std::wstring ErrorText(DWORD Code) {
    std::array<char, 260> buffer;
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        Code, 0, buffer.data(), buffer.size(), nullptr);
    if (length == 0) return L"(No such error)\r\n\r\n" + CodeHeader(Code);
    return base::FromSystemCodePage({buffer.data(), length}) + L"\r\n" + CodeHeader(Code);
}

WinInetFunctions& WinInet() {
    static WinInetFunctions functions = {
        &::InternetOpenA,
        &::InternetSetOptionA,
        &::InternetQueryOptionW,
        &::InternetConnectA,
        &::InternetCloseHandle,
        &::InternetFindNextFileA,
        &::InternetGetLastResponseInfoA,
        &::FtpSetCurrentDirectoryA,
        &::FtpGetCurrentDirectoryA,
        &::FtpCreateDirectoryA,
        RunsUnderWine() ? &FindFirstUnderWine : &::FtpFindFirstFileA,
        &::FtpGetFileA,
        &::FtpPutFileA,
        &::FtpDeleteFileA,
        &::FtpRenameFileA,
        &::FtpCommandA,
    };
    return functions;
}

/// A search without match fails with the server's reply on Windows, where that is one of failure.
HINTERNET WinInetFunctions::FindFirst(HINTERNET connection, LPCSTR pattern, WIN32_FIND_DATAA& found,
                                      DWORD flags) const {
    const HINTERNET search = FtpFindFirstFileA(connection, pattern, &found, flags, 0);
    if (search) return search;
    const DWORD error = GetLastError();
    SetLastError(TellsOfNothing(ReplyOf(error), std::string_view(pattern) == "*.*") ? ERROR_NO_MORE_FILES
                                                                                    : error);
    return nullptr;
}

std::wstring LastResponse() {
    DWORD error = 0;
    DWORD length = 0;
    WinInet().InternetGetLastResponseInfoA(&error, nullptr, &length);
    std::string text(length + 1, '\0');
    length = static_cast<DWORD>(text.size());
    WinInet().InternetGetLastResponseInfoA(&error, text.data(), &length);
    return base::FromSystemCodePage(text.c_str());
}

std::wstring ReplyOf(DWORD error) {
    return error == ERROR_INTERNET_EXTENDED_ERROR ? LastResponse() : std::wstring();
}
