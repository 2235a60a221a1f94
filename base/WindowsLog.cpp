// See WindowsLog.h.
#include "base/WindowsLog.h"

#include "base/Handle.h"

namespace base {

namespace {

struct EventSourceTraits {
    using Value = HANDLE;
    static Value None() noexcept { return nullptr; }
    static void Close(Value source) noexcept { DeregisterEventSource(source); }
};

constexpr size_t kLongestText = 31839;  // a longer text would be refused as a whole

}  // namespace

DWORD WriteToWindowsLog(const std::wstring& source, WORD type, const std::wstring& text) {
    const UniqueHandle<EventSourceTraits> log(RegisterEventSourceW(nullptr, source.c_str()));
    if (!log) return GetLastError();
    const std::wstring shown = text.substr(0, kLongestText);
    const wchar_t* strings = shown.c_str();
    const BOOL written = ReportEventW(log.Get(), type, 0, kTextEvent, nullptr, 1, 0, &strings, nullptr);
    return written ? ERROR_SUCCESS : GetLastError();
}

}  // namespace base
