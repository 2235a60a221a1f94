// Start-up, the error reporter and message boxes: every component reports and asks through this module.
#pragma once

#include <windows.h>

#include <string>

#include "com/Values.h"
#include "znSystem.h"

/// Creates the event log and the start-up service of the calling apartment and fixes the build text.
/// Throws when the framework is not there.
void znMain();

/// The start-up service's entry of a tool or component. Throws a failure.
com::Variant StartupServiceEntry(LONG Number);

/// Writes a report to the event log. While an exception is being handled it is the current error: its
/// source line and the build are appended to Description, and with RaiseError it is thrown again, with
/// that description and without its line, which is told then. Source: title of the log entry; an empty one is
/// replaced. EventType: a ZNEventLogType; only errors are thrown again. Throws also when the event log cannot
/// be written.
void ZNReportError(std::wstring& Description, std::wstring& Source, bool RaiseError = true,
                   LONG EventType = ZN_EVENTLOG_ERROR_TYPE);
void ZNReportError(std::wstring Description);

/// Whether the host allows windows; asked once per apartment, False when it cannot be found out.
bool UserInterfaceIsAllowed();

/// The number of the failure to show a message box where the host allows no user interface.
inline constexpr LONG kNoUserInterface = -1;

/// The platform's message box, in the user's reading direction. Returns the button pressed. Throws
/// kNoUserInterface, with the prompt in the description.
LONG ZNMsgBox(const std::wstring& Prompt, LONG Buttons, const std::wstring& Title,
              const std::wstring& HelpFile = {}, LONG Context = 0);
