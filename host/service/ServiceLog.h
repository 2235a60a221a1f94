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
/// goes to the event log of Windows. It lies where the settings say at the time; while they are wrong, where
/// they said before.
class ServiceLog {
public:
    /// settings: their file.
    explicit ServiceLog(const std::wstring& settings);

    bool CanBeWritten() noexcept;
    /// A line with the time.
    void Write(const std::wstring& line) noexcept;
    /// A handle that a process can inherit, and its owner closes; INVALID_HANDLE_VALUE where there is none.
    HANDLE Open() noexcept;

private:
    void Follow(const Settings& settings);
    void FollowSettings();

    const std::wstring m_settings;
    std::wstring m_path;
    base::LogLimits m_limits;
};
