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

/// Settings that are wrong now may be right with the next cycle.
Settings SettingsOrDefaults(const std::wstring& file) try {
    return ReadSettingsWithoutPasswords(file);
} catch (const SettingsError&) {
    Settings settings = DefaultSettings();
    settings.file = file;
    return settings;
}

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

ServiceLog::ServiceLog(const std::wstring& settings) {
    const Settings read = SettingsOrDefaults(settings);
    m_path = ServiceLogPath(read);
    m_limits = {.size = std::stoull(read.logSize) * kKilobyte, .kept = std::stoul(read.logKept)};
}

bool ServiceLog::CanBeWritten() const noexcept try {
    base::AppendToFile(m_path, "");
    return true;
} catch (...) {
    return false;
}

void ServiceLog::Write(const std::wstring& line) const noexcept try {
    base::AppendToLog(m_path, base::ToUtf8(base::LocalTime(base::Now()) + L"  " + line + L"\r\n"), m_limits);
} catch (...) {
    TellWindows(line + L"\r\nThe log cannot be written: " + base::CurrentFailure().description);
}

HANDLE ServiceLog::Open() const noexcept try {
    base::SetAsideFullLog(m_path, m_limits);
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileW(FileSystem::Extended(m_path).c_str(), FILE_APPEND_DATA | SYNCHRONIZE, base::kShareAll,
                       &inheritable, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
} catch (...) {
    return INVALID_HANDLE_VALUE;
}
