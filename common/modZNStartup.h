// Start-up, error reports and message boxes: every component reports and asks through this module.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "znSystem.h"

inline constexpr std::wstring_view kCrLf = L"\r\n";

/// Creates the event log and the start-up service of the calling apartment and fixes the build text.
/// Throws when the framework is not there.
void znMain();

/// Writes a report to the event log. While an exception is being handled it is the current error: its
/// source line and the build are appended to Description, and with RaiseError it is thrown again, with
/// that description. Source: title of the log entry; an empty one is replaced. EventType: a
/// ZNEventLogType; only errors are thrown again. Throws also when the event log cannot be written.
void ZNReportError(std::wstring& Description, std::wstring& Source, bool RaiseError = true,
                   LONG EventType = ZN_EVENTLOG_ERROR_TYPE);
void ZNReportError(std::wstring Description);

/// Reports under the tool's name, without throwing the current error again.
void Report(std::wstring text, LONG eventType = ZN_EVENTLOG_ERROR_TYPE);

/// Whether the host allows windows; asked once per apartment, False when it cannot be found out.
bool UserInterfaceIsAllowed();

/// The platform's message box, in the user's reading direction. Returns the button pressed. Throws -1
/// when the host allows no user interface, with the prompt in the description.
LONG ZNMsgBox(const std::wstring& Prompt, LONG Buttons, const std::wstring& Title,
              const std::wstring& HelpFile = {}, LONG Context = 0);

/// Reports the exception that is being handled as "<source> CR LF <description>".
void ReportCurrentError(std::wstring_view source);

/// The standard error handler of a member: reports the current exception and hands out the default.
template <class Result>
Result StandardHandler(std::wstring_view source, Result result) {
    ReportCurrentError(source);
    return result;
}
