// See ServiceLog.h.
#include "host/service/ServiceLog.h"

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/LocalTime.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "base/WindowsLog.h"
#include "base/WindowsTime.h"
#include "host/settings/SettingsFile.h"

namespace {

constexpr std::uint64_t kKilobyte = 1024;

}  // namespace

void TellWindows(const std::wstring& text) noexcept try {
    base::WriteToWindowsLog(L"znhost", EVENTLOG_WARNING_TYPE, text);
} catch (...) {
    return;
}

std::wstring ServiceLogPath(const Settings& settings) {
    const std::wstring& neighbour = settings.logFile.empty() ? settings.file : settings.logFile;
    return Path::Join(Path::ParentFolder(neighbour), Path::BaseName(settings.file) + L".service.log");
}

ServiceLog::ServiceLog(const std::wstring& settings) : m_settings(settings) {
    Settings defaults = DefaultSettings();
    defaults.file = settings;
    Follow(defaults);
}

void ServiceLog::Follow(const Settings& settings) {
    m_path = ServiceLogPath(settings);
    m_limits = {.size = std::stoull(settings.logSize) * kKilobyte, .kept = std::stoul(settings.logKept)};
}

/// Those that are wrong now may be right with the next cycle.
void ServiceLog::FollowSettings() try {
    Follow(ReadSettingsWithoutPasswords(m_settings));
} catch (const SettingsError&) {
    return;
}

bool ServiceLog::CanBeWritten() noexcept try {
    FollowSettings();
    base::AppendToFile(m_path, "");
    return true;
} catch (...) {
    return false;
}

void ServiceLog::Write(const std::wstring& line) noexcept try {
    FollowSettings();
    base::AppendToLog(m_path, base::ToUtf8(base::LocalTime(base::Now()) + L"  " + line + L"\r\n"), m_limits);
} catch (...) {
    TellWindows(line + L"\r\nThe log cannot be written: " + base::CurrentFailure().description);
}

HANDLE ServiceLog::Open() noexcept try {
    FollowSettings();
    base::SetAsideFullLog(m_path, m_limits);
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileW(FileSystem::Extended(m_path).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, base::kShareAll,
                       &inheritable, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
} catch (...) {
    return INVALID_HANDLE_VALUE;
}
