// The event log of Windows.
#pragma once

#include <windows.h>

#include <string>

namespace base {

/// The event of a source's message files that shows the text of an entry.
inline constexpr DWORD kTextEvent = 1;

/// source: a registered event source. type: EVENTLOG_ERROR_TYPE and the like. Returns why the log refused the
/// entry; ERROR_SUCCESS when it took it.
DWORD WriteToWindowsLog(const std::wstring& source, WORD type, const std::wstring& text);

}  // namespace base
