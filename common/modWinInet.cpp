#include "common/modWinInet.h"

#include <array>
#include <cwchar>

namespace {

std::wstring FromSystemCodePage(const char* text, DWORD length) {
    std::wstring result(length, L'\0');
    result.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(length),
                                                          result.data(), static_cast<int>(result.size()))));
    return result;
}

std::wstring CodeHeader(DWORD code) {
    std::array<wchar_t, 48> header;
    const int length =
        swprintf(header.data(), header.size(), L"Dec: %ld\tHex: %lX", static_cast<LONG>(code), code);
    return {header.data(), static_cast<size_t>(length)};
}

}  // namespace

std::wstring ErrorText(DWORD Code) {
    std::array<char, 260> buffer;
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        Code, 0, buffer.data(), buffer.size(), nullptr);
    if (length == 0) return L"(No such error)\r\n\r\n" + CodeHeader(Code);
    return FromSystemCodePage(buffer.data(), length) + L"\r\n" + CodeHeader(Code);
}

WinInetFunctions& WinInet() {
    static WinInetFunctions functions = {
        &::InternetOpenA,
        &::InternetConnectA,
        &::InternetCloseHandle,
        &::InternetFindNextFileA,
        &::InternetGetLastResponseInfoA,
        &::FtpSetCurrentDirectoryA,
        &::FtpGetCurrentDirectoryA,
        &::FtpCreateDirectoryA,
        &::FtpFindFirstFileA,
        &::FtpGetFileA,
        &::FtpPutFileA,
        &::FtpDeleteFileA,
    };
    return functions;
}
