// See LocalTime.h.
#include "base/LocalTime.h"

#include <array>
#include <cwchar>

#include "base/WindowsTime.h"

namespace base {

std::wstring LocalTime(FileTime time) {
    const FILETIME moment = ToWindowsTime(time);
    SYSTEMTIME universal;
    SYSTEMTIME local;
    // As summer and winter time were then.
    if (!FileTimeToSystemTime(&moment, &universal) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local))
        return {};
    std::array<wchar_t, 32> text;
    const int length = swprintf(text.data(), text.size(), L"%04d-%02d-%02d %02d:%02d:%02d", local.wYear,
                                local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond);
    return {text.data(), static_cast<size_t>(length)};
}

}  // namespace base
