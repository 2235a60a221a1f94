#include "framework/ZNEventLog.h"

#include <array>
#include <cwchar>

#include "com/Return.h"
#include "common/FileSystem.h"
#include "framework/HostSettings.h"

namespace {

const wchar_t* TypeWord(LONG type) {
    switch (type) {
    case ZN_EVENTLOG_ERROR_TYPE:
        return L"ERROR";
    case ZN_EVENTLOG_WARNING_TYPE:
        return L"WARNING";
    default:
        return L"INFORMATION";
    }
}

/// A header line with time and type, the message, and an empty line.
std::wstring FileEntry(const std::wstring& message, LONG type) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<wchar_t, 64> header;
    swprintf(header.data(), header.size(), L"%04d-%02d-%02d %02d:%02d:%02d %ls\r\n", now.wYear, now.wMonth,
             now.wDay, now.wHour, now.wMinute, now.wSecond, TypeWord(type));
    return header.data() + message + L"\r\n\r\n";
}

/// True when the log of Windows took the entry.
bool WriteToWindows(const std::wstring& message, LONG type) {
    const HANDLE source = RegisterEventSourceW(nullptr, HostSettings::OfProcess().Title().c_str());
    if (!source) return false;
    const wchar_t* text = message.c_str();
    const BOOL written = ReportEventW(source, static_cast<WORD>(type), 0, 0, nullptr, 1, 0, &text, nullptr);
    DeregisterEventSource(source);
    return written != FALSE;
}

void WriteEntry(const std::wstring& message, LONG type) {
    const std::wstring file = HostSettings::OfProcess().LogFile();
    const bool inWindows = WriteToWindows(message, type);
    try {
        if (!file.empty()) FileSystem::Append(file, com::ToUtf8(FileEntry(message, type)));
    } catch (...) {
        if (!inWindows) throw;
    }
    if (!inWindows && file.empty()) com::ThrowWin32(GetLastError(), L"event log of Windows");
}

}  // namespace

STDMETHODIMP
ZNEventLog::Write(BSTR Message, LONG EventType) {
    return com::Call([&] { WriteEntry(com::Text(Message), EventType); });
}
