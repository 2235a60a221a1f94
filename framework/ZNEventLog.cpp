// See ZNEventLog.h.
#include "framework/ZNEventLog.h"

#include <array>
#include <cwchar>

#include "base/Handle.h"
#include "base/LogFile.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "base/WindowsLog.h"
#include "com/Result.h"
#include "com/Values.h"
#include "events.inc"
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

/// A turn among all processes that write: not every file system appends without gaps and overlaps.
class Turn {
public:
    Turn() : m_mutex(CreateMutexW(nullptr, FALSE, L"znFramework.EventLog")) {
        if (!m_mutex) return;
        const DWORD result = WaitForSingleObject(m_mutex.Get(), kPatience);
        m_isOwner = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (m_isOwner) ReleaseMutex(m_mutex.Get());
    }

private:
    // After that the entry is written all the same: a stuck process must not silence the others.
    static constexpr DWORD kPatience = 2000;

    base::KernelHandle m_mutex;
    bool m_isOwner = false;
};

void WriteEntry(const std::wstring& message, LONG type) {
    static_assert(base::kTextEvent == ZN_EVENT_TEXT);
    const DWORD refusal =
        base::WriteToWindowsLog(HostSettings::OfProcess().Title(), static_cast<WORD>(type), message);
    const std::wstring file = HostSettings::OfProcess().LogFile();
    if (file.empty()) {
        if (refusal != ERROR_SUCCESS) base::ThrowWin32(refusal, L"event log of Windows");
        return;
    }
    try {
        const Turn turn;
        base::AppendToLog(file, base::ToUtf8(FileEntry(message, type)),
                          HostSettings::OfProcess().LogLimits());
    } catch (...) {
        if (refusal != ERROR_SUCCESS) throw;
    }
}

}  // namespace

STDMETHODIMP ZNEventLog::Write(BSTR Message, LONG EventType) {
    return com::Call([&] { WriteEntry(com::Text(Message), EventType); });
}
