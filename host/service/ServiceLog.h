// What the cycles of a service, and the service itself, tell: a text file.
#pragma once

#include <windows.h>

#include <string>

#include "base/LogFile.h"
#include "host/settings/Settings.h"

/// What has no other place where it could be told.
void TellWindows(const std::wstring& text) noexcept;

/// Beside the log of the settings, or beside their file where there is none.
std::wstring ServiceLogPath(const Settings& settings);

/// Of a running service. Nobody is kept from moving packets by a log that cannot be written: what it refuses
/// goes to the event log of Windows.
class ServiceLog {
public:
    /// settings: their file, which may be wrong by now.
    explicit ServiceLog(const std::wstring& settings);

    bool CanBeWritten() const noexcept;
    /// A line with the time.
    void Write(const std::wstring& line) const noexcept;
    /// A handle that a process can inherit, and its owner closes; INVALID_HANDLE_VALUE where there is none.
    HANDLE Open() const noexcept;

private:
    std::wstring m_path;
    base::LogLimits m_limits;
};
